// The receive task "VAPI": its registration, its thread, and the message library's own log lines.
#include "platform/os_msg.h"
#include "platform/secure_memory.h"
#include "transport/envelope.h"
#include "transport/log.h"
#include "vesk_video/receive.h"
#include "vesk_video/task.h"

using namespace vesk;

static constexpr auto& kLogModule = log_module::kCallback;

namespace {

constexpr uint32_t kTaskNumber = 1;
constexpr uint32_t kMessageLibraryLogLevel = 2;

/// Passes on a line of the message library, which numbers its levels in its own way.
void logprintf(uint32_t level, const char* logStr)
{
    constexpr uint32_t kMessageLibraryError = 3;
    if (IS_NULLPTR(logStr))
        return;
    if (level == kMessageLibraryError)
        LOG(kError, "msg log=%s", logStr);
    else
        TRACE(kInfo, "msg log=%s", logStr);
}

void* VeskVideoToNorthInterfaceHandler(void*)
{
    OsMsgSetLogLevel(kMessageLibraryLogLevel);
    OsMsgRegLogFunc(logprintf);
    TRACE(kInfo, "OsMsgTaskRoutine task[%d]", kTaskNumber);
    OsMsgTaskRoutineByName(kReceiveTaskName);
    return nullptr;
}

} // namespace

void CreateRecvMsgProcEntry(void)
{
    MsgTaskDesc desc{};
    desc.taskId = kTaskNumber;
    desc.msgProc = VeskProcDealToNorthInterfaceMsg;
    desc.entry = VeskVideoToNorthInterfaceHandler;
    if (memcpy_s(desc.taskName, sizeof desc.taskName, kReceiveTaskName, sizeof kReceiveTaskName) != 0) {
        TRACE(kInfo, "memcpy_s fail, taskName[%s]", kReceiveTaskName);
        return;
    }
    if (VeskVideoRegOneMsgTask(&desc) != VESK_VIDEO_OK)
        LOG(kError, "Reg One Msg Task Fail");
    else
        TRACE(kInfo, "VeskVideoRegOneMsgTask SUCCESS");
}
