/**
 * @file
 * The platform's system control.
 */
#ifndef PLATFORM_OS_SYSCTRL_H
#define PLATFORM_OS_SYSCTRL_H

#ifndef _GNU_SOURCE
#define _GNU_SOURCE 1
#endif
#include <sched.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Binds a message thread to CPUs. Any thread may call.
 *
 * @param threadId  Low 32 bits of the thread's pthread_t; a thread that does not yet run its task's
 *                  loop is bound when it enters it.
 * @param cpuSet    The CPUs, a set of the system's standard size; an empty one asks for no CPU in
 *                  particular and leaves the binding alone.
 * @param cpuCount  CPU numbers that were considered, from 0.
 * @return 0; -1: failed, the thread keeps its binding.
 */
int32_t OsSetProcessAffinity(uint32_t threadId, const cpu_set_t* cpuSet, uint32_t cpuCount);

#ifdef __cplusplus
}
#endif

#endif
