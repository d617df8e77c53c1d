// The handlers of all notifications that are not exported; receive.h declares the others.
#pragma once

#include "vesk_video/receive.h"

namespace vesk {

using NotificationHandler = uint32_t(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);

NotificationHandler MsgOnLocalLoopStateNotify;
NotificationHandler MsgOnEncResourceInsufficient;
NotificationHandler MsgOnEncodeOverloadStatusNotify;
NotificationHandler MsgOnReCreateDecNotify;
NotificationHandler MsgOnDecodeStateNotify;
NotificationHandler MsgOnIFrameRequestNotify;
NotificationHandler MsgOnWallPaperDecOkNotify;
NotificationHandler MsgOnVoPortPlugStateNotify;
NotificationHandler MsgOnViPortPixelInfoNotify;
NotificationHandler MsgOnNotify105;
NotificationHandler MsgOnVideoproxyDieNotify;

/// Hands the payload over under the envelope's number, without a trace.
NotificationHandler PassOn;

constexpr NorthMsgProc MsgOnNotify104 = PassOn;
constexpr NorthMsgProc MsgOnNotify200 = PassOn;
constexpr NorthMsgProc MsgOnNotify201 = PassOn;
constexpr NorthMsgProc MsgOnNotify202 = PassOn;
constexpr NorthMsgProc MsgOnNotify203 = PassOn;
constexpr NorthMsgProc MsgOnNotify204 = PassOn;
constexpr NorthMsgProc MsgOnNotify205 = PassOn;
constexpr NorthMsgProc MsgOnNotify16 = PassOn;
constexpr NorthMsgProc MsgOnNotify17 = PassOn;
constexpr NorthMsgProc MsgOnNotify18 = PassOn;
constexpr NorthMsgProc MsgOnNotify31 = PassOn;

} // namespace vesk
