// Registers a message task with the platform and starts its thread.
#include "vesk_video/task.h"
#include "platform/os_msg.h"
#include "platform/os_sysctrl.h"
#include "transport/log.h"

#include <pthread.h>

namespace {

constexpr uint32_t kQueueDepth = 1024;
constexpr uint32_t kCpuCount = 6;
constexpr uint32_t kAllCpus = (1U << kCpuCount) - 1;

/// Sets policy and priority in @p attr, which it destroys on failure. Returns 0 or 1.
uint32_t VeskVideoSetThreadSchedparam(pthread_attr_t* attr, uint32_t priority)
{
    if (pthread_attr_setschedpolicy(attr, priority != 0 ? SCHED_FIFO : SCHED_OTHER) != 0) {
        pthread_attr_destroy(attr);
        TRACE(kError, "set schedpolicy fail");
        return VESK_VIDEO_ERR_FAILURE;
    }
    sched_param param{};
    param.sched_priority = static_cast<int>(priority);
    if (pthread_attr_setschedparam(attr, &param) != 0) {
        TRACE(kError, "set schedparam");
        pthread_attr_destroy(attr);
        return VESK_VIDEO_ERR_FAILURE;
    }
    return VESK_VIDEO_OK;
}

} // namespace

uint32_t VeskVideoRegOneMsgTask(MsgTaskDesc* desc)
{
    TRACE(kInfo, "going reg one task");
    if (desc == nullptr) {
        TRACE(kError, "task is null");
        return VESK_VIDEO_ERR_FAILURE;
    }
    pthread_attr_t attr;
    if (pthread_attr_init(&attr) != 0) {
        TRACE(kError, "attr init fail");
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (desc->stackSize != 0 && pthread_attr_setstacksize(&attr, desc->stackSize) != 0) {
        TRACE(kError, "set stack size fail");
        pthread_attr_destroy(&attr);
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (VeskVideoSetThreadSchedparam(&attr, desc->priority) != VESK_VIDEO_OK) {
        TRACE(kError, "VeskVideoSetThreadSchedparam fail");
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (OsMsgRegTask(desc->taskName, kQueueDepth, desc->msgProc) != 0) {
        TRACE(kError, "reg msg fail");
        pthread_attr_destroy(&attr);
        return VESK_VIDEO_ERR_FAILURE;
    }
    pthread_t thread{};
    if (desc->entry != nullptr && pthread_create(&thread, &attr, desc->entry, desc) != 0) {
        TRACE(kError, "create new task fail");
        pthread_attr_destroy(&attr);
        return VESK_VIDEO_ERR_FAILURE;
    }
    if (SysCtrlTaskSetSchedMask(static_cast<uint32_t>(thread), desc->cpuMask) != VESK_VIDEO_OK)
        TRACE(kError, "it is not set mask ok");
    if (desc->entry != nullptr && pthread_detach(thread) != 0)
        TRACE(kError, "detach not OK\n");
    if (pthread_attr_destroy(&attr) != 0)
        TRACE(kError, "destroy attr fail");
    return VESK_VIDEO_OK;
}

uint32_t SysCtrlTaskSetSchedMask(uint32_t threadId, uint32_t cpuMask)
{
    if (cpuMask == kAllCpus)
        return VESK_VIDEO_OK;
    cpu_set_t cpus;
    CPU_ZERO(&cpus);
    for (uint32_t cpu = 0; cpu < kCpuCount; ++cpu) {
        if ((cpuMask & (1U << cpu)) != 0)
            CPU_SET(cpu, &cpus);
    }
    return OsSetProcessAffinity(threadId, &cpus, kCpuCount) == -1 ? VESK_VIDEO_ERR_FAILURE : VESK_VIDEO_OK;
}
