// Local mouse streams.
#include "transport/request.h"
#include "vesk_video/mouse.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kMouse;

uint32_t VeskVideoLocalMouseOpen(uint32_t* localMouseStmNo)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE start");
    if (IS_NULL(localMouseStmNo))
        return VESK_VIDEO_ERR_FAILURE;
    const uint32_t ret = Query<VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE>({}, localMouseStmNo);
    return ret == VESK_VIDEO_OK ? DONE_WITH("send VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE msg[%d], mouseStmNo[%d] \n",
                                            ret, *localMouseStmNo)
                                : SEND_FAILED(ret);
}

uint32_t VeskVideoLocalMouseStart(uint32_t mouseStmNo)
{
    TRACE_AND_LOG(kInfo, START_UNENDED(VESK_VIDEO_MSG_START_LOCAL_MOUSE));
    const uint32_t ret = Send<VESK_VIDEO_MSG_START_LOCAL_MOUSE>({.uwSubMsgID = Low16(mouseStmNo)});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_START_LOCAL_MOUSE msg[%d], mouseStmNo[%d] #####\n", ret,
                           mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoLocalMouseStop(uint32_t mouseStmNo)
{
    TRACE_AND_LOG(kInfo, START_UNENDED(VESK_VIDEO_MSG_STOP_LOCAL_MOUSE));
    const uint32_t ret = Send<VESK_VIDEO_MSG_STOP_LOCAL_MOUSE>({.uwSubMsgID = Low16(mouseStmNo)});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_STOP_LOCAL_MOUSE msg[%d], mouseStmNo[%d] #####\n", ret,
                           mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoLocalMouseSetIndependent(uint32_t mouseStmNo, uint8_t independent)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT start");
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT>({.ulParam1 = mouseStmNo, .ulParam2 = independent});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT msg[%d], mouseStmNo[%u]\n", ret,
                           mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoLocalMouseSetParam(uint32_t mouseStmNo, const VeskVideoLocalMouseParam* param)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM start");
    const uint32_t ret = Send<VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM>({.ulParam1 = mouseStmNo}, param);
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM msg[%d], mouseStmNo[%u]\n", ret,
                           mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoLocalMouseAttach(uint32_t mouseStmNo, uint32_t attachId)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE start");
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE>({.ulParam1 = mouseStmNo, .ulParam2 = attachId});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("send VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE msg[%d], mouseStmNo[%d] \n", ret,
                           mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoLocalMouseShowEnable(uint32_t mouseStmNo, uint8_t enable)
{
    LOG(kInfo, "Set local mouse show enable start!");
    TRACE(kInfo, "send VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE start\n");
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE>({.ulParam1 = mouseStmNo, .ulParam2 = enable});
    if (ret != VESK_VIDEO_OK)
        LOG(kError, "Set local mouse show enable, result[%d]!", ret);
    return ret == VESK_VIDEO_OK ? DONE_WITH("send VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE msg[%d]\n", ret)
                                : SEND_FAILED(ret);
}

// Its lines name the remote stream's message; tools read them so.
uint32_t VeskVideoLocalMouseSetQueHandle(uint32_t mouseStmNo, uint32_t queId)
{
    TRACE_AND_LOG(kInfo, START_UNENDED(VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE));
    const uint32_t ret =
        Send<VESK_VIDEO_MSG_SET_LOCAL_MOUSE_QUE_HANDLE>({.uwSubMsgID = Low16(mouseStmNo), .ulParam1 = queId});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("#####send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE msg[%d], mouseStmNo[%d] #####\n",
                           ret, mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoLocalMouseClose(uint32_t mouseStmNo)
{
    TRACE_AND_LOG(kInfo, "send VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE start");
    const uint32_t ret = Send<VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE>({.uwSubMsgID = Low16(mouseStmNo)});
    return ret == VESK_VIDEO_OK
               ? DONE_WITH("send VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE msg[%d], mouseStmNo[%d] \n", ret,
                           mouseStmNo)
               : SEND_FAILED(ret);
}

uint32_t VeskVideoLocalMouseSetShowArea(...)
{
    return VESK_VIDEO_OK;
}
