/**
 * @file
 * Message tasks: a named receiver, its handler and its thread; and the names of the known tasks.
 */
#ifndef VESK_VIDEO_TASK_H
#define VESK_VIDEO_TASK_H

#include "vesk_video/message.h"

VESK_VIDEO_BEGIN

/** What VeskVideoRegOneMsgTask is told of a task. */
typedef struct MsgTaskDesc {
    uint32_t taskId;                           /**< Task number; not read by registration. */
    char taskName[VESK_VIDEO_NAME_SIZE];       /**< NUL-terminated task name. */
    uint32_t (*msgProc)(OsMsgEnvelope* inMsg); /**< Called with each message of the task. */
    uint32_t reserved;                         /**< Not read by registration. */
    uint32_t cpuMask;                          /**< Bits 0 to 5: CPUs; 0x3f leaves the affinity alone. */
    uint32_t priority;                         /**< 0: time-sharing; else FIFO real-time priority. */
    uint32_t stackSize;                        /**< Bytes; 0 keeps the system's default. */
    void* (*entry)(void* desc);                /**< Thread body; null: no thread is started. */
} MsgTaskDesc;

/**
 * Registers a message task with the platform and starts its detached thread.
 *
 * The task lives as long as the process. The thread gets the address @p desc as its argument, but
 * the description is the caller's: it is read only during the call.
 *
 * @param desc  Description of the task.
 * @return 0; 1 when @p desc is null, an attribute was refused, the platform refused the task, or
 *         the thread could not be started. A failed affinity or detach is logged only.
 */
VESK_VIDEO_API uint32_t VeskVideoRegOneMsgTask(MsgTaskDesc* desc);

/**
 * Binds a message thread to CPUs.
 *
 * @param threadId  Low 32 bits of the thread's pthread_t.
 * @param cpuMask   One bit a CPU, bits 0 to 5; other bits are ignored. 0x3f changes nothing.
 * @return 0; 1 when the platform refused.
 */
VESK_VIDEO_API uint32_t SysCtrlTaskSetSchedMask(uint32_t threadId, uint32_t cpuMask);

/**
 * Looks up a process name: 0 is "VIDEO", 1 is "VIDEO_API".
 *
 * @param nameBuf     Takes the name, zero-padded to @p nameBufLen; a name of exactly that length has
 *                    no terminating NUL.
 * @param procId      Process number.
 * @param nameBufLen  Bytes at @p nameBuf.
 * @return 0; 1 when @p nameBuf is null, the number unknown, or the buffer too short.
 */
VESK_VIDEO_API uint32_t VeskVideoSearchProcName(char* nameBuf, uint32_t procId, uint32_t nameBufLen);

/**
 * Looks up a task name: 1 is "VAPI". Arguments and results are those of VeskVideoSearchProcName.
 *
 * @param nameBuf     Takes the name.
 * @param taskId      Task number.
 * @param nameBufLen  Bytes at @p nameBuf.
 * @return 0; 1 when @p nameBuf is null, the number unknown, or the buffer too short.
 */
VESK_VIDEO_API uint32_t VeskVideoSearchTaskName(char* nameBuf, uint32_t taskId, uint32_t nameBufLen);

VESK_VIDEO_END

#endif
