// Framing of an input and the state of its camera. Port and engine numbers travel in uwSubMsgID. "Execut" is
// spelt so on the device.
#include "vesk_video/framing.h"
#include "transport/request.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

uint32_t VeskVideoSetViPortEptzParam(uint32_t port, const VeskVideoEptzParams* eptzParams)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM));
    if (port > VESK_VIDEO_VI_PORT_MAX) {
        LOG(kError, "port[%u] is invalid", port);
        return VESK_VIDEO_ERR_PORT_INVALID;
    }
    if (IS_NULL(eptzParams))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM>({.uwSubMsgID = Low16(port)}, eptzParams);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM, ret);
}

uint32_t VeskVideoSetViPortPtzfParam(uint32_t port, const VeskVideoPtzfParams* ptzfParams)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_VI_PTZF_PARAM));
    if (port > VESK_VIDEO_VI_PORT_MAX) {
        LOG(kError, "port[%u] is invalid", port);
        return VESK_VIDEO_ERR_PORT_INVALID;
    }
    if (IS_NULL(ptzfParams))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_VI_PTZF_PARAM>({.uwSubMsgID = Low16(port)}, ptzfParams);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VI_PTZF_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_SET_VI_PTZF_PARAM, ret);
}

uint32_t VeskVideoGetViPortEptzParam(uint32_t inEngNo, VeskVideoEptzParams* eptzParams)
{
    TRACE(kInfo, "Get VI port cutout param start!");
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM start %u #####\n", inEngNo);
    if (IS_NULL(eptzParams))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret =
        Query<VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM>({.uwSubMsgID = Low16(inEngNo)}, eptzParams);
    if (ret == VESK_VIDEO_OK)
        TRACE(kInfo, "Get VI port cutout param, inEngNo[%u] result[%d]", inEngNo, ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM, ret);
}

uint32_t VeskVideoGetViPortPtzfParam(uint32_t inEngNo, VeskVideoPtzfParams* ptzfParams)
{
    TRACE(kInfo, "Get VI port ptzf param start!");
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_VI_PTZF_PARAM start %u #####\n", inEngNo);
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_VI_PTZF_PARAM>({.uwSubMsgID = Low16(inEngNo)}, ptzfParams);
    if (ret == VESK_VIDEO_OK)
        TRACE(kInfo, "Get VI port ptzf param, inEngNo[%u] result[%d]", inEngNo, ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VI_PTZF_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_VI_PTZF_PARAM, ret);
}

uint32_t VeskVideoExecutViPortTrackingParam(uint32_t inEngNo)
{
    TRACE(kInfo, "Execut VI port tracking param start!");
    LOG(kInfo, "%s enter inEngNo=%u.", __func__, inEngNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM>({.uwSubMsgID = Low16(inEngNo)});
    if (ret == VESK_VIDEO_OK)
        TRACE(kInfo, "Execut VI port tracking param, inEngNo[%u] result[%d]", inEngNo, ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM, ret);
}

uint32_t VeskVideoGetViPortPtStatus(uint32_t inEngNo, uint8_t* status)
{
    TRACE(kInfo, "Start Get VI port pt status");
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_VI_PT_STATUS start %u #####\n", inEngNo);
    if (IS_NULL(status))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_VI_PT_STATUS>({.uwSubMsgID = Low16(inEngNo)}, status);
    if (ret == VESK_VIDEO_OK)
        TRACE(kInfo, "Get VI port pt status, inEngNo[%u] result[%d]", inEngNo, ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VI_PT_STATUS)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_VI_PT_STATUS, ret);
}

uint32_t VeskVideoGetViPortAFStatus(uint32_t inEngNo, uint8_t* status)
{
    TRACE(kInfo, "Start Get VI port af status");
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_VI_AF_STATUS start %u #####\n", inEngNo);
    if (IS_NULL(status))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_VI_AF_STATUS>({.uwSubMsgID = Low16(inEngNo)}, status);
    if (ret == VESK_VIDEO_OK)
        TRACE(kInfo, "Get VI port af status, inEngNo[%u] result[%d]", inEngNo, ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VI_AF_STATUS)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_VI_AF_STATUS, ret);
}

uint32_t VeskVideoViSetEptzMoveSpeed(uint32_t inEngNo, int32_t eptzMoveSpeed)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED));
    LOG(kInfo, "%s: inEngNo=%u eptzMoveSpeed=%d.", __func__, inEngNo, eptzMoveSpeed);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED>(
        {.ulParam1 = inEngNo, .ulParam2 = static_cast<uint32_t>(eptzMoveSpeed)});
    if (ret != VESK_VIDEO_OK)
        LOG(kError, "ViSetEptzMoveSpeed, inEngNo=%d result=%d", inEngNo, ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED) : FAILED(ret);
}
