/**
 * @file
 * What a serving process on the host needs of the message library beyond the platform layer: a name of
 * its own, an answer to a synchronous message, an orderly end. Notifications go out by OsMsgAsynSend.
 */
#ifndef VESK_HOST_MESSAGE_H
#define VESK_HOST_MESSAGE_H

#include "platform/os_msg.h"

#ifdef __cplusplus
extern "C" {
#endif

/** Results of the host's message library; 0 is success everywhere. */
enum HostMsgResult {
    HOST_MSG_ERR_ABSENT = 0x101,    /**< Nobody serves the endpoint. */
    HOST_MSG_ERR_TIMEOUT = 0x102,   /**< The exchange took longer than its time-out. */
    HOST_MSG_ERR_BROKEN = 0x103,    /**< The peer closed the connection, or ended, during the exchange. */
    HOST_MSG_ERR_MALFORMED = 0x104, /**< The answer is malformed, another message's, or too long. */
    HOST_MSG_ERR_TOO_LONG = 0x105,  /**< A data block of more than 4 MiB. */
    HOST_MSG_ERR_FULL = 0x106,      /**< The receiver is not reading: the asynchronous message was dropped. */
    HOST_MSG_ERR_DIRECTORY = 0x107, /**< The runtime directory cannot be used. */
    HOST_MSG_ERR_TAKEN = 0x108,     /**< Another living process serves the name. */
    HOST_MSG_ERR_ARGUMENT = 0x109,  /**< A null pointer, or a name that cannot be an endpoint's. */
    HOST_MSG_ERR_FOREIGN = 0x10a,   /**< The peer belongs to another user. */
    HOST_MSG_ERR_SYSTEM = 0x10b     /**< Out of memory, descriptors or the like. */
};

/**
 * Names this process. Tasks registered from then on are bound at once, so that OsMsgRegTask says
 * whether the name was free; without a name they are bound when the first message leaves, under the
 * name that it gives as its sender. What fails for want of descriptors or the like is logged, and tried
 * again with the first message after a second.
 *
 * @param procName  NUL-terminated, 1 to 15 characters; copied.
 * @return 0, or HOST_MSG_ERR_ARGUMENT.
 */
uint32_t HostMsgSetProcName(const char* procName);

/**
 * Answers the synchronous message that is being handled; to be called from its handler, once. A
 * synchronous message that its handler does not answer fails at its sender at once.
 *
 * @param request  The envelope that the handler was called with.
 * @param data     The answer; copied. Null when @p dataLen is 0.
 * @param dataLen  Its bytes.
 * @return 0 when the answer is on its way; otherwise the sender sees a failure.
 */
uint32_t HostMsgReply(OsMsgEnvelope* request, const void* data, uint32_t dataLen);

/** An answer that is still owed; 0 is none. */
typedef uint64_t HostMsgDeferred;

/**
 * Puts off the answer to the synchronous message that is being handled; to be called from its handler, which
 * then returns without an answer. The sender goes on waiting until it is answered or its own time-out ends,
 * and the task handles the messages of others. Nothing need be freed: what is owed ends with its sender's
 * connection, or with the task.
 *
 * @param request  The envelope that the handler was called with.
 * @return What to answer by, or 0 when @p request is not a message to be answered, or 1,024 answers are owed
 *         already; the message can then be answered at once only.
 */
HostMsgDeferred HostMsgDefer(OsMsgEnvelope* request);

/**
 * Gives an answer that is owed, once; any thread may call.
 *
 * @param deferred  What HostMsgDefer returned.
 * @param data      The answer; copied. Null when @p dataLen is 0.
 * @param dataLen   Its bytes.
 * @return 0 when the answer is on its way; HOST_MSG_ERR_BROKEN when the sender has gone, or the answer was
 *         given already; HOST_MSG_ERR_TOO_LONG or HOST_MSG_ERR_ARGUMENT otherwise, when the sender sees a
 *         failure.
 */
uint32_t HostMsgReplyDeferred(HostMsgDeferred deferred, const void* data, uint32_t dataLen);

/** Closes the sender's connection instead of answering: the sender's call fails at once. Any thread may call.
 */
void HostMsgCloseDeferred(HostMsgDeferred deferred);

/**
 * A process that uses the runtime directory. It is told from all others, past ones too, also where namespaces
 * (containers) give each its own process numbers. 0 is none.
 */
typedef uint64_t HostProcess;

/** @return This process; 0, after logging the reason, when it cannot use the runtime directory. */
HostProcess HostProcessSelf(void);

/** @return The process that sent the message that is being handled; 0 when @p message is not it. */
HostProcess HostMsgSender(const OsMsgEnvelope* message);

/**
 * @return A number that no other living process of the runtime directory has, below 2^22: its process number,
 *         unless a process of another namespace had that already.
 */
uint32_t HostProcessNumber(HostProcess process);

/** @return 0 when it has ended, also when nobody has waited for it yet; 1 while it lives, when that cannot be
 *         found out, and for 0.
 */
int HostProcessIsAlive(HostProcess process);

/**
 * Has a task told of the end of each process that sends to it from now on, once all messages of that process
 * have been handled; to be called before the task's loop runs. A process that only closes connections, or
 * whose forked child ends, has not ended. Should another message of it turn up yet, its end is told again.
 *
 * The end is told at once. It is missed only of a process that has had no connection for two seconds, if it
 * is in another namespace, before Linux 6.5, or if the receiver had no descriptor left when it connected.
 *
 * @param taskName  A task that is registered.
 * @param ended     Called on the thread that runs the task's loop, between two messages.
 * @return 0, or HOST_MSG_ERR_ARGUMENT when there is no such task or @p ended is null.
 */
uint32_t HostMsgOnProcessEnd(const char* taskName, void (*ended)(HostProcess process));

/**
 * Ends a task: its name is free, its loop returns after the message in hand, its clients' connections
 * are closed. Any thread may call.
 *
 * @return 0, or HOST_MSG_ERR_ARGUMENT when there is no such task.
 */
uint32_t HostMsgEndTask(const char* taskName);

/**
 * Opens the runtime directory in which the endpoints live: VESK_RUNTIME_DIR, else
 * XDG_RUNTIME_DIR/vesk, else /tmp/vesk-UID.
 *
 * @return A descriptor that the caller closes, or -1 after logging the reason.
 */
int HostMsgOpenRuntimeDir(void);

#ifdef __cplusplus
}
#endif

#endif
