// The handlers of all notifications that are not exported; receive.h declares the others.
#pragma once

#include "vesk_video/receive.h"

namespace vesk {

uint32_t MsgOnLocalLoopStateNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnEncResourceInsufficient(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnEncodeOverloadStatusNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnReCreateDecNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnDecodeStateNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnIFrameRequestNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnWallPaperDecOkNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnVoPortPlugStateNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnViPortPixelInfoNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify104(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify105(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify200(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify201(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify202(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify203(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify204(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify205(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify16(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify17(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify18(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnNotify31(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);
uint32_t MsgOnVideoproxyDieNotify(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen);

} // namespace vesk
