// Sources that are not cameras, and the device's capability.
#include "vesk_video/capture.h"
#include "interface/source.h"
#include "transport/request.h"

#include <cstring>

using namespace vesk;

uint32_t VeskVideoSetVirtualViSrc(uint32_t sourceId, const char* filePath)
{
    constexpr size_t kMaxPath = 4096;
    LOG(kInfo, "#####send VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM start %u #####\n", sourceId);
    if (IS_NULL(filePath))
        return VESK_VIDEO_ERR_FAILURE;
    const size_t length = strnlen(filePath, kMaxPath + 1);
    if (length > kMaxPath) {
        LOG(kError, "the length of filePath is too long");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = SendBytes({.msgId = VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM, .ulParam1 = sourceId},
                                   filePath, static_cast<uint32_t>(length + 1));
    return FINISH(ret, MESSAGE_FAILED(VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM, ret),
                  DONE(VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM));
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
    const uint32_t ret = Send({.msgId = VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM, .ulParam1 = inEngNo}, p);
    return FINISH(ret, FAILED_FOR(ret, inEngNo), DONE(VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM));
}

uint32_t VeskVideoSetAndroidContext(void* javaVm, void* javaContext)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS));
    LOG(kInfo, "%s enter.", __func__);
    if (IS_NULL(javaVm) || IS_NULL(javaContext))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "Init Android Objects");
    const uint32_t ret = Send({.msgId = VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS,
                               .ulParam1 = reinterpret_cast<uintptr_t>(javaVm),
                               .ulParam2 = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(javaContext))});
    return FINISH(ret, FAILED(ret), DONE(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS));
}

uint32_t VeskVideoSetAndroidProjection(int32_t resultCode, void* projectionData)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION));
    LOG(kInfo, "%s enter resultCode:%u.", __func__, resultCode);
    LOG(kInfo, "Set Android MediaProjection, resultCode=%d", resultCode);
    const uint32_t ret =
        Send({.msgId = VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION,
              .ulParam1 = static_cast<uint64_t>(int64_t{resultCode}),
              .ulParam2 = static_cast<uint32_t>(reinterpret_cast<uintptr_t>(projectionData))});
    return FINISH(ret, MESSAGE_FAILED(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION, ret),
                  DONE(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION));
}

uint32_t VeskVideoGetCapability(uint32_t capabilityType, VeskVideoCapability* capability)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_CAPABILITY));
    if (IS_NULL(capability))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret =
        Query({.msgId = VESK_VIDEO_MSG_GET_CAPABILITY, .ulParam2 = capabilityType}, capability);
    return FINISH(ret, MESSAGE_FAILED(VESK_VIDEO_MSG_GET_CAPABILITY, ret),
                  DONE(VESK_VIDEO_MSG_GET_CAPABILITY));
}
