// Decoder channels.
#include "vesk_video/decoder.h"
#include "transport/request.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kCodec;

uint32_t VeskVideoDecoderCreate(uint32_t* decStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_DEC_CREATE));
    LOG(kInfo, "%s enter.", __func__);
    if (IS_NULL(decStmNo))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_DEC_CREATE>({}, decStmNo);
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_DEC_CREATE msg[%d] no[%u]#####\n", ret, *decStmNo)
               : FAILED(ret);
}

uint32_t VeskVideoDecoderDelete(uint32_t decStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_DEC_DELETE));
    LOG(kInfo, "%s: decStmNo=%u.", __func__, decStmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_DEC_DELETE>({.ulParam1 = decStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_DEC_DELETE) : FAILED(ret);
}

uint32_t VeskVideoDecoderSetParam(uint32_t decStmNo, const VeskVideoDecParam* decParam)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_SET_DEC_PARAM #####\n");
    if (IS_NULL(decParam))
        return VESK_VIDEO_ERR_FAILURE;
    const VeskVideoDecParam& p = *decParam;
    LOG(kInfo, "%s stmNo=%u, payloadType=%u, w=%u, h=%u, strmTyp=%d, codecType=%d, secType=%d, transType=%d",
        __func__, decStmNo, p.payloadType, p.w, p.h, p.strmTyp, p.codecType, p.secType, p.transType);
    if (p.codecType == VESK_VIDEO_DEC_SVC_SW) {
        TRACE_AND_LOG(kError, "%s: Do not support VESK_VIDEO_DEC_SVC_SW type", __func__);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_DEC_PARAM>({.ulParam1 = decStmNo}, &p);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_DEC_PARAM) : FAILED(ret);
}

uint32_t VeskVideoDecoderSetParamEx(uint32_t decStmNo, const VeskVideoDecParamEx* decParamEx)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_DEC_PARAMEX));
    if (IS_NULL(decParamEx))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "%s: decStmNo=%u.", __func__, decStmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_DEC_PARAMEX>({.ulParam1 = decStmNo}, decParamEx);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_DEC_PARAMEX) : FAILED(ret);
}

uint32_t VeskVideoDecoderSetQueHandle(uint32_t decStmNo, uint32_t queId)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_DEC_QUE_HANDLE));
    LOG(kInfo, "%s: decStmNo=%u queId=%u.", __func__, decStmNo, queId);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_DEC_QUE_HANDLE>({.ulParam1 = decStmNo, .ulParam2 = queId});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_DEC_QUE_HANDLE) : FAILED(ret);
}

uint32_t VeskVideoDecoderGetParam(uint32_t decStmNo, VeskVideoDecParam* decParam)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_DEC_PARAM start %u #####\n", decStmNo);
    if (IS_NULL(decParam))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_DEC_PARAM>({.ulParam1 = decStmNo}, decParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_DEC_PARAM) : FAILED(ret);
}

uint32_t VeskVideoDecoderStart(uint32_t decStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_DEC_START));
    LOG(kInfo, "%s: decStmNo=%u.", __func__, decStmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_DEC_START>({.ulParam1 = decStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_DEC_START) : FAILED(ret);
}

uint32_t VeskVideoDecoderStop(uint32_t decStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_DEC_STOP));
    LOG(kInfo, "%s: decStmNo=%u.", __func__, decStmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_DEC_STOP>({.ulParam1 = decStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_DEC_STOP) : FAILED(ret);
}

uint32_t VeskVideoDecoderGetStatus(uint32_t decStmNo, VeskVideoDecStatus* status)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_DECODER_GET_STATUS start %u #####", decStmNo);
    if (IS_NULL(status))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret = Query<VESK_VIDEO_MSG_DECODER_GET_STATUS>({.ulParam1 = decStmNo}, status);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_DECODER_GET_STATUS) : FAILED(ret);
}

uint32_t VeskVideoDecoderGetStatusInfos(uint32_t num, VeskVideoDecStatusInfo* status, uint32_t len)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_DECODER_GET_ALL_STATUS start %u %u #####", num, len);
    if (IS_NULL(status))
        return VESK_VIDEO_ERR_ARGUMENT;
    if (uint64_t{num} * sizeof *status > len) {
        TRACE_AND_LOG(kError, "%s:decParam len error", __func__);
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = ExchangeArray<VESK_VIDEO_MSG_DECODER_GET_ALL_STATUS>({}, status, num);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_DECODER_GET_ALL_STATUS) : FAILED(ret);
}

uint32_t VeskVideoDecoderGetChrStatistics(uint32_t decStmNo, VeskVideoDecChrStatistics* statistics)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS start %u #####", decStmNo);
    if (IS_NULL(statistics))
        return VESK_VIDEO_ERR_ARGUMENT;
    const uint32_t ret = Query<VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS>({.ulParam1 = decStmNo}, statistics);
    return ret == VESK_VIDEO_OK ? DONE_UNENDED(VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS) : FAILED(ret);
}

uint32_t VeskVideoDecoderSetAntiJitter(uint32_t decStmNo, uint8_t enableState)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_DEC_MOVE_STATE));
    LOG(kInfo, "%s: decStmNo=%u enableState=%u.", __func__, decStmNo, enableState);
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_SET_DEC_MOVE_STATE>({.ulParam1 = decStmNo, .ulParam2 = enableState});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_DEC_MOVE_STATE) : FAILED(ret);
}
