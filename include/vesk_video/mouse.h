/**
 * @file
 * @copybrief mouse_streams
 *
 * @copydetails mouse_streams
 *
 * @defgroup mouse_streams Mouse streams
 * Streams of remote and local mouse pointers.
 *
 * A stream goes through these steps: open (which returns its number), set queue and parameters, connect or
 * attach, start, stop, close. A remote one cannot start before it is connected to a decoder.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_MOUSE_H
#define VESK_VIDEO_MOUSE_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Background area of a remote pointer; opaque. */
typedef struct VeskVideoMouseArea {
    uint32_t serviceData[4];
} VeskVideoMouseArea;
VESK_VIDEO_ASSERT_SIZE(VeskVideoMouseArea, 16);

/** Parameters of a local pointer; opaque. */
typedef struct VeskVideoLocalMouseParam {
    uint32_t serviceData[2];
} VeskVideoLocalMouseParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoLocalMouseParam, 8);

/**
 * Opens a remote mouse stream.
 *
 * @pre VeskVideoInit has been called.
 * @param openParam   Service-defined.
 * @param mouseStmNo  Receives the stream number.
 * @retval VESK_VIDEO_ERR_FAILURE  @p mouseStmNo is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseOpen(uint8_t openParam, uint32_t* mouseStmNo);

/**
 * Sets the queue of a remote mouse stream.
 *
 * @pre VeskVideoRemoteMouseOpen has opened the stream, and the queue exists.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @param queId       Queue identifier.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseSetQueHandle(uint32_t mouseStmNo, uint32_t queId);

/**
 * Connects a remote mouse stream to a decoder.
 *
 * @pre VeskVideoRemoteMouseOpen has opened the stream, and VeskVideoDecoderCreate has created the
 *      decoder.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @param decStmNo    Decoder stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseConnect(uint32_t mouseStmNo, uint32_t decStmNo);

/**
 * Starts a remote mouse stream.
 *
 * @pre VeskVideoRemoteMouseConnect has connected the stream to a decoder, and the stream is not started.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseStart(uint32_t mouseStmNo);

/**
 * Stops a remote mouse stream.
 *
 * @pre VeskVideoRemoteMouseStart has started the stream.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseStop(uint32_t mouseStmNo);

/**
 * Closes a remote mouse stream.
 *
 * @pre VeskVideoRemoteMouseOpen has opened the stream.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseClose(uint32_t mouseStmNo);

/**
 * Sets the background area of a remote mouse stream.
 *
 * @pre VeskVideoRemoteMouseOpen has opened the stream.
 * @param mouseStmNo  Stream number.
 * @param area        The area.
 * @retval VESK_VIDEO_ERR_FAILURE  @p area is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseSetBackgroundArea(uint32_t mouseStmNo,
                                                              const VeskVideoMouseArea* area);

/**
 * Opens a local mouse stream.
 *
 * @pre VeskVideoInit has been called.
 * @param localMouseStmNo  Receives the stream number.
 * @retval VESK_VIDEO_ERR_FAILURE  @p localMouseStmNo is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseOpen(uint32_t* localMouseStmNo);

/**
 * Starts a local mouse stream.
 *
 * @pre VeskVideoLocalMouseOpen has opened the stream, and it is not started.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseStart(uint32_t mouseStmNo);

/**
 * Stops a local mouse stream.
 *
 * @pre VeskVideoLocalMouseStart has started the stream.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseStop(uint32_t mouseStmNo);

/**
 * Sets whether a local mouse stream is independent.
 *
 * @pre VeskVideoLocalMouseOpen has opened the stream.
 * @param mouseStmNo   Stream number.
 * @param independent  Nonzero: independent.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseSetIndependent(uint32_t mouseStmNo, uint8_t independent);

/**
 * Sets the parameters of a local mouse stream.
 *
 * @pre VeskVideoLocalMouseOpen has opened the stream.
 * @param mouseStmNo  Stream number.
 * @param param       The parameters; null sends none.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseSetParam(uint32_t mouseStmNo,
                                                    const VeskVideoLocalMouseParam* param);

/**
 * Attaches a local mouse stream to a target.
 *
 * @pre VeskVideoLocalMouseOpen has opened the stream.
 * @param mouseStmNo  Stream number.
 * @param attachId    Number of the target; service-defined.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseAttach(uint32_t mouseStmNo, uint32_t attachId);

/**
 * Shows or hides a local pointer.
 *
 * @pre VeskVideoLocalMouseOpen has opened the stream.
 * @param mouseStmNo  Stream number.
 * @param enable      Nonzero: shown.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseShowEnable(uint32_t mouseStmNo, uint8_t enable);

/**
 * Sets the queue of a local mouse stream.
 *
 * @pre VeskVideoLocalMouseOpen has opened the stream, and the queue exists.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @param queId       Queue identifier.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseSetQueHandle(uint32_t mouseStmNo, uint32_t queId);

/**
 * Closes a local mouse stream.
 *
 * @pre VeskVideoLocalMouseOpen has opened the stream.
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseClose(uint32_t mouseStmNo);

/**
 * Does nothing: accepts any arguments and sends no request.
 *
 * @return Always @ref VESK_VIDEO_OK.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseSetIndependent(VESK_VIDEO_ANY_ARGUMENTS);

/**
 * Does nothing: accepts any arguments and sends no request.
 *
 * @return Always @ref VESK_VIDEO_OK.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseAttach(VESK_VIDEO_ANY_ARGUMENTS);

/**
 * Does nothing: accepts any arguments and sends no request.
 *
 * @return Always @ref VESK_VIDEO_OK.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseForwardEnable(VESK_VIDEO_ANY_ARGUMENTS);

/**
 * Does nothing: accepts any arguments and sends no request.
 *
 * @return Always @ref VESK_VIDEO_OK.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseSetShowArea(VESK_VIDEO_ANY_ARGUMENTS);

VESK_VIDEO_END

/** @} */

#endif
