/**
 * @file
 * @copybrief numbers
 *
 * @copydetails numbers
 *
 * @defgroup numbers Message numbers
 * The numbers of all requests and notifications, generated from the list in messages.def.
 *
 * The list also describes what each message carries and which function sends it; see @ref messages.
 * @{
 */
#ifndef VESK_VIDEO_MESSAGES_H
#define VESK_VIDEO_MESSAGES_H

/** Request numbers, as in VeskVideoMsgHead::msgId. */
typedef enum VeskVideoRequest {
#define VESK_REQUEST(name, number, ...) name = (number),
#include "vesk_video/messages.def"
} VeskVideoRequest;

/** Notification numbers, as in the envelope's msgId and the first argument of VeskVideoNotifyCallback. */
typedef enum VeskVideoNotification {
#define VESK_NOTIFICATION(name, number, ...) name = (number),
#include "vesk_video/messages.def"
} VeskVideoNotification;

/** @} */

#endif
