// Input ports and the engines that read them.
#include "vesk_video/input.h"
#include "transport/request.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>

using namespace vesk;

static constexpr auto& kLogModule = log_module::kInterface;

/// Refusals of the device's service after which VeskVideoViGetQueHandle does not ask again.
static constexpr uint32_t kFinalRefusals[] = {2, 3, 7};

/// A signal does not cut it short.
static void Pause(std::chrono::microseconds left)
{
    const auto end = std::chrono::steady_clock::now() + left;
    while (left.count() > 0 && usleep(static_cast<useconds_t>(left.count())) != 0)
        left = std::chrono::ceil<std::chrono::microseconds>(end - std::chrono::steady_clock::now());
}

uint32_t VeskVideoGetViCount(uint32_t* count)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_VI_COUNT));
    if (IS_NULL(count))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_VI_COUNT>({}, count);
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_GET_VI_COUNT msg[%d] %u #####\n", ret, *count)
               : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_VI_COUNT, ret);
}

uint32_t VeskVideoGetViPort(VeskVideoViPortInfo* viPortInfo, uint32_t count)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_VI_PORT));
    if (viPortInfo == nullptr || count == 0) {
        LOG(kError, "param error, viPortInfo is null or count is 0");
        return VESK_VIDEO_ERR_ARGUMENT;
    }
    const uint32_t ret = QueryArray<VESK_VIDEO_MSG_GET_VI_PORT>({}, viPortInfo, count);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VI_PORT)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_GET_VI_PORT, ret);
}

uint32_t VeskVideoViOpen(uint32_t viPort, uint32_t* inEngNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_OPEN_VI_PORT));
    LOG(kInfo, "%s: viPort=%u.", __func__, viPort);
    if (IS_NULL(inEngNo))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_OPEN_VI_PORT>({.ulParam1 = viPort}, inEngNo);
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_OPEN_VI_PORT msg[%d] %u #####\n", ret, *inEngNo)
               : FAILED(ret);
}

uint32_t VeskVideoViGetParam(uint32_t inEngNo, VeskVideoViPortParam* viPortParam)
{
    TRACE(kInfo, "#####send VESK_VIDEO_MSG_GET_VI_PARAM start %u #####\n", inEngNo);
    if (IS_NULL(viPortParam))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_GET_VI_PARAM>({.ulParam1 = inEngNo}, viPortParam);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VI_PARAM) : FAILED(ret);
}

uint32_t VeskVideoViSetParam(uint32_t inEngNo, const VeskVideoViPortParam* viPortParam)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_VI_PARAM));
    if (IS_NULL(viPortParam))
        return VESK_VIDEO_ERR_FAILURE;
    const VeskVideoViPortParam& p = *viPortParam;
    LOG(kInfo, "%s: %u %u %u %u %d %d %d %d %d %d.", __func__, p.param0, p.param1, p.param2, p.param3,
        p.param4, p.param5, p.param6, p.param7, p.param8, p.param9);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_VI_PARAM>({.ulParam1 = inEngNo}, &p);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VI_PARAM) : FAILED(ret);
}

uint32_t VeskVideoViConnect(uint32_t inEngNo, uint32_t stmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_VI_CONNECT));
    LOG(kInfo, "%s: inEngNo=%u stmNo=%u.", __func__, inEngNo, stmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_VI_CONNECT>({.ulParam1 = inEngNo, .ulParam2 = stmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VI_CONNECT) : FAILED(ret);
}

uint32_t VeskVideoViDisconnect(uint32_t inEngNo, uint32_t stmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_VI_DISCONNECT));
    LOG(kInfo, "%s: inEngNo=%u stmNo=%u.", __func__, inEngNo, stmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_VI_DISCONNECT>({.ulParam1 = inEngNo, .ulParam2 = stmNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_VI_DISCONNECT) : FAILED(ret);
}

uint32_t VeskVideoViModifyInput(uint32_t inEngNo, uint32_t stmNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VI_MODIFY_INPUT));
    LOG(kInfo, "%s: inEngNo=%u stmNo=%u.", __func__, inEngNo, stmNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VI_MODIFY_INPUT>({.ulParam1 = inEngNo, .ulParam2 = stmNo});
    if (ret != VESK_VIDEO_OK)
        LOG(kError, "Modify input, inEngNo[%d] stmNo[%d] result[%d]", inEngNo, stmNo, ret);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VI_MODIFY_INPUT) : FAILED(ret);
}

uint32_t VeskVideoViGetQueHandle(uint32_t inEngNo, uint32_t* queHandle)
{
    constexpr int kAttempts = 20;
    constexpr std::chrono::milliseconds kPause(100);
    TRACE(kInfo, START(VESK_VIDEO_MSG_GET_VI_QUE_HANDLE));
    LOG(kInfo, "%s: inEngNo=%u.", __func__, inEngNo);
    if (IS_NULL(queHandle))
        return VESK_VIDEO_ERR_FAILURE;
    LOG(kInfo, "queId=%d", *queHandle);
    uint32_t ret = VESK_VIDEO_OK;
    const auto isFinal = [&ret] {
        return ret == VESK_VIDEO_OK || std::ranges::find(kFinalRefusals, ret) != std::end(kFinalRefusals);
    };
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        ret = Query<VESK_VIDEO_MSG_GET_VI_QUE_HANDLE>({.ulParam1 = inEngNo}, queHandle);
        if (isFinal())
            break;
        Pause(kPause);
    }
    if (!isFinal())
        TRACE(kError, "get queHandle is fail timeout, inEngNo[%d]", inEngNo);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_GET_VI_QUE_HANDLE) : FAILED(ret);
}

uint32_t VeskVideoViFreeze(uint32_t inEngNo, uint8_t flag, const void* data, uint32_t length)
{
    LOG(kInfo, "VeskVideoViFreeze inEngNo=%d flag=%u length=%u", inEngNo, flag, length);
    TRACE(kInfo, START(VESK_VIDEO_MSG_ENCODER_FREEZE));
    const uint32_t ret =
        SendBytes<VESK_VIDEO_MSG_ENCODER_FREEZE>({.ulParam1 = inEngNo, .ulParam2 = flag}, data, length);
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_ENCODER_FREEZE) : FAILED(ret);
}

uint32_t VeskVideoViClose(uint32_t inEngNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_CLOSE_VI_PORT));
    LOG(kInfo, "%s: inEngNo=%u.", __func__, inEngNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_CLOSE_VI_PORT>({.ulParam1 = inEngNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_CLOSE_VI_PORT) : FAILED(ret);
}

uint32_t VeskVideoViStart(uint32_t inEngNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VI_START));
    LOG(kInfo, "%s: inEngNo=%u.", __func__, inEngNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VI_START>({.ulParam1 = inEngNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VI_START) : FAILED(ret);
}

uint32_t VeskVideoViStop(uint32_t inEngNo)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VI_STOP));
    LOG(kInfo, "%s: inEngNo=%u.", __func__, inEngNo);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VI_STOP>({.ulParam1 = inEngNo});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VI_STOP) : FAILED(ret);
}

uint32_t VeskVideoViEnable(uint32_t viPort)
{
    LOG(kInfo, "vi enable, viPort=%u", viPort); // the port is logged twice on the device
    TRACE(kInfo, START(VESK_VIDEO_MSG_VI_ENABLE));
    LOG(kInfo, "%s: viPort=%u.", __func__, viPort);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VI_ENABLE>({.ulParam1 = viPort});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VI_ENABLE) : FAILED(ret);
}

uint32_t VeskVideoViDisable(uint32_t viPort)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_VI_DISABLE));
    LOG(kInfo, "%s: viPort=%u.", __func__, viPort);
    const uint32_t ret = Send<VESK_VIDEO_MSG_VI_DISABLE>({.ulParam1 = viPort});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VI_DISABLE) : FAILED_FOR(ret, viPort);
}

uint32_t VeskVideoSetViFaceQueHandle(uint32_t inEngNo, uint32_t queId)
{
    TRACE(kInfo, START(VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID));
    LOG(kInfo, "%s enter inEngNo=%u queId=%u.", __func__, inEngNo, queId);
    const uint32_t ret =
        Post<VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID>({.uwSubMsgID = Low16(inEngNo), .ulParam1 = queId});
    return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID)
                                : MESSAGE_FAILED(VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID, ret);
}

uint32_t VeskVideoReplaceInput(...)
{
    return VESK_VIDEO_OK;
}
