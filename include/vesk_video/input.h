/**
 * @file
 * @copybrief inputs
 *
 * @copydetails inputs
 *
 * @defgroup inputs Inputs
 * Input ports: cameras and other inputs, and the input engines that read them.
 *
 * An input goes through these steps: open a port (which returns its engine number), set parameters, connect
 * streams, start, stop, close. To start, it needs its port enabled and a source plugged in; its queue exists
 * from then on.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_INPUT_H
#define VESK_VIDEO_INPUT_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Description of one input port; opaque. */
typedef struct VeskVideoViPortInfo {
    uint32_t serviceData[81];
} VeskVideoViPortInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoViPortInfo, 324);

/** Parameters of an input engine; service-defined. */
typedef struct VeskVideoViPortParam {
    uint32_t param0;
    uint32_t param1;
    uint8_t param2;
    uint8_t param3;
    uint8_t padding[2];
    int32_t param4;
    int32_t param5;
    int32_t param6;
    int32_t param7;
    int32_t param8;
    int32_t param9;
} VeskVideoViPortParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoViPortParam, 36);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortParam, param2, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortParam, param3, 9);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoViPortParam, param4, 12);

/**
 * Gets the number of input ports.
 *
 * @pre VeskVideoInit has been called.
 * @param count  Receives the number.
 * @retval VESK_VIDEO_ERR_FAILURE  @p count is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViCount(uint32_t* count);

/**
 * Gets the descriptions of the input ports.
 *
 * @pre There are at least @p count ports; VeskVideoGetViCount says how many.
 * @param viPortInfo  Receives @p count entries.
 * @param count       Number of entries; the service must answer with exactly this many.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p viPortInfo is null or @p count is 0.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPort(VeskVideoViPortInfo* viPortInfo, uint32_t count);

/**
 * Opens an input port.
 *
 * @pre The port is enabled, and no running process has it open.
 * @param viPort   Port number.
 * @param inEngNo  Receives the number of the engine that reads the port.
 * @retval VESK_VIDEO_ERR_FAILURE  @p inEngNo is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViOpen(uint32_t viPort, uint32_t* inEngNo);

/**
 * Gets an input engine's parameters.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo      Engine number.
 * @param viPortParam  Receives the parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p viPortParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViGetParam(uint32_t inEngNo, VeskVideoViPortParam* viPortParam);

/**
 * Sets an input engine's parameters.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo      Engine number.
 * @param viPortParam  The parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p viPortParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViSetParam(uint32_t inEngNo, const VeskVideoViPortParam* viPortParam);

/**
 * Connects an input engine to a stream.
 *
 * @pre VeskVideoViOpen has opened the engine, and it is not connected to the stream yet.
 * @param inEngNo  Engine number.
 * @param stmNo    Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViConnect(uint32_t inEngNo, uint32_t stmNo);

/**
 * Disconnects an input engine from a stream.
 *
 * @pre The engine is connected to the stream, by VeskVideoViConnect or VeskVideoViModifyInput.
 * @param inEngNo  Engine number.
 * @param stmNo    Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViDisconnect(uint32_t inEngNo, uint32_t stmNo);

/**
 * Switches an input engine to another stream.
 *
 * @pre VeskVideoViConnect has connected the engine to some stream.
 * @param inEngNo  Engine number.
 * @param stmNo    Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViModifyInput(uint32_t inEngNo, uint32_t stmNo);

/**
 * Gets the shared-memory queue that carries an input engine's frames.
 *
 * Waits until the queue exists: a request that fails is repeated after a pause of 100 ms, up to 20 requests
 * in all. The results 2, 3 and 7 end the wait at once.
 *
 * @pre VeskVideoViStart has started the engine, or does so during the wait.
 * @param inEngNo    Engine number.
 * @param queHandle  Receives the queue identifier.
 * @retval VESK_VIDEO_ERR_FAILURE  @p queHandle is null.
 * @return Otherwise the common result code of the last request.
 */
VESK_VIDEO_API uint32_t VeskVideoViGetQueHandle(uint32_t inEngNo, uint32_t* queHandle);

/**
 * Freezes or unfreezes the picture of an input engine.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo  Engine number.
 * @param flag     Service-defined.
 * @param data     Service-defined data, or null for none.
 * @param length   Size of @p data in bytes.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViFreeze(uint32_t inEngNo, uint8_t flag, const void* data, uint32_t length);

/**
 * Closes an input engine; its number becomes invalid.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo  Engine number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViClose(uint32_t inEngNo);

/**
 * Starts an input engine.
 *
 * @pre VeskVideoViOpen has opened the engine, and it is not started. Its port is enabled, and a source is
 *      plugged in.
 * @param inEngNo  Engine number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViStart(uint32_t inEngNo);

/**
 * Stops an input engine.
 *
 * @pre VeskVideoViStart has started the engine.
 * @param inEngNo  Engine number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViStop(uint32_t inEngNo);

/**
 * Enables an input port.
 *
 * @pre VeskVideoInit has been called.
 * @param viPort  Port number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViEnable(uint32_t viPort);

/**
 * Disables an input port.
 *
 * @pre VeskVideoInit has been called.
 * @param viPort  Port number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViDisable(uint32_t viPort);

/**
 * Sets the queue for the face data of an input; does not wait for an answer.
 *
 * @pre VeskVideoViOpen has opened the engine, and the queue exists.
 * @param inEngNo  Engine number; its low 16 bits are sent.
 * @param queId    Queue identifier.
 * @return See VeskVideoSendAsyncMsg.
 */
VESK_VIDEO_API uint32_t VeskVideoSetViFaceQueHandle(uint32_t inEngNo, uint32_t queId);

/**
 * Does nothing: accepts any arguments and sends no request.
 *
 * @return Always @ref VESK_VIDEO_OK.
 */
VESK_VIDEO_API uint32_t VeskVideoReplaceInput(VESK_VIDEO_ANY_ARGUMENTS);

VESK_VIDEO_END

/** @} */

#endif
