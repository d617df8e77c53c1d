// Output ports and the engines that drive them.
#include "vesk_video/output.h"
#include "transport/request.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

uint32_t VeskVideoGetVoCount(uint32_t* count)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_VO_COUNT));
    if (IS_NULL(count))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_VO_COUNT>({}, count);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VO_COUNT)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_VO_COUNT, ret);
}

uint32_t VeskVideoGetVoPort(VeskVideoVoPortInfo* voPortInfo, uint32_t count)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_VO_PORT));
    if (IS_NULL(voPortInfo))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = QueryArray<VESK_VIDEO_MSG_GET_VO_PORT>({}, voPortInfo, count);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VO_PORT)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_VO_PORT, ret);
}

uint32_t VeskVideoVoOpen(uint32_t voPort, uint32_t* outEngNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_OPEN_VO_PORT));
    LOG(kInfo, "%s: voPort=%u.", __func__, voPort);
    if (IS_NULL(outEngNo))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_OPEN_VO_PORT>({.ulParam1 = voPort}, outEngNo);
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_OPEN_VO_PORT msg[%d] %u #####\n", ret, *outEngNo)
               : FAILED(ret);
}

uint32_t VeskVideoVoSetParam(uint32_t outEngNo, const VeskVideoVoPortParam* voPortParam)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_SET_VO_PARAM start %u #####\n", outEngNo);
    if (IS_NULL(voPortParam))
        return VESK_VIDEO_ERR_FAILURE;
    const VeskVideoVoPortParam& p = *voPortParam;
    LOG(kInfo, "%s:voPortParam: %u %u %d %d %d %d %d %d %d", __func__, p.param0, p.param1, p.param2, p.param3,
        p.param4, p.param5, p.param6, p.param7, p.param8);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_VO_PARAM>({.ulParam1 = outEngNo}, &p);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VO_PARAM) : FAILED(ret);
}

uint32_t VeskVideoVoGetParam(uint32_t outEngNo, VeskVideoVoPortParam* voPortParam)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_VO_PARAM start %u #####\n", outEngNo);
    if (IS_NULL(voPortParam))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_VO_PARAM>({.ulParam1 = outEngNo}, voPortParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VO_PARAM) : FAILED(ret);
}

uint32_t VeskVideoVoSetOffset(uint32_t outEngNo, int32_t xOffset, int32_t yOffset)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_SCREEN_OFFSET));
    LOG(kInfo, "%s: outEngNo=%u xOffset=%d yOffset=%d.", __func__, outEngNo, xOffset, yOffset);
    const VeskVideoScreenOffset offset{xOffset, yOffset};
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_SCREEN_OFFSET>({.ulParam1 = outEngNo}, &offset);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_SCREEN_OFFSET) : FAILED(ret);
}

uint32_t VeskVideoVoSetQueHandle(uint32_t outEngNo, uint32_t queHandle)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_VO_QUE_HANDLE));
    LOG(kInfo, "%s:  outEngNo=%u queHandle=%u ", __func__, outEngNo, queHandle);
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_SET_VO_QUE_HANDLE>({.ulParam1 = outEngNo, .ulParam2 = queHandle});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VO_QUE_HANDLE) : FAILED(ret);
}

uint32_t VeskVideoVoStart(uint32_t outEngNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VO_START));
    LOG(kInfo, "%s:  outEngNo=%u", __func__, outEngNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VO_START>({.ulParam1 = outEngNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VO_START) : FAILED(ret);
}

uint32_t VeskVideoVoStop(uint32_t outEngNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VO_STOP));
    LOG(kInfo, "%s: outEngNo=%u.", __func__, outEngNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VO_STOP>({.ulParam1 = outEngNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VO_STOP) : FAILED(ret);
}

uint32_t VeskVideoVoClose(uint32_t outEngNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VO_CLOSE));
    LOG(kInfo, "%s: outEngNo=%u.", __func__, outEngNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VO_CLOSE>({.ulParam1 = outEngNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VO_CLOSE) : FAILED(ret);
}

uint32_t VeskVideoVoEnable(uint32_t voPort)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_VO_ENABLE start %u #####\n", voPort);
    LOG(kInfo, "%s: voPort=%u.", __func__, voPort);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VO_ENABLE>({.ulParam1 = voPort});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VO_ENABLE) : FAILED_FOR(ret, voPort);
}

uint32_t VeskVideoVoDisable(uint32_t voPort)
{
    LOG(kInfo, "vo disable, voPort=%u", voPort);
    TRACE(kInfo, START(VESK_VIDEO_MSG_VO_DISABLE));
    LOG(kInfo, "%s: voPort=%u.", __func__, voPort);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VO_DISABLE>({.ulParam1 = voPort});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VO_DISABLE) : FAILED_FOR(ret, voPort);
}

uint32_t VeskVideoGetOrientation(...)
{
    return VESK_VIDEO_OK;
}
