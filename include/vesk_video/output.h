/**
 * @file
 * Output ports: displays, and the output engines that drive them.
 *
 * The life of an output is kept by the service: open a port (which yields its engine), set parameters,
 * offset and queue, start, stop, close. The library sends whatever it is asked in whatever order.
 * Threads, ownership and the results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_OUTPUT_H
#define VESK_VIDEO_OUTPUT_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** One output port, as the service describes it; its contents are the service's. */
typedef struct VeskVideoVoPortInfo {
    uint32_t serviceData[594]; /**< The service's, carried unchanged. */
} VeskVideoVoPortInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoPortInfo, 2376);

/** Parameters of an output engine; the fields' meaning and units are the service's. */
typedef struct VeskVideoVoPortParam {
    uint32_t param0;    /**< The service's. */
    uint32_t param1;    /**< The service's. */
    int32_t param2;     /**< The service's. */
    int32_t param3;     /**< The service's. */
    int32_t param4;     /**< The service's. */
    int32_t param5;     /**< The service's. */
    int32_t param6;     /**< The service's. */
    int32_t param7;     /**< The service's. */
    uint8_t param8;     /**< The service's. */
    uint8_t padding[3]; /**< Not read. */
} VeskVideoVoPortParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoPortParam, 36);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortParam, param2, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortParam, param8, 32);

/** Shift of the picture on the screen, in the service's screen units. */
typedef struct VeskVideoScreenOffset {
    int32_t xOffset; /**< To the right. */
    int32_t yOffset; /**< Downwards. */
} VeskVideoScreenOffset;
VESK_VIDEO_ASSERT_SIZE(VeskVideoScreenOffset, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoScreenOffset, yOffset, 4);

/**
 * Asks how many output ports there are.
 *
 * @param count  Takes the number.
 * @return 1 also when @p count is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetVoCount(uint32_t* count);

/**
 * Asks for the description of the output ports.
 *
 * @param voPortInfo  Array of @p count entries to fill.
 * @param count       Its entries; the service must answer with exactly as many.
 * @return 1 also when @p voPortInfo is null; 2 also when @p count is 0.
 */
VESK_VIDEO_API uint32_t VeskVideoGetVoPort(VeskVideoVoPortInfo* voPortInfo, uint32_t count);

/**
 * Opens an output port.
 *
 * @param voPort    Port number.
 * @param outEngNo  Takes the number of the engine that drives it.
 * @return 1 also when @p outEngNo is null.
 */
VESK_VIDEO_API uint32_t VeskVideoVoOpen(uint32_t voPort, uint32_t* outEngNo);

/**
 * Sets an engine's parameters.
 *
 * @param outEngNo     Engine number.
 * @param voPortParam  The parameters.
 * @return 1 also when @p voPortParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetParam(uint32_t outEngNo, const VeskVideoVoPortParam* voPortParam);

/**
 * Reads an engine's parameters.
 *
 * @param outEngNo     Engine number.
 * @param voPortParam  Takes the parameters.
 * @return 1 also when @p voPortParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoVoGetParam(uint32_t outEngNo, VeskVideoVoPortParam* voPortParam);

/**
 * Shifts the picture on the screen.
 *
 * @param outEngNo  Engine number.
 * @param xOffset   Shift to the right, in screen units; any value is sent.
 * @param yOffset   Shift downwards, in screen units; any value is sent.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetOffset(uint32_t outEngNo, int32_t xOffset, int32_t yOffset);

/**
 * Names the shared-memory queue from which an engine takes its frames.
 *
 * @param outEngNo   Engine number.
 * @param queHandle  Queue identifier.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetQueHandle(uint32_t outEngNo, uint32_t queHandle);

/** Starts an engine. @param outEngNo Engine number. */
VESK_VIDEO_API uint32_t VeskVideoVoStart(uint32_t outEngNo);

/** Stops an engine. @param outEngNo Engine number. */
VESK_VIDEO_API uint32_t VeskVideoVoStop(uint32_t outEngNo);

/** Closes an engine; its number is the service's again. @param outEngNo Engine number. */
VESK_VIDEO_API uint32_t VeskVideoVoClose(uint32_t outEngNo);

/** Enables a port as a whole. @param voPort Port number. */
VESK_VIDEO_API uint32_t VeskVideoVoEnable(uint32_t voPort);

/** Disables a port as a whole. @param voPort Port number. */
VESK_VIDEO_API uint32_t VeskVideoVoDisable(uint32_t voPort);

/** Does nothing, whatever it is given; sends nothing. @return 0. */
VESK_VIDEO_API uint32_t VeskVideoGetOrientation(VESK_VIDEO_ANY_ARGUMENTS);

VESK_VIDEO_END

#endif
