/**
 * @file
 * @copybrief tasks
 *
 * @copydetails tasks
 *
 * @defgroup tasks Tasks
 * Message tasks (a named receiver with a handler and a thread), and lookup of process and task names.
 * @{
 */
#ifndef VESK_VIDEO_TASK_H
#define VESK_VIDEO_TASK_H

#include "vesk_video/message.h"

VESK_VIDEO_BEGIN

/** Description of a message task. */
typedef struct MsgTaskDesc {
    uint32_t taskId;                           /**< Task number; ignored by VeskVideoRegOneMsgTask. */
    char taskName[VESK_VIDEO_NAME_SIZE];       /**< NUL-terminated task name. */
    uint32_t (*msgProc)(OsMsgEnvelope* inMsg); /**< Handler, called with each message. */
    uint32_t reserved;                         /**< Ignored. */
    uint32_t cpuMask;                          /**< CPU affinity, bits 0 to 5; 0x3f leaves it unchanged. */
    uint32_t priority;                         /**< 0: SCHED_OTHER; otherwise the SCHED_FIFO priority. */
    uint32_t stackSize;                        /**< Stack size in bytes; 0 for the system default. */
    void* (*entry)(void* desc);                /**< Thread function; null starts no thread. */
} MsgTaskDesc;

/**
 * Registers a message task with the platform and starts its detached thread. Any thread may call.
 *
 * The task exists until the process ends. The thread function receives the address @p desc as its argument,
 * but the caller keeps the description and the library reads it only during the call.
 *
 * @param desc  Description of the task.
 * @retval VESK_VIDEO_OK           The task was registered. Failure to set the affinity or to detach the
 *         thread is only logged.
 * @retval VESK_VIDEO_ERR_FAILURE  @p desc is null, a thread attribute is invalid, the platform refused the
 *         task, or the thread could not be started.
 */
VESK_VIDEO_API uint32_t VeskVideoRegOneMsgTask(MsgTaskDesc* desc);

/**
 * Sets the CPU affinity of a message thread. Any thread may call.
 *
 * @param threadId  Low 32 bits of the thread's pthread_t.
 * @param cpuMask   One bit per CPU, bits 0 to 5; other bits are ignored. 0x3f leaves the affinity
 *                  unchanged.
 * @retval VESK_VIDEO_OK           The affinity was set or left unchanged.
 * @retval VESK_VIDEO_ERR_FAILURE  The platform refused.
 */
VESK_VIDEO_API uint32_t SysCtrlTaskSetSchedMask(uint32_t threadId, uint32_t cpuMask);

/**
 * Looks up the name of a process: 0 is "VIDEO", 1 is "VIDEO_API". Any thread may call.
 *
 * @param nameBuf     Receives the name, zero-padded to @p nameBufLen. A name that fills the buffer exactly
 *                    has no terminating NUL.
 * @param procId      Process number.
 * @param nameBufLen  Size of @p nameBuf in bytes.
 * @retval VESK_VIDEO_OK           The name was copied.
 * @retval VESK_VIDEO_ERR_FAILURE  @p nameBuf is null or too small, or the number is unknown.
 */
VESK_VIDEO_API uint32_t VeskVideoSearchProcName(char* nameBuf, uint32_t procId, uint32_t nameBufLen);

/**
 * Looks up the name of a task: 1 is "VAPI". Any thread may call.
 *
 * @param nameBuf     Receives the name, zero-padded to @p nameBufLen. A name that fills the buffer exactly
 *                    has no terminating NUL.
 * @param taskId      Task number.
 * @param nameBufLen  Size of @p nameBuf in bytes.
 * @retval VESK_VIDEO_OK           The name was copied.
 * @retval VESK_VIDEO_ERR_FAILURE  @p nameBuf is null or too small, or the number is unknown.
 */
VESK_VIDEO_API uint32_t VeskVideoSearchTaskName(char* nameBuf, uint32_t taskId, uint32_t nameBufLen);

VESK_VIDEO_END

/** @} */

#endif
