// Snapshots, stream loops, wallpapers, annotation, image verification and video-I/O callbacks.
#include "vesk_video/media.h"
#include "transport/request.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

uint32_t VeskVideoGetSnapshot(const VeskVideoSnapshotParam* param, uint32_t value2, uint32_t value3)
{
    LOG(kInfo, "Get Snapshot Start!");
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_SNAPSHOT));
    if (IS_NULL(param))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Send<VESK_VIDEO_MSG_GET_SNAPSHOT>({.ulParam1 = value3, .ulParam2 = value2}, param);
    return ret == VESK_VIDEO_OK ? DONE_WITH("#####send VESK_VIDEO_MSG_GET_SNAPSHOT msg[%d] taskId[%u]#####\n",
                                            ret, param->taskId)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_SNAPSHOT, ret);
}

uint32_t VeskVideoSetStreamLoop(uint32_t encNo, uint32_t decNo, uint32_t mode, uint32_t* loopHandle)
{
    LOG(kInfo, START(VESK_VIDEO_MSG_SET_LOOP_MODE));
    if (IS_NULL(loopHandle))
        return VESK_VIDEO_ERR_ARGUMENT;
    TRACE(kInfo, "encNo[%d] decNo[%d] mode[%d]", encNo, decNo, mode);
    const VeskVideoStreamLoopParam loop{encNo, decNo, mode, 0};
    const uint32_t ret = Exchange<VESK_VIDEO_MSG_SET_LOOP_MODE>({}, loop, loopHandle);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_SET_LOOP_MODE)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_SET_LOOP_MODE, ret);
}

uint32_t VeskVideoSetStreamLoopEnable(uint32_t loop, uint8_t enable)
{
    LOG(kInfo, "#####send VESK_VIDEO_MSG_SET_LOOP_START start %u %u #####\n", loop, enable);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_LOOP_START>({.uwSubMsgID = Low16(loop), .ulParam1 = enable});
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_SET_LOOP_START)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_SET_LOOP_START, ret);
}

uint32_t VeskVideoSetDynamicWallpapersStm(const VeskVideoWallpaperParam* wallpaperParam)
{
    LOG(kInfo, "Set dynamic wallpapers stm start!");
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_WALLPAPER_INFO));
    if (wallpaperParam == nullptr) {
        LOG(kError, "wallpaperParam is nullptr");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_WALLPAPER_INFO>({}, wallpaperParam);
    if (ret != VESK_VIDEO_OK)
        LOG(kError, "Set dynamic wallpapers stm result[%d]", ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_WALLPAPER_INFO)
                                : SEND_INVALID("Send Msg Fail!", "ret", ret);
}

uint32_t VeskVideoSetAnnotationStatus(uint32_t value1, uint32_t value2, uint8_t status)
{
    LOG(kInfo, START(VESK_VIDEO_MSG_SET_ANNOTATION_STATUS));
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_ANNOTATION_STATUS>(
        {.uwSubMsgID = Low16(value1), .ulParam1 = value2, .ulParam2 = status});
    if (ret != VESK_VIDEO_OK)
        LOG(kError, "Set annotation status result[%d]", ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_ANNOTATION_STATUS)
                                : SEND_INVALID("Send Msg Fail!", "ret", ret);
}

uint32_t VeskVideoVerifyImage(const char* filePath, const VeskVideoVerifyImageReq* req)
{
    TRACE(kInfo, START_UNENDED(VESK_VIDEO_MSG_VERYFY_IMAGE));
    LOG(kInfo, "%s ender.", __func__); // spelt so on the device
    if (IS_NULL(filePath) || IS_NULL(req))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_VERYFY_IMAGE>({.ulParam1 = reinterpret_cast<uintptr_t>(filePath)}, req);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_VERYFY_IMAGE) : FAILED(ret);
}

uint32_t VeskVideoSetVioCallback(uint32_t engNo, const VeskVideoVioCallbackParam* param)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_VIO_CALLBACK));
    LOG(kInfo, "%s: engNo=%u.", __func__, engNo);
    if (IS_NULL(param))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_VIO_CALLBACK>({.ulParam1 = engNo}, param);
    if (ret != VESK_VIDEO_OK)
        LOG(kError, "VeskVideoSetVioCallback fail, engNo[%d] result[%d]", engNo, ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VIO_CALLBACK) : FAILED(ret);
}
