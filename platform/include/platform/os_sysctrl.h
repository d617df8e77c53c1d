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
 * Sets the CPU affinity of a message thread. Any thread may call.
 *
 * @param threadId  Low 32 bits of the thread's pthread_t. If the thread does not run its task's loop yet, the
 *                  affinity is set when it enters the loop.
 * @param cpuSet    Set of CPUs of the standard size. An empty set leaves the affinity unchanged.
 * @param cpuCount  Number of CPUs that the set covers, starting at CPU 0.
 * @return 0 on success; -1 on failure, with the affinity unchanged.
 */
int32_t OsSetProcessAffinity(uint32_t threadId, const cpu_set_t* cpuSet, uint32_t cpuCount);

#ifdef __cplusplus
}
#endif

#endif
