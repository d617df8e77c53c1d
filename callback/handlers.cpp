// The notification handlers: each checks and traces one notification and hands it to the callback.
#include "callback/handlers.h"

#include "callback/resend_queue.h"
#include "platform/os_msg.h"
#include "transport/log.h"
#include "vesk_video/messages.h"
#include "vesk_video/notification.h"

#include <cstring>
#include <optional>

using namespace vesk;

static constexpr auto& kLogModule = log_module::kCallback;

/// Format of the entry line of a named handler.
#define ENTRY(handler, notification) Naming(handler, Naming(notification, #handler " " #notification "\n"))

namespace {

VeskVideoMsgHead* Head(void* zoraMsg)
{
    return static_cast<VeskVideoMsgHead*>(zoraMsg);
}

/// The record at the start of a payload, or nothing when the payload is too short to hold it.
template <class Record>
std::optional<Record> Read(const void* data, uint32_t dataLen)
{
    Record record;
    if (data == nullptr || dataLen < sizeof record)
        return std::nullopt;
    std::memcpy(&record, data, sizeof record);
    return record;
}

/// The record that a payload must be exactly; nothing, and logged, for any other payload.
template <class Record>
std::optional<Record> ReadExactly(const void* data, uint32_t dataLen)
{
    if (IS_NULLPTR(data))
        return std::nullopt;
    if (dataLen != sizeof(Record)) {
        LOG(kError, "dataLen error");
        return std::nullopt;
    }
    return Read<Record>(data, dataLen);
}

/// Traces a display link on behalf of the calling handler. The port name may fill its field, without a NUL.
void TraceLink(const VeskVideoDisplayLink& link, const char* handler = __builtin_FUNCTION(),
               uint32_t line = __builtin_LINE())
{
    char portName[sizeof link.portName + 1] = {};
    std::memcpy(portName, link.portName, sizeof link.portName);
    TRACE_AT(handler, line, kInfo, "VI[%d]:portName[%s] isDec[%d] surfaceId[%u] dataLen[%u]", link.viPort,
             portName, link.isDec, link.surfaceId, uint32_t{sizeof link});
}

uint32_t Deliver(uint32_t notifyId, void* data, uint32_t dataLen)
{
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    return IS_NULLPTR(callback) ? 0 : callback(notifyId, data, dataLen);
}

uint32_t DeliverOrHold(uint32_t notifyId, void* data, uint32_t dataLen)
{
    VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (callback == nullptr)
        callback = HoldUnlessCallback(notifyId, data, dataLen);
    return callback != nullptr ? callback(notifyId, data, dataLen) : 0;
}

} // namespace

namespace vesk {

uint32_t MsgOnLocalLoopStateNotify(OsMsgEnvelope*, void* zoraMsg, void*, uint32_t)
{
    TRACE(kInfo, ENTRY(MsgOnLocalLoopStateNotify, VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY));
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    NotifyLoopState state{static_cast<uint32_t>(Head(zoraMsg)->ulParam1), Head(zoraMsg)->ulParam2};
    TRACE(kInfo, "loop action=%u result=%u", state.action, state.result);
    return callback(VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, &state, sizeof state);
}

uint32_t MsgOnEncResourceInsufficient(OsMsgEnvelope*, void* zoraMsg, void*, uint32_t)
{
    TRACE(kInfo, ENTRY(MsgOnEncResourceInsufficient, VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT));
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    TRACE(kInfo, "Enc Resource Insufficient[%u]", static_cast<uint32_t>(Head(zoraMsg)->ulParam1));
    return callback(VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT, &Head(zoraMsg)->ulParam1, sizeof(uint32_t));
}

uint32_t MsgOnEncodeOverloadStatusNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    TRACE(kInfo, ENTRY(MsgOnEncodeOverloadStatusNotify, VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY));
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback))
        return 0;
    if (const auto status = Read<VeskVideoEncOverloadStatus>(data, dataLen))
        LOG(kInfo, "MsgOnEncodeOverloadStatusNotify data: encStmNo-%u,rts-%u.", status->encStmNo,
            status->rts);
    return callback(VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, data, dataLen);
}

uint32_t MsgOnReCreateDecNotify(OsMsgEnvelope*, void* zoraMsg, void*, uint32_t)
{
    TRACE(kInfo, ENTRY(MsgOnReCreateDecNotify, VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY));
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    TRACE(kInfo, "Notify ReCreate Dec[%u]", Head(zoraMsg)->ulParam2);
    return callback(VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY, &Head(zoraMsg)->ulParam2, sizeof(uint32_t));
}

uint32_t MsgOnDecodeStateNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    TRACE(kInfo, ENTRY(MsgOnDecodeStateNotify, VESK_VIDEO_ON_DECODE_STATUS_NOTIFY));
    return Deliver(VESK_VIDEO_ON_DECODE_STATUS_NOTIFY, data, dataLen);
}

uint32_t MsgOnIFrameRequestNotify(OsMsgEnvelope*, void* zoraMsg, void*, uint32_t dataLen)
{
    TRACE(kInfo, ENTRY(MsgOnIFrameRequestNotify, VESK_VIDEO_ON_IFREAME_REQUEST));
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    return callback(VESK_VIDEO_ON_IFREAME_REQUEST, &Head(zoraMsg)->ulParam1, dataLen);
}

uint32_t MsgOnWallPaperDecOkNotify(OsMsgEnvelope*, void* zoraMsg, void*, uint32_t dataLen)
{
    TRACE(kInfo, ENTRY(MsgOnWallPaperDecOkNotify, VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY));
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    return callback(VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY, &Head(zoraMsg)->ulParam1, dataLen);
}

uint32_t MsgOnVoPortPlugStateNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    TRACE(kInfo, ENTRY(MsgOnVoPortPlugStateNotify, VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY));
    if (IS_NULLPTR(data))
        return 0;
    if (const auto plug = Read<VeskVideoVoPortPlugState>(data, dataLen))
        TRACE(kInfo, "vo in notify port = %d, val = %d", plug->port, plug->val);
    return DeliverOrHold(VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY, data, dataLen);
}

uint32_t MsgOnViPortPixelInfoNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    if (IS_NULLPTR(data))
        return 0;
    if (const auto info = Read<VeskVideoViPortPixelInfo>(data, dataLen)) {
        TRACE(kInfo, "VI[%d]:Width=%d, height=%d, fr=%d, portType=%d", info->port, info->Width, info->height,
              info->fr, info->portType);
        if (info->portType == VESK_VIDEO_PORT_TYPE_NET_CAMERA)
            LOG(kError, "net camera decoder in, stmNo is [%u], port is %u", info->stmNo, info->port);
    }
    TRACE(kInfo, ENTRY(MsgOnViPortPixelInfoNotify, VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY));
    return DeliverOrHold(VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, data, dataLen);
}

uint32_t PassOn(OsMsgEnvelope* inMsg, void*, void* data, uint32_t dataLen)
{
    return Deliver(inMsg->msgId, data, dataLen);
}

uint32_t MsgOnNotify105(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen)
{
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    return callback(VESK_VIDEO_ON_NOTIFY_105, data, dataLen);
}

uint32_t MsgOnVideoproxyDieNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback))
        return 0;
    TRACE(kInfo, ENTRY(MsgOnVideoproxyDieNotify, VESK_VIDEO_ON_VIDEO_DIE_NOTIFY));
    return callback(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY, data, dataLen);
}

} // namespace vesk

uint32_t MsgOnVideoproxyRestartNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback))
        return 0;
    TRACE(kInfo, ENTRY(MsgOnVideoproxyRestartNotify, VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY));
    return callback(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, data, dataLen);
}

uint32_t MsgOnVideoAnnotationReadyNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback))
        return 0;
    TRACE(kInfo, ENTRY(MsgOnVideoAnnotationReadyNotify, VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY));
    return callback(VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY, data, dataLen);
}

uint32_t MsgOnVideoBgResourceInitReadyNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback))
        return 0;
    TRACE(kInfo, ENTRY(MsgOnVideoBgResourceInitReadyNotify, VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE));
    return callback(VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE, data, dataLen);
}

uint32_t MsgOnVoPortDdcInfoNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    TRACE(kInfo, ENTRY(MsgOnVoPortDdcInfoNotify, VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY));
    if (IS_NULLPTR(data))
        return 0;
    if (const auto info = Read<VeskVideoVoPortDdcInfo>(data, dataLen))
        TRACE(kInfo, "ddcInfo:port[%u] Width[%u] height[%u] fr[%u]", info->port, info->Width, info->height,
              info->fr);
    return DeliverOrHold(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, data, dataLen);
}

uint32_t MsgOnViPortPlusStateNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    TRACE(kInfo, ENTRY(MsgOnViPortPlusStateNotify, VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY));
    if (IS_NULLPTR(data))
        return 0;
    if (const auto plug = Read<VeskVideoViPortPlugState>(data, dataLen))
        LOG(kInfo, "%s:vi in notify port = %u, val = %u", __func__, plug->port, plug->val);
    return DeliverOrHold(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, data, dataLen);
}

uint32_t MsgOnCameraCtrlResultNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    const auto result = ReadExactly<VeskVideoCamCtrlResult>(data, dataLen);
    if (!result)
        return 0;
    TRACE(kInfo, "viPort[%u] camCtrlCmd[%d] errCode[%d] dataLen[%u]", result->viPort, result->camCtrlCmd,
          result->errCode, dataLen);
    TRACE(kInfo, ENTRY(MsgOnCameraCtrlResultNotify, VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY));
    return Deliver(VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, data, dataLen);
}

uint32_t MsgOnDisplayFirstFrameNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    const auto link = ReadExactly<VeskVideoDisplayLink>(data, dataLen);
    if (!link)
        return 0;
    TraceLink(*link);
    TRACE(kInfo, ENTRY(MsgOnDisplayFirstFrameNotify, VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY));
    return Deliver(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, data, dataLen);
}

uint32_t MsgOnDisplayDestroyLinkNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    const auto link = ReadExactly<VeskVideoDisplayLink>(data, dataLen);
    if (!link)
        return 0;
    TraceLink(*link);
    TRACE(kInfo, ENTRY(MsgOnDisplayDestroyLinkNotify, VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY));
    return Deliver(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, data, dataLen);
}
