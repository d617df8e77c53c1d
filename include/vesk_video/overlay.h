/**
 * @file
 * Overlay channels: graphics laid over the video. Threads, ownership and the results that all requests
 * share: see common.h.
 */
#ifndef VESK_VIDEO_OVERLAY_H
#define VESK_VIDEO_OVERLAY_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Parameters of an overlay; what they mean is the service's. */
typedef struct VeskVideoOverlayParam {
    uint8_t flag0;             /**< The service's. */
    uint8_t flag1;             /**< The service's. */
    uint8_t flag2;             /**< The service's. */
    uint8_t padding;           /**< Not read. */
    uint32_t value[8];         /**< The service's. */
    uint8_t serviceData[1044]; /**< The service's, carried unchanged. */
} VeskVideoOverlayParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoOverlayParam, 1080);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoOverlayParam, value, 4);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoOverlayParam, serviceData, 36);

/**
 * Creates an overlay channel.
 *
 * @param overlayChn  Channel number, chosen by the application.
 * @param value       The service's; its low 16 bits are sent.
 * @param out         Takes a value of the service.
 * @return 2 also when @p out is null.
 */
VESK_VIDEO_API uint32_t VeskVideoCreateOverlayChannel(uint32_t overlayChn, uint32_t value, uint32_t* out);

/**
 * Asks for the buffer queue of an overlay channel.
 *
 * @param overlayChn  Channel number.
 * @param handle      Takes the queue identifier.
 * @return 2 also when @p handle is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetOverlayQueHandle(uint32_t overlayChn, uint32_t* handle);

/**
 * Sets an overlay channel's parameters.
 *
 * @param overlayChn    Channel number.
 * @param overlayParam  The parameters.
 * @return 1 also when @p overlayParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoSetOverlayParam(uint32_t overlayChn,
                                                 const VeskVideoOverlayParam* overlayParam);

/** Destroys an overlay channel. @param overlayChn Channel number. */
VESK_VIDEO_API uint32_t VeskVideoDestroyOverlayChannel(uint32_t overlayChn);

/**
 * Shows or hides an overlay.
 *
 * @param overlayChn  Channel number.
 * @param enable      Nonzero shows it.
 */
VESK_VIDEO_API uint32_t VeskVideoEnableOverlay(uint32_t overlayChn, uint8_t enable);

VESK_VIDEO_END

#endif
