/**
 * @file
 * @copybrief overlays
 *
 * @copydetails overlays
 *
 * @defgroup overlays Overlays
 * Overlay channels: graphics on top of the video.
 *
 * A channel goes through these steps: create it under a number of the application's choice, set its
 * parameters, show or hide it, destroy it. It has no picture to show or hide before its parameters are set.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_OVERLAY_H
#define VESK_VIDEO_OVERLAY_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Parameters of an overlay; service-defined. */
typedef struct VeskVideoOverlayParam {
    uint8_t flag0; /**< Service-defined. */
    uint8_t flag1; /**< Service-defined. */
    uint8_t flag2; /**< Service-defined. */
    uint8_t padding;
    uint32_t value[8];
    uint8_t serviceData[1044];
} VeskVideoOverlayParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoOverlayParam, 1080);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoOverlayParam, value, 4);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoOverlayParam, serviceData, 36);

/**
 * Creates an overlay channel.
 *
 * @pre No running process has a channel of this number.
 * @param overlayChn  Channel number of the application's choice.
 * @param value       Service-defined; its low 16 bits are sent.
 * @param out         Receives a service-defined number.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p out is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoCreateOverlayChannel(uint32_t overlayChn, uint32_t value, uint32_t* out);

/**
 * Gets the buffer queue of an overlay channel.
 *
 * @pre VeskVideoCreateOverlayChannel has created the channel.
 * @param overlayChn  Channel number.
 * @param handle      Receives the queue identifier.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p handle is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetOverlayQueHandle(uint32_t overlayChn, uint32_t* handle);

/**
 * Sets an overlay channel's parameters.
 *
 * @pre VeskVideoCreateOverlayChannel has created the channel.
 * @param overlayChn    Channel number.
 * @param overlayParam  The parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p overlayParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetOverlayParam(uint32_t overlayChn,
                                                 const VeskVideoOverlayParam* overlayParam);

/**
 * Destroys an overlay channel.
 *
 * @pre VeskVideoCreateOverlayChannel has created the channel.
 * @param overlayChn  Channel number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDestroyOverlayChannel(uint32_t overlayChn);

/**
 * Shows or hides an overlay.
 *
 * @pre VeskVideoSetOverlayParam has set the channel's parameters.
 * @param overlayChn  Channel number.
 * @param enable      Nonzero: shown.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoEnableOverlay(uint32_t overlayChn, uint8_t enable);

VESK_VIDEO_END

/** @} */

#endif
