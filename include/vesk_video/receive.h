/**
 * @file
 * @copybrief receiving
 *
 * @copydetails receiving
 *
 * @defgroup receiving Receiving
 * The receive task, the dispatcher and the exported notification handlers.
 *
 * An application that uses VeskVideoInit and a callback does not need them.
 * @{
 */
#ifndef VESK_VIDEO_RECEIVE_H
#define VESK_VIDEO_RECEIVE_H

#include "vesk_video/message.h"

VESK_VIDEO_BEGIN

/** Registers the receive task "VAPI" and starts its thread. VeskVideoInit calls it. Failures are only logged.
 */
VESK_VIDEO_API void CreateRecvMsgProcEntry(void);

/**
 * Message handler of the receive task: splits a message into header and payload, and dispatches it.
 *
 * @param pstMsg  The message; the caller keeps it and its data, which are used only during the call.
 * @retval VESK_VIDEO_OK           The message was dispatched.
 * @retval VESK_VIDEO_ERR_FAILURE  @p pstMsg is null, has no data, or is shorter than a header.
 */
VESK_VIDEO_API uint32_t VeskProcDealToNorthInterfaceMsg(OsMsgEnvelope* pstMsg);

/**
 * Dispatcher: calls the handler for the number of a message. A message is ignored, and logged, if @p inMsg or
 * @p zoraMsg is null or if it is shorter than a header.
 *
 * @param inMsg    The message envelope.
 * @param zoraMsg  The data of the message, starting with its header.
 * @param data     The payload after the header, or null for none.
 * @param dataLen  Size of @p data in bytes.
 */
VESK_VIDEO_API void VeskVideoCtrlToNorthMsg(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                            uint32_t dataLen);

/**
 * A notification handler: checks and traces one notification and passes it to the callback, on the calling
 * thread.
 *
 * @param inMsg    The message envelope.
 * @param zoraMsg  The data of the message, starting with its header.
 * @param data     The payload after the header, or null for none.
 * @param dataLen  Size of @p data in bytes.
 * @return The callback's result, or 0 if it was not called. The dispatcher ignores it.
 */
typedef uint32_t (*NorthMsgProc)(OsMsgEnvelope* inMsg, void* zoraMsg, void* data, uint32_t dataLen);

/** Handler of notification 101; held if no callback is installed. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnVoPortDdcInfoNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                 uint32_t dataLen);
/** Handler of notification 102 ("Plus" for "plug", as on the device); held if no callback is installed. See
 * NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnViPortPlusStateNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                   uint32_t dataLen);
/** Handler of notification 106; drops a payload that is not 80 bytes long. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnDisplayFirstFrameNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                     uint32_t dataLen);
/** Handler of notification 107; drops a payload that is not 12 bytes long. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnCameraCtrlResultNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                    uint32_t dataLen);
/** Handler of notification 108; drops a payload that is not 80 bytes long. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnDisplayDestroyLinkNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                      uint32_t dataLen);
/** Handler of notification 109. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnVideoAnnotationReadyNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                        uint32_t dataLen);
/** Handler of notification 207. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnVideoproxyRestartNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                     uint32_t dataLen);
/** Handler of notification 208. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnVideoBgResourceInitReadyNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                            uint32_t dataLen);

VESK_VIDEO_END

/** @} */

#endif
