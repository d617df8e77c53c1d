/**
 * @file
 * Input ports: cameras and other inputs, and the input engines that read them.
 *
 * The life of an input is kept by the service: open a port (which yields its engine), set parameters,
 * connect streams, start, stop, close. The library sends whatever it is asked in whatever order.
 * Threads, ownership and the results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_INPUT_H
#define VESK_VIDEO_INPUT_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** One input port, as the service describes it; its contents are the service's. */
typedef struct VeskVideoViPortInfo {
    uint32_t serviceData[81]; /**< The service's, carried unchanged. */
} VeskVideoViPortInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoViPortInfo, 324);

/** Parameters of an input engine; the fields' meaning and units are the service's. */
typedef struct VeskVideoViPortParam {
    uint32_t param0;    /**< The service's. */
    uint32_t param1;    /**< The service's. */
    uint8_t param2;     /**< The service's. */
    uint8_t param3;     /**< The service's. */
    uint8_t padding[2]; /**< Not read. */
    int32_t param4;     /**< The service's. */
    int32_t param5;     /**< The service's. */
    int32_t param6;     /**< The service's. */
    int32_t param7;     /**< The service's. */
    int32_t param8;     /**< The service's. */
    int32_t param9;     /**< The service's. */
} VeskVideoViPortParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoViPortParam, 36);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortParam, param2, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortParam, param3, 9);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortParam, param4, 12);

/**
 * Asks how many input ports there are.
 *
 * @param count  Takes the number.
 * @return 1 also when @p count is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViCount(uint32_t* count);

/**
 * Asks for the description of the input ports.
 *
 * @param viPortInfo  Array of @p count entries to fill.
 * @param count       Its entries; the service must answer with exactly as many.
 * @return 2 also when @p viPortInfo is null or @p count is 0.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPort(VeskVideoViPortInfo* viPortInfo, uint32_t count);

/**
 * Opens an input port.
 *
 * @param viPort   Port number.
 * @param inEngNo  Takes the number of the engine that reads it.
 * @return 1 also when @p inEngNo is null.
 */
VESK_VIDEO_API uint32_t VeskVideoViOpen(uint32_t viPort, uint32_t* inEngNo);

/**
 * Reads an engine's parameters.
 *
 * @param inEngNo      Engine number.
 * @param viPortParam  Takes the parameters.
 * @return 1 also when @p viPortParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoViGetParam(uint32_t inEngNo, VeskVideoViPortParam* viPortParam);

/**
 * Sets an engine's parameters.
 *
 * @param inEngNo      Engine number.
 * @param viPortParam  The parameters.
 * @return 1 also when @p viPortParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoViSetParam(uint32_t inEngNo, const VeskVideoViPortParam* viPortParam);

/**
 * Connects an engine to a stream.
 *
 * @param inEngNo  Engine number.
 * @param stmNo    Stream number.
 */
VESK_VIDEO_API uint32_t VeskVideoViConnect(uint32_t inEngNo, uint32_t stmNo);

/**
 * Takes an engine's connection to a stream away.
 *
 * @param inEngNo  Engine number.
 * @param stmNo    Stream number.
 */
VESK_VIDEO_API uint32_t VeskVideoViDisconnect(uint32_t inEngNo, uint32_t stmNo);

/**
 * Switches an engine to another stream.
 *
 * @param inEngNo  Engine number.
 * @param stmNo    Stream number.
 */
VESK_VIDEO_API uint32_t VeskVideoViModifyInput(uint32_t inEngNo, uint32_t stmNo);

/**
 * Asks for the shared-memory queue that carries an engine's frames, and waits until there is one: up to
 * 20 requests, each followed by a pause of 100 ms when it failed. The service's results 2, 3 and 7 end
 * the wait at once.
 *
 * @param inEngNo    Engine number.
 * @param queHandle  Takes the queue identifier.
 * @return 1 also when @p queHandle is null; after the last attempt its result.
 */
VESK_VIDEO_API uint32_t VeskVideoViGetQueHandle(uint32_t inEngNo, uint32_t* queHandle);

/**
 * Freezes an engine's picture, or lets it go; what the values mean is the service's.
 *
 * @param inEngNo  Engine number.
 * @param flag     The service's.
 * @param data     Data for the service, or null for none.
 * @param length   Bytes at @p data.
 */
VESK_VIDEO_API uint32_t VeskVideoViFreeze(uint32_t inEngNo, uint8_t flag, const void* data, uint32_t length);

/** Closes an engine; its number is the service's again. @param inEngNo Engine number. */
VESK_VIDEO_API uint32_t VeskVideoViClose(uint32_t inEngNo);

/** Starts an engine. @param inEngNo Engine number. */
VESK_VIDEO_API uint32_t VeskVideoViStart(uint32_t inEngNo);

/** Stops an engine. @param inEngNo Engine number. */
VESK_VIDEO_API uint32_t VeskVideoViStop(uint32_t inEngNo);

/** Enables a port as a whole. @param viPort Port number. */
VESK_VIDEO_API uint32_t VeskVideoViEnable(uint32_t viPort);

/** Disables a port as a whole. @param viPort Port number. */
VESK_VIDEO_API uint32_t VeskVideoViDisable(uint32_t viPort);

/**
 * Names the queue for an input's face data; does not wait for an answer.
 *
 * @param inEngNo  Engine number; its low 16 bits are sent.
 * @param queId    Queue identifier.
 * @return What the asynchronous send returned.
 */
VESK_VIDEO_API uint32_t VeskVideoSetViFaceQueHandle(uint32_t inEngNo, uint32_t queId);

/** Does nothing, whatever it is given; sends nothing. @return 0. */
VESK_VIDEO_API uint32_t VeskVideoReplaceInput(VESK_VIDEO_ANY_ARGUMENTS);

VESK_VIDEO_END

#endif
