/**
 * @file
 * The numbers of all requests and notifications, read off the list in messages.def. That list also says
 * what each message carries and which function sends it.
 */
#ifndef VESK_VIDEO_MESSAGES_H
#define VESK_VIDEO_MESSAGES_H

/** Request numbers: the header's msgId. */
typedef enum VeskVideoRequest {
#define VESK_REQUEST(name, number, ...) name = (number),
#include "vesk_video/messages.def"
} VeskVideoRequest;

/** Notification numbers: the envelope's msgId, and the callback's first argument. */
typedef enum VeskVideoNotification {
#define VESK_NOTIFICATION(name, number, ...) name = (number),
#include "vesk_video/messages.def"
} VeskVideoNotification;

#endif
