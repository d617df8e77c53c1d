/**
 * @file
 * The receive task, the dispatcher, and those notification handlers that can be called directly.
 * An application that only uses VeskVideoInit and its callback needs none of them.
 */
#ifndef VESK_VIDEO_RECEIVE_H
#define VESK_VIDEO_RECEIVE_H

#include "vesk_video/message.h"

VESK_VIDEO_BEGIN

/** Registers the receive task "VAPI" and starts its thread; VeskVideoInit calls it. Failures are logged. */
VESK_VIDEO_API void CreateRecvMsgProcEntry(void);

/**
 * Takes one received message apart and dispatches it; the message procedure of the receive task.
 *
 * @param pstMsg  The message; it and its data are used only during the call.
 * @return 0 when it was passed on; 1 when it is null, has no data, or is shorter than its header.
 */
VESK_VIDEO_API uint32_t VeskProcDealToNorthInterfaceMsg(OsMsgEnvelope* pstMsg);

/**
 * Calls the handler of a message's number. Nothing happens when @p inMsg or @p zoraMsg is null.
 *
 * @param inMsg    The envelope.
 * @param zoraMsg  Its data, at least the 24-byte header.
 * @param data     The payload behind the header, or null.
 * @param dataLen  Bytes at @p data.
 */
VESK_VIDEO_API void VeskVideoCtrlToNorthMsg(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                            uint32_t dataLen);

/**
 * A notification handler: checks and traces one notification and hands it to the callback.
 *
 * @param inMsg    The envelope; not read.
 * @param zoraMsg  The whole message.
 * @param data     Its payload, or null.
 * @param dataLen  Bytes at @p data.
 * @return What the callback returned, 0 when it was not called; the dispatcher ignores it.
 */
typedef uint32_t (*NorthMsgProc)(OsMsgEnvelope* inMsg, void* zoraMsg, void* data, uint32_t dataLen);

/** Handler of notification 101; held when no callback is installed. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnVoPortDdcInfoNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                 uint32_t dataLen);
/** Handler of notification 102; held when no callback is installed. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnViPortPlusStateNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                   uint32_t dataLen);
/** Handler of notification 106; refuses payloads that are not 80 bytes long. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnDisplayFirstFrameNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                     uint32_t dataLen);
/** Handler of notification 107; refuses payloads that are not 12 bytes long. See NorthMsgProc. */
VESK_VIDEO_API uint32_t MsgOnCameraCtrlResultNotify(OsMsgEnvelope* inMsg, void* zoraMsg, void* data,
                                                    uint32_t dataLen);
/** Handler of notification 108; refuses payloads that are not 80 bytes long. See NorthMsgProc. */
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

#endif
