/**
 * @file
 * The whole interface.
 */
#ifndef VESK_VIDEO_VESK_VIDEO_H
#define VESK_VIDEO_VESK_VIDEO_H

#include "vesk_video/lifecycle.h"
#include "vesk_video/message.h"
#include "vesk_video/messages.h"
#include "vesk_video/notification.h"
#include "vesk_video/output.h"
#include "vesk_video/receive.h"
#include "vesk_video/task.h"

#endif
