/**
 * @file
 * How another process on the host finds a buffer queue.
 */
#ifndef VESK_HOST_QUEUE_H
#define VESK_HOST_QUEUE_H

#include "platform/os_queue.h"

#ifdef __cplusplus
extern "C" {
#endif

/** State of a queue, as its creator's file in the runtime directory holds it. */
typedef struct HostQueueState {
    uint32_t queueId;
    uint32_t requestId;    /**< OsMemQueReq::id. */
    uint32_t count;        /**< OsMemQueReq::cnt. */
    uint32_t isEnabled;    /**< As OsShmAdvancedActivateQueue left it; 0 at first. */
    int32_t creator;       /**< HostProcessNumber of who created the queue; the queue ends with it. */
    char name[32];         /**< NUL-terminated. */
    char peerProcName[32]; /**< As OsShmAdvancedInitQueue set it, empty before. */
} HostQueueState;

/** Finds a queue of this user by its identifier. @return 0: found; nonzero: there is none. */
uint32_t HostQueueFind(uint32_t queueId, HostQueueState* state);

/** Removes a queue that this process created. @return 0: removed; nonzero: there is none. */
uint32_t HostQueueRemove(uint32_t queueId);

#ifdef __cplusplus
}
#endif

#endif
