/**
 * @file
 * @copybrief queues
 *
 * @copydetails queues
 *
 * @defgroup queues Queues
 * Shared-memory buffer queues, which the library creates through the platform and announces to the service.
 *
 * A queue is created before it is handed to an engine, a channel or a mouse stream, and dropped when none of
 * them uses it any more.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_QUEUE_H
#define VESK_VIDEO_QUEUE_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/**
 * Has the service initialise its client of an advanced queue server
 * (VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT).
 *
 * @pre VeskVideoInit has been called.
 * @param serverName  Name of the queue server: at most 63 characters, no line feed or carriage return.
 * @retval VESK_VIDEO_ERR_FAILURE   @p serverName is null or too long.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p serverName contains a line break.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoAdvancedQueueClientInit(const char* serverName);

/**
 * Creates a buffer queue of 2000 entries, prepares it for the service and announces it to the service
 * (VESK_VIDEO_MSG_CREATE_QUEUE).
 *
 * The queue is named "vid_2k_2000_" and a running number. It remains in the platform even if the service
 * refuses it. Concurrent calls are not serialised and may request the same name.
 *
 * @pre VeskVideoInit has been called.
 * @param memQueId  Receives the queue identifier, or 1 if the platform did not create the queue. It is
 *                  written even if a later step fails.
 * @retval VESK_VIDEO_ERR_FAILURE  @p memQueId is null.
 * @return Otherwise the platform's code if it could not prepare the queue, else a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoBuffCreateQueue(uint32_t* memQueId);

/**
 * Tells the service to drop a queue (VESK_VIDEO_MSG_DESTROY_QUEUE). The queue itself is not destroyed.
 *
 * @pre VeskVideoBuffCreateQueue has announced the queue.
 * @param memQueId  Queue identifier.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoBuffDestroyQueue(uint32_t memQueId);

/**
 * Enables or disables a queue through the platform; nothing is sent to the service.
 *
 * @param queueId           Queue identifier.
 * @param bEnableOrDisable  0: disable; any other value: enable.
 * @retval VESK_VIDEO_OK           The queue was switched.
 * @retval VESK_VIDEO_ERR_FAILURE  The platform refused.
 */
VESK_VIDEO_API uint32_t VeskVideoActivateQueue(uint32_t queueId, uint32_t bEnableOrDisable);

VESK_VIDEO_END

/** @} */

#endif
