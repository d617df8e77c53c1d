/**
 * @file
 * Includes all headers of the interface, for applications that do not choose among them.
 */
#ifndef VESK_VIDEO_VESK_VIDEO_H
#define VESK_VIDEO_VESK_VIDEO_H

#include "vesk_video/camera.h"
#include "vesk_video/capability.h"
#include "vesk_video/capture.h"
#include "vesk_video/common.h"
#include "vesk_video/decoder.h"
#include "vesk_video/display.h"
#include "vesk_video/encoder.h"
#include "vesk_video/framing.h"
#include "vesk_video/input.h"
#include "vesk_video/lifecycle.h"
#include "vesk_video/media.h"
#include "vesk_video/message.h"
#include "vesk_video/messages.h"
#include "vesk_video/mouse.h"
#include "vesk_video/notification.h"
#include "vesk_video/output.h"
#include "vesk_video/overlay.h"
#include "vesk_video/queue.h"
#include "vesk_video/receive.h"
#include "vesk_video/task.h"
#include "vesk_video/uvc.h"

#endif
