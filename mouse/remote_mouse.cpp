// Remote mouse streams.
#include "transport/request.h"
#include "vesk_video/mouse.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kMouse;

uint32_t VeskVideoRemoteMouseOpen(uint8_t openParam, uint32_t* mouseStmNo)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_OPEN_MOUSE_PORT start");
    if (IS_NULL(mouseStmNo))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_OPEN_MOUSE_PORT>({.ulParam1 = openParam}, mouseStmNo);
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_OPEN_MOUSE_PORT msg[%d], mouseStmNo[%d] #####\n", ret,
                           *mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoRemoteMouseSetQueHandle(uint32_t mouseStmNo, uint32_t queId)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE start");
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE>({.uwSubMsgID = Low16(mouseStmNo), .ulParam1 = queId});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE msg[%d], mouseStmNo[%d] #####\n",
                           ret, mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoRemoteMouseConnect(uint32_t mouseStmNo, uint32_t decStmNo)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_MOUSE_CONNECT start");
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_MOUSE_CONNECT>({.uwSubMsgID = Low16(mouseStmNo), .ulParam1 = decStmNo});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH(
                     "#####send VESK_VIDEO_MSG_MOUSE_CONNECT msg[%d], mouseStmNo[%d], decStmNo[%d] #####\n",
                     ret, mouseStmNo, decStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoRemoteMouseStart(uint32_t mouseStmNo)
{
    const uint32_t ret = Send<VESK_VIDEO_MSG_MOUSE_START>({.uwSubMsgID = Low16(mouseStmNo)});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_MOUSE_START msg[%d], mouseStmNo[%d] #####\n", ret,
                           mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoRemoteMouseStop(uint32_t mouseStmNo)
{
    TRACE_AND_LOG(kInfo, START_UNENDED(VESK_VIDEO_MSG_MOUSE_STOP));
    const uint32_t ret = Send<VESK_VIDEO_MSG_MOUSE_STOP>({.uwSubMsgID = Low16(mouseStmNo)});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_MOUSE_STOP msg[%d], mouseStmNo[%d] #####\n", ret,
                           mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoRemoteMouseClose(uint32_t mouseStmNo)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_CLOSE_MOUSE_PORT start");
    const uint32_t ret = Send<VESK_VIDEO_MSG_CLOSE_MOUSE_PORT>({.uwSubMsgID = Low16(mouseStmNo)});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("send VESK_VIDEO_MSG_CLOSE_MOUSE_PORT msg[%d], mouseStmNo[%d] \n", ret, mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoRemoteMouseSetBackgroundArea(uint32_t mouseStmNo, const VeskVideoMouseArea* area)
{
    LOG(kInfo, START(VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA));
    if (IS_NULL(area))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA>({.ulParam1 = mouseStmNo}, area);
    if (ret != VESK_VIDEO_OK)
        SEND_FAILED(ret);
    else
        LOG(kInfo, "#####send VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA msg ret[%d]#####\n", ret);
    return ret;
}

uint32_t VeskVideoRemoteMouseSetIndependent(...)
{
    return VESK_VIDEO_OK;
}

uint32_t VeskVideoRemoteMouseAttach(...)
{
    return VESK_VIDEO_OK;
}

uint32_t VeskVideoRemoteMouseForwardEnable(...)
{
    return VESK_VIDEO_OK;
}
