// The 30 notification handlers: each checks and traces one notification and hands it to the callback.
#include "callback/handlers.h"

#include "callback/resend_queue.h"
#include "callback/source.h"
#include "vesk_video/messages.h"
#include "vesk_video/notification.h"

#include <cstring>
#include <optional>
#include <string>

using namespace vesk;

/// The entry line of a named handler.
#define ENTRY(handler, notification) TRACE(kInfo, #handler " " #notification "\n")

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
    ENTRY(MsgOnLocalLoopStateNotify, VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY);
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    NotifyLoopState state{static_cast<uint32_t>(Head(zoraMsg)->ulParam1), Head(zoraMsg)->ulParam2};
    TRACE(kInfo, "loop action=%u result=%u", state.action, state.result);
    return callback(VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, &state, sizeof state);
}

uint32_t MsgOnEncResourceInsufficient(OsMsgEnvelope*, void* zoraMsg, void*, uint32_t)
{
    ENTRY(MsgOnEncResourceInsufficient, VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT);
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    TRACE(kInfo, "Enc Resource Insufficient[%u]", static_cast<uint32_t>(Head(zoraMsg)->ulParam1));
    return callback(VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT, &Head(zoraMsg)->ulParam1, sizeof(uint32_t));
}

uint32_t MsgOnEncodeOverloadStatusNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    ENTRY(MsgOnEncodeOverloadStatusNotify, VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY);
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
    ENTRY(MsgOnReCreateDecNotify, VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY);
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    TRACE(kInfo, "Notify ReCreate Dec[%u]", Head(zoraMsg)->ulParam2);
    return callback(VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY, &Head(zoraMsg)->ulParam2, sizeof(uint32_t));
}

uint32_t MsgOnDecodeStateNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    ENTRY(MsgOnDecodeStateNotify, VESK_VIDEO_ON_DECODE_STATUS_NOTIFY);
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback))
        return 0;
    return callback(VESK_VIDEO_ON_DECODE_STATUS_NOTIFY, data, dataLen);
}

/// Handlers that hand the header's ulParam1 over, with the payload's length.
#define FIRST_PARAMETER_HANDLER(handler, notification)                                                       \
    uint32_t handler(OsMsgEnvelope*, void* zoraMsg, void*, uint32_t dataLen)                                 \
    {                                                                                                        \
        ENTRY(handler, notification);                                                                        \
        const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();                                  \
        if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))                                                     \
            return 0;                                                                                        \
        return callback(notification, &Head(zoraMsg)->ulParam1, dataLen);                                    \
    }

FIRST_PARAMETER_HANDLER(MsgOnIFrameRequestNotify, VESK_VIDEO_ON_IFREAME_REQUEST)
FIRST_PARAMETER_HANDLER(MsgOnWallPaperDecOkNotify, VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY)

uint32_t MsgOnVoPortPlugStateNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    ENTRY(MsgOnVoPortPlugStateNotify, VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY);
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
    ENTRY(MsgOnViPortPixelInfoNotify, VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY);
    return DeliverOrHold(VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, data, dataLen);
}

/// Handlers that only pass the payload on.
#define PASS_ON_HANDLER(number)                                                                              \
    uint32_t MsgOnNotify##number(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)                        \
    {                                                                                                        \
        const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();                                  \
        if (IS_NULLPTR(callback))                                                                            \
            return 0;                                                                                        \
        return callback(VESK_VIDEO_ON_NOTIFY_##number, data, dataLen);                                       \
    }

PASS_ON_HANDLER(104)

uint32_t MsgOnNotify105(OsMsgEnvelope*, void* zoraMsg, void* data, uint32_t dataLen)
{
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback) || IS_NULLPTR(zoraMsg))
        return 0;
    return callback(VESK_VIDEO_ON_NOTIFY_105, data, dataLen);
}

PASS_ON_HANDLER(200)
PASS_ON_HANDLER(201)
PASS_ON_HANDLER(202)
PASS_ON_HANDLER(203)
PASS_ON_HANDLER(204)
PASS_ON_HANDLER(205)
PASS_ON_HANDLER(16)
PASS_ON_HANDLER(17)
PASS_ON_HANDLER(18)
PASS_ON_HANDLER(31)

} // namespace vesk

/// Handlers that pass the payload on after an entry line of their own, written once a callback is there.
#define ANNOUNCED_HANDLER(handler, notification)                                                             \
    uint32_t handler(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)                                    \
    {                                                                                                        \
        const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();                                  \
        if (IS_NULLPTR(callback))                                                                            \
            return 0;                                                                                        \
        ENTRY(handler, notification);                                                                        \
        return callback(notification, data, dataLen);                                                        \
    }

namespace vesk {
ANNOUNCED_HANDLER(MsgOnVideoproxyDieNotify, VESK_VIDEO_ON_VIDEO_DIE_NOTIFY)
} // namespace vesk

ANNOUNCED_HANDLER(MsgOnVideoproxyRestartNotify, VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY)
ANNOUNCED_HANDLER(MsgOnVideoAnnotationReadyNotify, VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY)
ANNOUNCED_HANDLER(MsgOnVideoBgResourceInitReadyNotify, VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE)

uint32_t MsgOnVoPortDdcInfoNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    ENTRY(MsgOnVoPortDdcInfoNotify, VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY);
    if (IS_NULLPTR(data))
        return 0;
    if (const auto info = Read<VeskVideoVoPortDdcInfo>(data, dataLen))
        TRACE(kInfo, "ddcInfo:port[%u] Width[%u] height[%u] fr[%u]", info->port, info->Width, info->height,
              info->fr);
    return DeliverOrHold(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, data, dataLen);
}

uint32_t MsgOnViPortPlusStateNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    ENTRY(MsgOnViPortPlusStateNotify, VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY);
    if (IS_NULLPTR(data))
        return 0;
    if (const auto plug = Read<VeskVideoViPortPlugState>(data, dataLen))
        LOG(kInfo, "%s:vi in notify port = %u, val = %u", __func__, plug->port, plug->val);
    return DeliverOrHold(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, data, dataLen);
}

uint32_t MsgOnCameraCtrlResultNotify(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)
{
    if (IS_NULLPTR(data))
        return 0;
    VeskVideoCamCtrlResult result;
    if (dataLen != sizeof result) {
        LOG(kError, "dataLen error");
        return 0;
    }
    std::memcpy(&result, data, sizeof result);
    TRACE(kInfo, "viPort[%u] camCtrlCmd[%d] errCode[%d] dataLen[%u]", result.viPort, result.camCtrlCmd,
          result.errCode, dataLen);
    ENTRY(MsgOnCameraCtrlResultNotify, VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY);
    const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();
    if (IS_NULLPTR(callback))
        return 0;
    return callback(VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, data, dataLen);
}

/// Handlers of a display link. The port name is shown up to its NUL, or whole when it has none.
#define DISPLAY_LINK_HANDLER(handler, notification)                                                          \
    uint32_t handler(OsMsgEnvelope*, void*, void* data, uint32_t dataLen)                                    \
    {                                                                                                        \
        if (IS_NULLPTR(data))                                                                                \
            return 0;                                                                                        \
        VeskVideoDisplayLink link;                                                                           \
        if (dataLen != sizeof link) {                                                                        \
            LOG(kError, "dataLen error");                                                                    \
            return 0;                                                                                        \
        }                                                                                                    \
        std::memcpy(&link, data, sizeof link);                                                               \
        char portName[sizeof link.portName + 1] = {};                                                        \
        std::memcpy(portName, link.portName, sizeof link.portName);                                          \
        TRACE(kInfo, "VI[%d]:portName[%s] isDec[%d] surfaceId[%u] dataLen[%u]", link.viPort, portName,       \
              link.isDec, link.surfaceId, dataLen);                                                          \
        ENTRY(handler, notification);                                                                        \
        const VeskVideoNotifyCallback callback = VeskVideoGetCallbackPtr();                                  \
        if (IS_NULLPTR(callback))                                                                            \
            return 0;                                                                                        \
        return callback(notification, data, dataLen);                                                        \
    }

DISPLAY_LINK_HANDLER(MsgOnDisplayFirstFrameNotify, VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY)
DISPLAY_LINK_HANDLER(MsgOnDisplayDestroyLinkNotify, VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY)
