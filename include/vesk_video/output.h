/**
 * @file
 * @copybrief outputs
 *
 * @copydetails outputs
 *
 * @defgroup outputs Outputs
 * Output ports: displays, and the output engines that drive them.
 *
 * An output goes through these steps: open a port (which returns its engine number), set parameters, offset
 * and queue, start, stop, close. To start, it needs its port enabled and a display plugged in.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_OUTPUT_H
#define VESK_VIDEO_OUTPUT_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Description of one output port; opaque. */
typedef struct VeskVideoVoPortInfo {
    uint32_t serviceData[594];
} VeskVideoVoPortInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoPortInfo, 2376);

/** Parameters of an output engine; service-defined. */
typedef struct VeskVideoVoPortParam {
    uint32_t param0;
    uint32_t param1;
    int32_t param2;
    int32_t param3;
    int32_t param4;
    int32_t param5;
    int32_t param6;
    int32_t param7;
    uint8_t param8;
    uint8_t padding[3];
} VeskVideoVoPortParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoPortParam, 36);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortParam, param2, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoPortParam, param8, 32);

/** Offset of the picture on the screen; the unit is service-defined. */
typedef struct VeskVideoScreenOffset {
    int32_t xOffset; /**< Offset to the right. */
    int32_t yOffset; /**< Offset downwards. */
} VeskVideoScreenOffset;
VESK_VIDEO_ASSERT_SIZE(VeskVideoScreenOffset, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoScreenOffset, yOffset, 4);

/**
 * Gets the number of output ports.
 *
 * @pre VeskVideoInit has been called.
 * @param count  Receives the number.
 * @retval VESK_VIDEO_ERR_FAILURE  @p count is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetVoCount(uint32_t* count);

/**
 * Gets the descriptions of the output ports.
 *
 * @pre There are at least @p count ports; VeskVideoGetVoCount says how many.
 * @param voPortInfo  Receives @p count entries.
 * @param count       Number of entries; the service must answer with exactly this many.
 * @retval VESK_VIDEO_ERR_FAILURE   @p voPortInfo is null.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p count is 0.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetVoPort(VeskVideoVoPortInfo* voPortInfo, uint32_t count);

/**
 * Opens an output port.
 *
 * @pre The port is enabled, and no running process has it open.
 * @param voPort    Port number.
 * @param outEngNo  Receives the number of the engine that drives the port.
 * @retval VESK_VIDEO_ERR_FAILURE  @p outEngNo is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoOpen(uint32_t voPort, uint32_t* outEngNo);

/**
 * Sets an output engine's parameters.
 *
 * @pre VeskVideoVoOpen has opened the engine.
 * @param outEngNo     Engine number.
 * @param voPortParam  The parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p voPortParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetParam(uint32_t outEngNo, const VeskVideoVoPortParam* voPortParam);

/**
 * Gets an output engine's parameters.
 *
 * @pre VeskVideoVoOpen has opened the engine.
 * @param outEngNo     Engine number.
 * @param voPortParam  Receives the parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p voPortParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoGetParam(uint32_t outEngNo, VeskVideoVoPortParam* voPortParam);

/**
 * Sets the offset of the picture on the screen.
 *
 * @pre VeskVideoVoOpen has opened the engine.
 * @param outEngNo  Engine number.
 * @param xOffset   Offset to the right; may be negative. The unit is service-defined.
 * @param yOffset   Offset downwards, likewise.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetOffset(uint32_t outEngNo, int32_t xOffset, int32_t yOffset);

/**
 * Sets the shared-memory queue from which an output engine reads its frames.
 *
 * @pre VeskVideoVoOpen has opened the engine, and the queue exists.
 * @param outEngNo   Engine number.
 * @param queHandle  Queue identifier.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetQueHandle(uint32_t outEngNo, uint32_t queHandle);

/**
 * Starts an output engine.
 *
 * @pre VeskVideoVoOpen has opened the engine, and it is not started. Its port is enabled, and a display
 *      is plugged in.
 * @param outEngNo  Engine number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoStart(uint32_t outEngNo);

/**
 * Stops an output engine.
 *
 * @pre VeskVideoVoStart has started the engine.
 * @param outEngNo  Engine number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoStop(uint32_t outEngNo);

/**
 * Closes an output engine; its number becomes invalid.
 *
 * @pre VeskVideoVoOpen has opened the engine.
 * @param outEngNo  Engine number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoClose(uint32_t outEngNo);

/**
 * Enables an output port.
 *
 * @pre VeskVideoInit has been called.
 * @param voPort  Port number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoEnable(uint32_t voPort);

/**
 * Disables an output port.
 *
 * @pre VeskVideoInit has been called.
 * @param voPort  Port number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoDisable(uint32_t voPort);

/**
 * Does nothing: accepts any arguments and sends no request.
 *
 * @return Always @ref VESK_VIDEO_OK.
 */
VESK_VIDEO_API uint32_t VeskVideoGetOrientation(VESK_VIDEO_ANY_ARGUMENTS);

VESK_VIDEO_END

/** @} */

#endif
