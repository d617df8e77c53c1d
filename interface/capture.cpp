// Sources that are not cameras.
#include "vesk_video/capture.h"
#include "transport/request.h"

#include <cstring>

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

uint32_t VeskVideoSetVirtualViSrc(uint32_t sourceId, const char* filePath)
{
    constexpr size_t kMaxPath = kTextSize<VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM> - 1;
    LOG(kInfo, "#####send VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM start %u #####\n", sourceId);
    if (IS_NULL(filePath))
        return VESK_VIDEO_ERR_FAILURE;
    const size_t length = strnlen(filePath, kMaxPath + 1);
    if (length > kMaxPath) {
        LOG(kError, "the length of filePath is too long");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret =
        SendText<VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM>({.ulParam1 = sourceId}, filePath, length);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM, ret);
}

uint32_t VeskVideoSetAppCaptureParam(uint32_t inEngNo, const VeskVideoAppInParam* appInParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM));
    LOG(kInfo, "%s: inEngNo=%u.", __func__, inEngNo);
    if (IS_NULL(appInParam))
        return VESK_VIDEO_ERR_ARGUMENT;
    const VeskVideoAppInParam& p = *appInParam;
    char text[sizeof p.text + 1] = {}; // a text that fills its field has no NUL
    std::memcpy(text, p.text, sizeof p.text);
    LOG(kInfo, "appInParam: %s %zu %u %u %u %u %d.", text, static_cast<size_t>(p.taskHandle), p.param0,
        p.param1, p.param2, p.param3, p.param4);
    if (p.taskHandle == 0) {
        LOG(kError, "taskHandle is null");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM>({.ulParam1 = inEngNo}, &p);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM) : FAILED_FOR(ret, inEngNo);
}

uint32_t VeskVideoSetAndroidContext(void* javaVm, void* javaContext)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS));
    LOG(kInfo, "%s enter.", __func__);
    if (IS_NULL(javaVm) || IS_NULL(javaContext))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "Init Android Objects");
    const uint32_t ret = Send<VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS>(
        {.ulParam1 = reinterpret_cast<uintptr_t>(javaVm),
         .ulParam2 = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(javaContext))});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS) : FAILED(ret);
}

uint32_t VeskVideoSetAndroidProjection(int32_t resultCode, void* projectionData)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION));
    LOG(kInfo, "%s enter resultCode:%u.", __func__, resultCode);
    LOG(kInfo, "Set Android MediaProjection, resultCode=%d", resultCode);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION>(
        {.ulParam1 = static_cast<uint64_t>(int64_t{resultCode}),
         .ulParam2 = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(projectionData))});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION, ret);
}
