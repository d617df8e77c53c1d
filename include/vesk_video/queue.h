/**
 * @file
 * Shared-memory buffer queues: created here through the platform, announced to the service.
 */
#ifndef VESK_VIDEO_QUEUE_H
#define VESK_VIDEO_QUEUE_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/**
 * Has the service initialise its side of an advanced-queue client (VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT).
 *
 * @param serverName  Name of the queue server, 63 characters at most, no line feed or carriage return.
 * @return 1 when @p serverName is null or too long; 2 when it holds a line break.
 */
VESK_VIDEO_API uint32_t VeskVideoAdvancedQueueClientInit(const char* serverName);

/**
 * Creates a buffer queue of 2000 entries named "vid_2k_2000_" and a running number, prepares it for
 * the service and announces it (VESK_VIDEO_MSG_CREATE_QUEUE).
 *
 * The queue stays with the platform whatever the service answers. Threads that create queues at the
 * same moment are not serialised and may ask for the same name.
 *
 * @param memQueId  Takes the queue identifier; 1 when the platform wrote none. Written also when a
 *                  later step fails.
 * @return 1 when @p memQueId is null; the platform's code when the queue could not be prepared.
 */
VESK_VIDEO_API uint32_t VeskVideoBuffCreateQueue(uint32_t* memQueId);

/**
 * Tells the service to drop a queue (VESK_VIDEO_MSG_DESTROY_QUEUE); the queue itself is not touched.
 *
 * @param memQueId  Queue identifier.
 */
VESK_VIDEO_API uint32_t VeskVideoBuffDestroyQueue(uint32_t memQueId);

/**
 * Switches a queue on or off through the platform; sends nothing.
 *
 * @param queueId           Queue identifier.
 * @param bEnableOrDisable  0 disables, any other value enables.
 * @return 0; 1 when the platform refused.
 */
VESK_VIDEO_API uint32_t VeskVideoActivateQueue(uint32_t queueId, uint32_t bEnableOrDisable);

VESK_VIDEO_END

#endif
