// UVC streams.
#include "vesk_video/uvc.h"
#include "transport/request.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kUvc;

namespace {

/// The result of those requests that report every failure as 1.
uint32_t OrFailure(uint32_t ret)
{
    return ret == VESK_VIDEO_OK ? VESK_VIDEO_OK : VESK_VIDEO_ERR_FAILURE;
}

} // namespace

uint32_t VeskVideoUvcInit(void)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_INIT_UVC));
    const uint32_t ret = Post<VESK_VIDEO_MSG_INIT_UVC>();
    return OrFailure(ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_INIT_UVC) : SEND_FAILED(ret));
}

uint32_t VeskVideoUvcDeinit(void)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_DEINIT_UVC));
    const uint32_t ret = Post<VESK_VIDEO_MSG_DEINIT_UVC>();
    return OrFailure(ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_DEINIT_UVC) : SEND_FAILED(ret));
}

uint32_t VeskVideoUvcOpen(uint32_t* uvcStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_OPEN_UVC_PORT));
    if (IS_NULL(uvcStmNo))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_OPEN_UVC_PORT>({}, uvcStmNo);
    return OrFailure(ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_OPEN_UVC_PORT) : SEND_FAILED(ret));
}

uint32_t VeskVideoUvcSetStmParam(uint32_t uvcStmNo, const VeskVideoUvcParam* uvcParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_UVC_PARAM));
    if (IS_NULL(uvcParam))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_UVC_PARAM>({.ulParam1 = uvcStmNo}, uvcParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_UVC_PARAM) : SEND_FAILED(ret);
}

uint32_t VeskVideoUvcSetStmParamEx(uint32_t uvcStmNo, const VeskVideoUvcParamEx* uvcParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_UVC_PARAM_EX));
    if (IS_NULL(uvcParam))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_UVC_PARAM_EX>({.ulParam1 = uvcStmNo}, uvcParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_UVC_PARAM_EX) : SEND_FAILED(ret);
}

uint32_t VeskVideoUvcStartStream(uint32_t uvcStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_START_UVC_STREAM));
    const uint32_t ret = Send<VESK_VIDEO_MSG_START_UVC_STREAM>({.ulParam1 = uvcStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_START_UVC_STREAM) : SEND_FAILED(ret);
}

uint32_t VeskVideoUvcStopStream(uint32_t uvcStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_STOP_UVC_STREAM));
    const uint32_t ret = Send<VESK_VIDEO_MSG_STOP_UVC_STREAM>({.ulParam1 = uvcStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_STOP_UVC_STREAM) : SEND_FAILED(ret);
}

uint32_t VeskVideoUvcClose(uint32_t uvcStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_CLOSE_UVC_PORT));
    const uint32_t ret = Send<VESK_VIDEO_MSG_CLOSE_UVC_PORT>({.ulParam1 = uvcStmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_CLOSE_UVC_PORT) : SEND_FAILED(ret);
}

uint32_t VeskVideoUvcForceKeyFrame(uint32_t uvcStmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_UVC_REQ_I_FRAME));
    if (uvcStmNo > VESK_VIDEO_UVC_STM_MAX) {
        LOG(kError, "uvcStmNo[%u] is invaild\n", uvcStmNo);
        return VESK_VIDEO_ERR_UVC_STREAM;
    }
    const uint32_t ret = Send<VESK_VIDEO_MSG_UVC_REQ_I_FRAME>({.ulParam1 = uvcStmNo});
    return OrFailure(ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_UVC_REQ_I_FRAME) : SEND_FAILED(ret));
}
