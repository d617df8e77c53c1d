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

/** What a queue is created from. */
typedef struct OsMemQueReq {
    char name[32]; /**< NUL-terminated. */
    uint32_t id;
    uint32_t cnt; /**< Entries of the queue. */
} OsMemQueReq;

/**
 * Creates a buffer queue. Any thread may call.
 *
 * @param request  The queue; read during the call only.
 * @param queueId  Takes its identifier, by which other processes find it too.
 * @return 0: created.
 */
uint32_t OsShmAdvancedBuffCreateQueue(OsMemQueReq* request, uint32_t* queueId);

/**
 * Prepares a queue for the use with another process.
 *
 * @param queueId       Identifier of a queue.
 * @param peerProcName  NUL-terminated name of the other process.
 * @return 0: prepared.
 */
uint32_t OsShmAdvancedInitQueue(uint32_t queueId, const char* peerProcName);

/**
 * Switches a queue on or off.
 *
 * @param queueId  Identifier of a queue.
 * @param enable   On or off.
 * @return 0: switched.
 */
uint32_t OsShmAdvancedActivateQueue(uint32_t queueId, bool enable);

#ifdef __cplusplus
}
#endif

#endif
