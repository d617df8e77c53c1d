// Overlay channels.
#include "vesk_video/overlay.h"
#include "transport/request.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

uint32_t VeskVideoCreateOverlayChannel(uint32_t overlayChn, uint32_t value, uint32_t* out)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM start %u %d #####\n", overlayChn,
          value);
    const uint32_t ret = Query<VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM>(
        {.uwSubMsgID = Low16(value), .ulParam1 = overlayChn}, out);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM, ret);
}

uint32_t VeskVideoGetOverlayQueHandle(uint32_t overlayChn, uint32_t* handle)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_OVERLAY_QUE_HANDLE start %u #####\n", overlayChn);
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_OVERLAY_QUE_HANDLE>({.ulParam1 = overlayChn}, handle);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_GET_OVERLAY_QUE_HANDLE)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_OVERLAY_QUE_HANDLE, ret);
}

uint32_t VeskVideoSetOverlayParam(uint32_t overlayChn, const VeskVideoOverlayParam* overlayParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_OVERLAY_PARAM));
    if (IS_NULL(overlayParam))
        return VESK_VIDEO_ERR_FAILURE;
    const VeskVideoOverlayParam& p = *overlayParam;
    LOG(kInfo, "%s: %u %u %u %u %u %u %u %u %u %u %u %u %u.", __func__, overlayChn, p.flag0, p.flag1, p.flag2,
        p.value[0], p.value[1], p.value[2], p.value[3], p.value[4], p.value[5], p.value[6], p.value[7],
        0U); // the format has one placeholder more than there are values
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_OVERLAY_PARAM>({.ulParam1 = overlayChn}, &p);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_SET_OVERLAY_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_SET_OVERLAY_PARAM, ret);
}

uint32_t VeskVideoDestroyOverlayChannel(uint32_t overlayChn)
{
    LOG(kInfo, "#####send VeskVideoDestroyOverlayChannel start %u #####\n", overlayChn);
    const uint32_t ret = Send<VESK_VIDEO_MSG_DESTROY_OVERLAY_PARAM>({.ulParam1 = overlayChn});
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_DESTROY_OVERLAY_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_DESTROY_OVERLAY_PARAM, ret);
}

uint32_t VeskVideoEnableOverlay(uint32_t overlayChn, uint8_t enable)
{
    LOG(kInfo, "#####send VeskVideoEnableOverlay start %u %u #####\n", overlayChn, enable);
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM>({.ulParam1 = overlayChn, .ulParam2 = enable});
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM, ret);
}
