/**
 * @file
 * The platform's message library: named tasks that exchange messages across processes.
 */
#ifndef PLATFORM_OS_MSG_H
#define PLATFORM_OS_MSG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Message types, as in OsMsgEnvelope::type. */
typedef enum OsMsgType {
    OS_MSG_ASYNCHRONOUS = 0, /**< The sender does not wait for an answer. */
    OS_MSG_SYNCHRONOUS = 1   /**< The sender waits for an answer. */
} OsMsgType;

/** A message in either direction. A name that fills its 16 bytes has no terminating NUL. */
typedef struct OsMsgEnvelope {
    uint32_t type; /**< An OsMsgType. */
    uint32_t reserved[2];
    uint32_t sendCpuId;
    char sendProcName[16];
    char sendTaskName[16];
    uint32_t msgId;
    uint32_t recvCpuId;
    char recvProcName[16];
    char recvTaskName[16];
    uint8_t reserved2[68];
    uint32_t dataLen; /**< Size of data in bytes. */
    void* data;       /**< Data block; null if dataLen is 0. */
} OsMsgEnvelope;

#ifdef __cplusplus
#define OS_MSG_STATIC_ASSERT static_assert
#else
#define OS_MSG_STATIC_ASSERT _Static_assert
#endif
OS_MSG_STATIC_ASSERT(sizeof(OsMsgEnvelope) == 168, "OsMsgEnvelope must have 168 bytes");
OS_MSG_STATIC_ASSERT(__builtin_offsetof(OsMsgEnvelope, sendCpuId) == 12, "sendCpuId must be at 12");
OS_MSG_STATIC_ASSERT(__builtin_offsetof(OsMsgEnvelope, msgId) == 48, "msgId must be at 48");
OS_MSG_STATIC_ASSERT(__builtin_offsetof(OsMsgEnvelope, recvProcName) == 56, "recvProcName must be at 56");
OS_MSG_STATIC_ASSERT(__builtin_offsetof(OsMsgEnvelope, dataLen) == 156, "dataLen must be at 156");
OS_MSG_STATIC_ASSERT(__builtin_offsetof(OsMsgEnvelope, data) == 160, "data must be at 160");

/**
 * Sends a message and waits for its answer. Any thread may call; only the calling thread blocks.
 *
 * @param envelope   The message. The caller keeps it and its data; both are copied during the call.
 * @param response   Receives the answer. The message library owns it; release it with OsMsgSynRespFree.
 * @param timeoutMs  Timeout of the whole exchange in milliseconds.
 * @return 0 if an answer was received. For any other result there is no response to release.
 */
uint32_t OsMsgSynSend(OsMsgEnvelope* envelope, OsMsgEnvelope** response, uint32_t timeoutMs);

/** Releases an answer received from OsMsgSynSend. Any thread may call. */
void OsMsgSynRespFree(OsMsgEnvelope* response);

/**
 * Sends a message without waiting for the receiver. Any thread may call. The messages that a thread sends to
 * one receiver, of either type, arrive in order as long as none of them fails.
 *
 * @param envelope  The message. The caller keeps it and its data; both are copied during the call.
 * @return 0 if the message was handed over, nonzero otherwise.
 */
uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope);

/**
 * Registers a task of this process, or replaces the handler of a registered task. Any thread may call.
 *
 * @param taskName    NUL-terminated name of at most 15 characters; it is copied.
 * @param queueDepth  Messages that may wait for the handler; when as many do, their senders
 *                    are told that the receiver is full.
 * @param msgProc     Handler, called by OsMsgTaskRoutineByName. Envelope and data are valid only during the
 *                    call. The result is ignored.
 * @return 0 if the task was registered, nonzero otherwise.
 */
uint32_t OsMsgRegTask(const char* taskName, uint32_t queueDepth, uint32_t (*msgProc)(OsMsgEnvelope*));

/**
 * Runs the message loop of a registered task on the calling thread: calls the handler with one message at a
 * time, in order of arrival. Returns when the task ends, and at once if the task is unknown or another thread
 * already runs its loop.
 */
void OsMsgTaskRoutineByName(const char* taskName);

/** Sets the least severe level that the message library logs: 1 information, 2 warnings, 3 errors. */
void OsMsgSetLogLevel(uint32_t level);

/**
 * Installs the function that receives the message library's log lines. It can be called on any thread, and
 * must not call the message library.
 */
void OsMsgRegLogFunc(void (*logFunc)(uint32_t level, const char* text));

#ifdef __cplusplus
}
#endif

#endif
