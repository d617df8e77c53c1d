// Camera commands and presets. Their lines name the function in place of the message.
#include "vesk_video/camera.h"
#include "transport/request.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

uint32_t VeskVideoCamControl(uint32_t inEngNo, int32_t cmdType, void* ctrlData, uint32_t ctrlDataLen)
{
    if (cmdType > VESK_VIDEO_CAM_CTRL_MAX) {
        LOG(kError, "wrong ctrl param[%d]", cmdType);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    TRACE(kInfo, START(VeskVideoCamControl));
    const Arguments arguments{.ulParam1 = inEngNo, .ulParam2 = static_cast<uint32_t>(cmdType)};
    const uint32_t ret = cmdType == VESK_VIDEO_CAM_CTRL_QUERY
                             ? QueryBytes<VESK_VIDEO_MSG_CAMERA_CONTROL>(arguments, ctrlData, ctrlDataLen)
                             : SendBytes<VESK_VIDEO_MSG_CAMERA_CONTROL>(arguments, ctrlData, ctrlDataLen);
    TRACE(kInfo, "#####send VeskVideoCamControl msg[%d]#####\n", ret);
    if (ret != VESK_VIDEO_OK)
        LOG(kError, "VeskVideoCamControl failed, inEngNo=%u, cmdType=%d ret=%d", inEngNo, cmdType, ret);
    return ret;
}

uint32_t VeskVideoCamSetPreset(uint32_t engNo, const VeskVideoPresetInfo* presetInfo)
{
    if (IS_NULL(presetInfo))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "VeskVideoCamSetPreset engNo[%u], presetId[%u] isValid[%d]!", engNo, presetInfo->presetId,
        presetInfo->isValid);
    TRACE(kInfo, "#####send VeskVideoCamSetPreset #####\n");
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_PRESET>({.uwSubMsgID = Low16(engNo)}, presetInfo);
    if (ret != VESK_VIDEO_OK)
        LOG(kError, "Set preset result= %d", ret);
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_SET_PRESET msg[%d]#####\n", ret);
    return ret;
}

uint32_t VeskVideoCamGetPresetCount(uint32_t* count)
{
    TRACE(kInfo, START(VeskVideoCamGetPresetCount));
    if (IS_NULL(count))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_PRESET_COUNT>({}, count);
    return ret == VESK_VIDEO_OK ? DONE_WITH("#####send VeskVideoCamGetPresetCount ret[%d]#####\n", ret)
                                : SEND_INVALID("Send Msg Fail!", "ret", ret);
}

uint32_t VeskVideoCamQueryPreset(uint32_t presetSelector, VeskVideoPresetInfo* presetInfo,
                                 uint32_t presetCount)
{
    TRACE(kInfo, START(VeskVideoCamQueryPreset));
    if (IS_NULL(presetInfo))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret =
        QueryArray<VESK_VIDEO_MSG_QUERY_PRESET>({.ulParam1 = presetSelector}, presetInfo, presetCount);
    TRACE(kInfo, "#####send VeskVideoCamQueryPreset msg[%d]#####\n", ret);
    return ret;
}

uint32_t VeskVideoCamGetBoundaryState(uint32_t inEngNo, VeskVideoBoundaryState* boundaryState)
{
    if (IS_NULL(boundaryState))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "Get boundary state, inEngNo[%u].", inEngNo);
    const uint32_t ret =
        Query<VESK_VIDEO_MSG_GET_BOUNDARY_STATE>({.uwSubMsgID = Low16(inEngNo)}, boundaryState);
    if (ret != VESK_VIDEO_OK) {
        LOG(kError, "Get boundary state result= %d", ret);
        SEND_INVALID("Send Msg Fail!", "ret", ret);
    }
    return ret;
}

uint32_t VeskVideoCamGetPreset(...)
{
    return VESK_VIDEO_OK;
}

uint32_t VeskVideoCamGetPosition(...)
{
    return VESK_VIDEO_OK;
}
