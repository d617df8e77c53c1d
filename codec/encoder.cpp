// Encoder channels.
#include "vesk_video/encoder.h"
#include "transport/request.h"

#include <atomic>

using namespace vesk;

static constexpr auto& kLogModule = log_module::kCodec;

namespace {

/// Counts calls of VeskVideoEncoderSetFecParam, which logs one in a thousand to the module log.
std::atomic<uint32_t> g_fecLogCounter = 0;

} // namespace

uint32_t VeskVideoEncoderCreate(uint32_t* encStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_ENC_CREATE));
    if (IS_NULL(encStmNo))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "%s enter.", __func__);
    const uint32_t ret = Query<VESK_VIDEO_MSG_ENC_CREATE>({}, encStmNo);
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_ENC_CREATE msg[%d] %u #####\n", ret, *encStmNo)
               : FAILED(ret);
}

uint32_t VeskVideoEncoderDelete(uint32_t encStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_ENC_DELETE));
    LOG(kInfo, "%s: encStmNo=%u.", __func__, encStmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_ENC_DELETE>({.ulParam1 = encStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_ENC_DELETE) : FAILED(ret);
}

uint32_t VeskVideoEncoderSetParam(uint32_t encStmNo, const VeskVideoEncParam* encParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_ENC_PARAM));
    if (IS_NULL(encParam))
        return VESK_VIDEO_ERR_ARGUMENT;
    const VeskVideoEncParam& p = *encParam;
    LOG(kInfo,
        "%s:encStmNo=%u, codcType=%d, pt=%u, w=%u, h=%u, fr=%u, br=%u, stmType=%d, secType=%d, effect=%d, "
        "paramLen=%zu, isDtFmtCfg=%u, dtFmtCap=%#X",
        __func__, encStmNo, p.codcType, p.pt, p.w, p.h, p.fr, p.br, p.stmType, p.secType, p.effect, sizeof p,
        p.isDtFmtCfg, static_cast<uint32_t>(p.dtFmtCap));
    if (p.codcType == VESK_VIDEO_ENC_SVC_SW) {
        LOG(kError, "Do not support VESK_VIDEO_ENC_SVC_SW type");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_ENC_PARAM>({.ulParam1 = encStmNo}, &p);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_ENC_PARAM) : FAILED(ret);
}

uint32_t VeskVideoEncoderSetQueHandle(uint32_t encStmNo, uint32_t queId)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_ENC_QUE_HANDLE));
    LOG(kInfo, "%s:encStmNo=%u, queId=%u.", __func__, encStmNo, queId);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_ENC_QUE_HANDLE>({.ulParam1 = encStmNo, .ulParam2 = queId});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_ENC_QUE_HANDLE) : FAILED(ret);
}

uint32_t VeskVideoEncoderGetParam(uint32_t encStmNo, VeskVideoEncParam* encParam)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_ENC_PARAM start %u #####\n", encStmNo);
    if (IS_NULL(encParam))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_ENC_PARAM>({.ulParam1 = encStmNo}, encParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_ENC_PARAM) : FAILED(ret);
}

uint32_t VeskVideoEncoderStart(uint32_t encStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_ENC_START));
    LOG(kInfo, "%s: encStmNo=%u.", __func__, encStmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_ENC_START>({.ulParam1 = encStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_ENC_START) : FAILED(ret);
}

uint32_t VeskVideoEncoderStop(uint32_t encStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_ENC_STOP));
    LOG(kInfo, "%s: encStmNo=%u.", __func__, encStmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_ENC_STOP>({.ulParam1 = encStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_ENC_STOP) : FAILED(ret);
}

uint32_t VeskVideoEncoderSetFecParam(uint32_t encStmNo, const VeskVideoEncFecParam* fecParam)
{
    constexpr uint32_t kSpacing = 1000;
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_ENC_FEC_PARAM));
    if (IS_NULL(fecParam))
        return VESK_VIDEO_ERR_ARGUMENT;
    const auto lossRate = static_cast<double>(fecParam->lossRate);
    TRACE(kInfo, "%s encStmNo=%u lossRate=%f constLostNum=%u.", __func__, encStmNo, lossRate,
          fecParam->constLostNum);
    const uint32_t calls = g_fecLogCounter.load(std::memory_order_relaxed);
    if (calls == 0)
        LOG(kInfo, "VeskVideoEncoderSetFecParam Begin, encStmNo[%u], lossRate[%f], constLostNum[%u]",
            encStmNo, lossRate, fecParam->constLostNum);
    g_fecLogCounter.store((calls + 1) % kSpacing, std::memory_order_relaxed);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_ENC_FEC_PARAM>({.ulParam1 = encStmNo}, fecParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_ENC_FEC_PARAM) : FAILED(ret);
}

uint32_t VeskVideoEncoderGetStatus(uint32_t encStmNo, VeskVideoEncStatus* status)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_ENCODER_GET_STATUS start %u #####\n", encStmNo);
    if (IS_NULL(status))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret = Query<VESK_VIDEO_MSG_ENCODER_GET_STATUS>({.ulParam1 = encStmNo}, status);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_ENCODER_GET_STATUS) : FAILED(ret);
}

uint32_t VeskVideoEncoderGetStatusInfos(uint32_t num, VeskVideoEncStatusInfo* status, uint32_t len)
{
    TRACE(kInfo, START_UNENDED(VESK_VIDEO_MSG_ENCODER_GET_ALL_STATUS));
    if (IS_NULL(status))
        return VESK_VIDEO_ERR_ARGUMENT;
    if (uint64_t{num} * sizeof *status > len) {
        TRACE_AND_LOG(kError, "decParam len error");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = ExchangeArray<VESK_VIDEO_MSG_ENCODER_GET_ALL_STATUS>({}, status, num);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_ENCODER_GET_ALL_STATUS) : FAILED(ret);
}

uint32_t VeskVideoEncoderGetChrStatistics(uint32_t encStmNo, VeskVideoEncChrStatistics* statistics)
{
    LOG(kInfo, "Get encoder chrstatistics start!");
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS start %u #####\n", encStmNo);
    if (IS_NULL(statistics))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret = Query<VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS>({.ulParam1 = encStmNo}, statistics);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS) : FAILED(ret);
}

uint32_t VeskVideoEncoderForceKeyFrame(uint32_t encStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_ENC_FORCE_KEYFRAME));
    LOG(kInfo, "%s:encStmNo=%u.", __func__, encStmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_ENC_FORCE_KEYFRAME>({.ulParam1 = encStmNo});
    // This end line names the function, not the message, on the device.
    return ret == VESK_VIDEO_OK ? DONE(VeskVideoEncoderForceKeyFrame) : FAILED(ret);
}

uint32_t VeskVideoEncoderModifyFrameRate(uint32_t encStmNo, uint32_t frameRate)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_ENC_MODIFY_FRAME_RATE));
    LOG(kInfo, "%s: encStmNo=%u frameRate=%u.", __func__, encStmNo, frameRate);
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_ENC_MODIFY_FRAME_RATE>({.uwSubMsgID = Low16(encStmNo), .ulParam1 = frameRate});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_ENC_MODIFY_FRAME_RATE) : FAILED(ret);
}

uint32_t VeskVideoEncoderSetParamEx(uint32_t encStmNo, const VeskVideoEncParamEx* encParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_ENC_PARAM_EX));
    if (IS_NULL(encParam))
        return VESK_VIDEO_ERR_ARGUMENT;
    const VeskVideoEncParamEx& p = *encParam;
    LOG(kInfo, "%s:encStmNo=%u, %u, %d, %d, %u, %u, %u", __func__, encStmNo, p.exParam0, p.exParam1,
        p.exParam2, p.exParam3, p.exParam4, p.exParam5);
    if (p.exParam0 < 64 || p.exParam0 > 50000 || p.exParam1 > 2 || p.exParam2 > 4 || p.exParam6 > 4) {
        LOG(kError, "error encparamex param\n");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_ENC_PARAM_EX>({.ulParam1 = encStmNo}, &p);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_ENC_PARAM_EX) : FAILED(ret);
}

uint32_t VeskVideoEncoderGetParamEx(uint32_t encStmNo, VeskVideoEncParamEx* encParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_ENC_PARAM_EX));
    if (IS_NULL(encParam))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_ENC_PARAM_EX>({.ulParam1 = encStmNo}, encParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_ENC_PARAM_EX) : FAILED(ret);
}
