// What an output shows.
#include "vesk_video/display.h"
#include "transport/request.h"

#include <cstring>

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

/// The windows of a filter request, which the interface takes untyped.
static const VeskVideoFilterWindow* Windows(const void* windowList)
{
    return static_cast<const VeskVideoFilterWindow*>(windowList);
}

uint32_t VeskVideoVoSetSrc(uint32_t outEngNo, const VeskVideoVoMultiPicParam* voMultiPicParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_VO_SRC));
    if (IS_NULL(voMultiPicParam))
        return VESK_VIDEO_ERR_FAILURE;
    if (voMultiPicParam->picNum > VESK_VIDEO_MAX_SUBPIC_NUM) {
        LOG(kError, "Set picNum[%d] > VESK_VIDEO_MAX_SUBPIC_NUM", voMultiPicParam->picNum);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    LOG(kInfo, "%s: outEngNo=%u.", __func__, outEngNo);
    for (uint32_t i = 0; i < voMultiPicParam->picNum; ++i) {
        const VeskVideoSubPicParam& p = voMultiPicParam->subPic[i];
        LOG(kInfo,
            "%s:picNum[%d] decFlag[%d] inputId[%d] sufaceFlag[%d] winHandle[%#llx] colorSpace[%d] "
            "bas-width[%u] bas-height[%u] showMode[%d] mirror[%d]",
            __func__, i, p.decFlag, p.inputId, p.sufaceFlag, static_cast<unsigned long long>(p.winHandle),
            p.colorSpace, p.basWidth, p.basHeight, p.showMode, p.mirror);
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_VO_SRC>({.ulParam1 = outEngNo}, voMultiPicParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VO_SRC) : FAILED(ret);
}

uint32_t VeskVideoVoSetDisplayMode(const VeskVideoDisplayInfo* displayInfo)
{
    if (displayInfo == nullptr) {
        LOG(kInfo, "param displayInfo is null");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    // Two lines, with and without the function's name, as on the device.
    LOG(kInfo, "Set displayMode [%u] fps[%u]", displayInfo->displayMode, displayInfo->fps);
    LOG(kInfo, "%s:Set displayMode [%u] fps[%u]", __func__, displayInfo->displayMode, displayInfo->fps);
    if (displayInfo->displayMode > VESK_VIDEO_DISPLAY_MODE_MAX) {
        LOG(kError, "displayMode [%d] invalid", displayInfo->displayMode);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_DISPLAY_MODE>({}, displayInfo);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_SET_DISPLAY_MODE) : FAILED(ret);
}

uint32_t VeskVideoVoSetDefaultImage(uint32_t imageParam1, uint32_t imageParam2, const char* filePath)
{
    constexpr size_t kMaxPath = kTextSize<VESK_VIDEO_MSG_SET_DEFAULT_IMAGE> - 1;
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_DEFAULT_IMAGE));
    const size_t length = filePath != nullptr ? strnlen(filePath, kMaxPath + 1) : 0;
    if (filePath == nullptr || length > kMaxPath) {
        LOG(kError, "the length of filePath is nullptr or too long");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = SendText<VESK_VIDEO_MSG_SET_DEFAULT_IMAGE>(
        {.ulParam1 = imageParam1, .ulParam2 = imageParam2}, filePath, length);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_DEFAULT_IMAGE) : FAILED(ret);
}

uint32_t VeskVideoVoSetByomSrEnable(uint8_t enable)
{
    LOG(kInfo, "Set set byom enable[%d]", enable); // "Set set": as on the device
    LOG(kInfo, START_UNENDED(VESK_VIDEO_MSG_SET_SR_ENABLE));
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_SR_ENABLE>({.ulParam1 = enable});
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_SET_SR_ENABLE) : FAILED(ret);
}

uint32_t VeskVideoAddFilterWindows(uint32_t filterParam, uint32_t windowCount, const void* windowList)
{
    LOG(kInfo, "#####send VESK_VIDEO_MSG_SET_FILTER_WINDOW start %u %u#####", filterParam, windowCount);
    const uint32_t ret = SendArray<VESK_VIDEO_MSG_SET_FILTER_WINDOW>({.ulParam1 = filterParam},
                                                                     Windows(windowList), windowCount);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_SET_FILTER_WINDOW) : FAILED(ret);
}

uint32_t VeskVideoDeleteFilterWindows(uint32_t filterParam, uint32_t windowCount, const void* windowList)
{
    TRACE(kInfo, START_UNENDED(VeskVideoDeleteFilterWindows));
    const uint32_t ret = SendArray<VESK_VIDEO_MSG_DELETE_FILTER_WINDOW>({.ulParam1 = filterParam},
                                                                        Windows(windowList), windowCount);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VeskVideoDeleteFilterWindows)
                                : SEND_INVALID("Send Syn Msg Fail!", "retVal", ret);
}

uint32_t VeskVideoVoNotifyWindowDestroyed(uint32_t outEngNo, void* winHandle)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VO_WINDOW_DESTROY));
    LOG(kInfo, "%s: outEngNo=%u winHandle=%p.", __func__, outEngNo, winHandle);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VO_WINDOW_DESTROY>(
        {.ulParam1 = reinterpret_cast<uintptr_t>(winHandle), .ulParam2 = outEngNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VO_WINDOW_DESTROY) : FAILED(ret);
}
