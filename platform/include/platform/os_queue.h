/**
 * @file
 * The platform's shared-memory buffer queues.
 */
#ifndef PLATFORM_OS_QUEUE_H
#define PLATFORM_OS_QUEUE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#else
#include <stdbool.h>
#endif

/** Description of a queue to create. */
typedef struct OsMemQueReq {
    char name[32]; /**< NUL-terminated name. */
    uint32_t id;
    uint32_t cnt; /**< Number of entries. */
} OsMemQueReq;

/**
 * Creates a buffer queue. Any thread may call.
 *
 * @param request  Description of the queue; read only during the call.
 * @param queueId  Receives the identifier of the queue, which is valid in other processes as well.
 * @return 0 if the queue was created, nonzero otherwise.
 */
uint32_t OsShmAdvancedBuffCreateQueue(OsMemQueReq* request, uint32_t* queueId);

/**
 * Prepares a queue for use with another process. Any thread may call.
 *
 * @param queueId       Queue identifier.
 * @param peerProcName  NUL-terminated name of the other process.
 * @return 0 if the queue was prepared, nonzero otherwise.
 */
uint32_t OsShmAdvancedInitQueue(uint32_t queueId, const char* peerProcName);

/**
 * Enables or disables a queue. Any thread may call.
 *
 * @param queueId  Queue identifier.
 * @param enable   True to enable the queue.
 * @return 0 if the queue was switched, nonzero otherwise.
 */
uint32_t OsShmAdvancedActivateQueue(uint32_t queueId, bool enable);

#ifdef __cplusplus
}
#endif

#endif
