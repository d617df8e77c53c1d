// Takes a received message apart and calls the handler of its number.
#include "callback/handlers.h"
#include "platform/os_msg.h"
#include "transport/log.h"
#include "vesk_video/message_list.h"
#include "vesk_video/receive.h"

#include <iterator>

using namespace vesk;

static constexpr auto& kLogModule = log_module::kCallback;

namespace {

struct NorthMsgProcInfo {
    uint64_t id; // only the low 16 bits take part in the comparison
    NorthMsgProc proc;
};
static_assert(sizeof(NorthMsgProcInfo) == 16);

constexpr NorthMsgProcInfo g_northMsgProcTable[] = {
    {VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, MsgOnLocalLoopStateNotify},
    {VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT, MsgOnEncResourceInsufficient},
    {VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, MsgOnEncodeOverloadStatusNotify},
    {VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY, MsgOnReCreateDecNotify},
    {VESK_VIDEO_ON_DECODE_STATUS_NOTIFY, MsgOnDecodeStateNotify},
    {VESK_VIDEO_ON_IFREAME_REQUEST, MsgOnIFrameRequestNotify},
    {VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY, MsgOnWallPaperDecOkNotify},
    {VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY, MsgOnVoPortPlugStateNotify},
    {VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, MsgOnVoPortDdcInfoNotify},
    {VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, MsgOnViPortPlusStateNotify},
    {VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, MsgOnViPortPixelInfoNotify},
    {VESK_VIDEO_ON_NOTIFY_104, MsgOnNotify104},
    {VESK_VIDEO_ON_NOTIFY_105, MsgOnNotify105},
    {VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, MsgOnDisplayFirstFrameNotify},
    {VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, MsgOnCameraCtrlResultNotify},
    {VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, MsgOnDisplayDestroyLinkNotify},
    {VESK_VIDEO_ON_NOTIFY_200, MsgOnNotify200},
    {VESK_VIDEO_ON_NOTIFY_201, MsgOnNotify201},
    {VESK_VIDEO_ON_NOTIFY_202, MsgOnNotify202},
    {VESK_VIDEO_ON_NOTIFY_203, MsgOnNotify203},
    {VESK_VIDEO_ON_NOTIFY_204, MsgOnNotify204},
    {VESK_VIDEO_ON_NOTIFY_205, MsgOnNotify205},
    {VESK_VIDEO_ON_NOTIFY_16, MsgOnNotify16},
    {VESK_VIDEO_ON_NOTIFY_17, MsgOnNotify17},
    {VESK_VIDEO_ON_NOTIFY_18, MsgOnNotify18},
    {VESK_VIDEO_ON_NOTIFY_31, MsgOnNotify31},
    {VESK_VIDEO_ON_VIDEO_DIE_NOTIFY, MsgOnVideoproxyDieNotify},
    {VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, MsgOnVideoproxyRestartNotify},
    {VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY, MsgOnVideoAnnotationReadyNotify},
    {VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE, MsgOnVideoBgResourceInitReadyNotify},
};

/// The table has one handler for each listed notification, in the list's order, and no number twice.
consteval bool TableAgreesWithList()
{
    for (size_t i = 0; i < std::size(g_northMsgProcTable); ++i) {
        const uint64_t id = g_northMsgProcTable[i].id;
        if (id != messages::kNotifications[i].number || id > UINT16_MAX)
            return false;
        for (size_t other = 0; other < i; ++other) {
            if (g_northMsgProcTable[other].id == id)
                return false;
        }
    }
    return std::size(g_northMsgProcTable) == std::size(messages::kNotifications);
}
static_assert(std::size(g_northMsgProcTable) == 30, "the interface has 30 notifications");
static_assert(TableAgreesWithList(), "g_northMsgProcTable and the list of messages differ");

NorthMsgProc FindHandler(uint32_t msgId)
{
    for (const NorthMsgProcInfo& entry : g_northMsgProcTable) {
        if (msgId == static_cast<uint16_t>(entry.id))
            return entry.proc;
    }
    return nullptr;
}

/// True, and logged, when a message is too short to hold its header.
bool IsShorterThanHeader(const OsMsgEnvelope& message)
{
    if (message.dataLen >= sizeof(VeskVideoMsgHead))
        return false;
    LOG(kError, "recv msg is shorter than its header, msgId[%u] dataLen[%u]", message.msgId, message.dataLen);
    return true;
}

/// True when a NUL ends the name before any line break.
bool IsPrintableNameField(const char (&name)[VESK_VIDEO_NAME_SIZE])
{
    for (const char c : name) {
        if (c == '\0')
            return true;
        if (c == '\n' || c == '\r')
            return false;
    }
    return false;
}

} // namespace

uint32_t VeskProcDealToNorthInterfaceMsg(OsMsgEnvelope* pstMsg)
{
    TRACE(kInfo, "##### NorthInterfaceMsg enter #####");
    if (pstMsg == nullptr) {
        LOG(kError, "recv msg pstMsg is null");
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (IS_NULL(pstMsg->data))
        return VESK_VIDEO_ERR_FAILURE;
    if (IsShorterThanHeader(*pstMsg))
        return VESK_VIDEO_ERR_FAILURE;
    constexpr uint32_t kHeadSize = sizeof(VeskVideoMsgHead);
    const uint32_t payloadLen = pstMsg->dataLen - kHeadSize;
    void* payload = payloadLen != 0 ? static_cast<unsigned char*>(pstMsg->data) + kHeadSize : nullptr;
    VeskVideoCtrlToNorthMsg(pstMsg, pstMsg->data, payload, payloadLen);
    TRACE(kInfo, "##### NorthInterfaceMsg end #####");
    return VESK_VIDEO_OK;
}

void VeskVideoCtrlToNorthMsg(OsMsgEnvelope* inMsg, void* zoraMsg, void* data, uint32_t dataLen)
{
    if (IS_NULLPTR(inMsg) || IS_NULLPTR(zoraMsg) || IsShorterThanHeader(*inMsg))
        return;
    const bool namesArePrintable =
        IsPrintableNameField(inMsg->sendProcName) && IsPrintableNameField(inMsg->recvProcName) &&
        IsPrintableNameField(inMsg->sendTaskName) && IsPrintableNameField(inMsg->recvTaskName);
    if (const NorthMsgProc handler = FindHandler(inMsg->msgId); handler != nullptr)
        handler(inMsg, zoraMsg, data, dataLen);
    else
        TRACE(kInfo, "no handle!");
    if (namesArePrintable)
        TRACE(kInfo,
              "recv video msg: type=%d, msgId=%d, sendCpuId=%d, sendProcName=%s, sendTaskName=%s\n"
              "\trecvCpuId=%d, recvProcName=%s, recvTaskName=%s, dataLen=%d\n",
              inMsg->type, inMsg->msgId, inMsg->sendCpuId, inMsg->sendProcName, inMsg->sendTaskName,
              inMsg->recvCpuId, inMsg->recvProcName, inMsg->recvTaskName, inMsg->dataLen);
    else
        TRACE(kInfo, "recv video msg: type=%d, msgId=%d, sendCpuId=%d, recvCpuId=%d,  dataLen=%d",
              inMsg->type, inMsg->msgId, inMsg->sendCpuId, inMsg->recvCpuId, inMsg->dataLen);
}
