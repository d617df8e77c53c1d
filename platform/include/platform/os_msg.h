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

/** Types of a message. */
typedef enum OsMsgType {
    OS_MSG_ASYNCHRONOUS = 0, /**< Nobody waits for an answer. */
    OS_MSG_SYNCHRONOUS = 1   /**< Its sender waits for an answer. */
} OsMsgType;

/** One message, in either direction. A name field may fill its 16 bytes without a NUL. */
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
    uint32_t dataLen; /**< Bytes at data. */
    void* data;       /**< The data block; null when dataLen is 0. */
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
 * Sends a message and waits for its answer. Any thread may call; it blocks its caller alone.
 *
 * @param envelope   The message; it and its data stay the caller's and are copied during the call.
 * @param response   Takes the answer, owned by the message library until OsMsgSynRespFree.
 * @param timeoutMs  Milliseconds that the whole exchange may take.
 * @return 0: answered. Otherwise nothing was handed back.
 */
uint32_t OsMsgSynSend(OsMsgEnvelope* envelope, OsMsgEnvelope** response, uint32_t timeoutMs);

/** Gives back an answer of OsMsgSynSend. */
void OsMsgSynRespFree(OsMsgEnvelope* response);

/**
 * Sends a message without waiting for the receiver. Any thread may call.
 *
 * @param envelope  The message; it and its data stay the caller's and are copied during the call.
 * @return 0: handed over.
 */
uint32_t OsMsgAsynSend(OsMsgEnvelope* envelope);

/**
 * Registers a task of this process, or replaces the handler of a registered one.
 *
 * @param taskName    NUL-terminated name of at most 15 characters; copied.
 * @param queueDepth  Messages that may wait for the handler; more are dropped and counted.
 * @param msgProc     Handler, called by OsMsgTaskRoutineByName; envelope and data are valid during
 *                    the call only, its result is ignored.
 * @return 0: registered.
 */
uint32_t OsMsgRegTask(const char* taskName, uint32_t queueDepth, uint32_t (*msgProc)(OsMsgEnvelope*));

/**
 * Runs a registered task's loop on the calling thread: one message at a time, in order of arrival.
 * Returns when the task ends, is unknown, or is already run by another thread.
 */
void OsMsgTaskRoutineByName(const char* taskName);

/** Sets the threshold of the message library's own lines: 1 information, 2 warnings, 3 errors. */
void OsMsgSetLogLevel(uint32_t level);

/** Installs the function that receives the message library's own lines, on whatever thread. */
void OsMsgRegLogFunc(void (*logFunc)(uint32_t level, const char* text));

#ifdef __cplusplus
}
#endif

#endif
