/**
 * @file
 * @copybrief uvc_streams
 *
 * @copydetails uvc_streams
 *
 * @defgroup uvc_streams UVC streams
 * USB video class streams: initialised together, then opened, configured and started one by one.
 *
 * A stream goes through these steps: initialise, open (which returns its number), set parameters, start,
 * stop, close, deinitialise. It cannot start before VeskVideoUvcSetStmParam; the extended parameters are
 * optional. Deinitialising closes what is still open.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_UVC_H
#define VESK_VIDEO_UVC_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_UVC_STM_MAX = 7 /**< The highest stream number that VeskVideoUvcForceKeyFrame accepts. */
};

/** Parameters of a UVC stream; opaque. */
typedef struct VeskVideoUvcParam {
    uint32_t serviceData[16];
} VeskVideoUvcParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoUvcParam, 64);

/** Extended parameters of a UVC stream; opaque. */
typedef struct VeskVideoUvcParamEx {
    uint32_t serviceData[6];
} VeskVideoUvcParamEx;
VESK_VIDEO_ASSERT_SIZE(VeskVideoUvcParamEx, 24);

/**
 * Initialises UVC in the service; does not wait for an answer.
 *
 * @pre VeskVideoInit has been called.
 * @retval VESK_VIDEO_OK           The request was sent.
 * @retval VESK_VIDEO_ERR_FAILURE  It could not be sent.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcInit(void);

/**
 * Deinitialises UVC in the service; does not wait for an answer.
 *
 * @pre VeskVideoUvcInit has been called.
 * @retval VESK_VIDEO_OK           The request was sent.
 * @retval VESK_VIDEO_ERR_FAILURE  It could not be sent.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcDeinit(void);

/**
 * Opens a UVC stream.
 *
 * @pre This process has called VeskVideoUvcInit.
 * @param uvcStmNo  Receives the stream number.
 * @retval VESK_VIDEO_OK           The stream is open.
 * @retval VESK_VIDEO_ERR_FAILURE  @p uvcStmNo is null, the exchange failed, or the service refused.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcOpen(uint32_t* uvcStmNo);

/**
 * Sets a UVC stream's parameters.
 *
 * @pre VeskVideoUvcOpen has opened the stream.
 * @param uvcStmNo  Stream number.
 * @param uvcParam  The parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p uvcParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcSetStmParam(uint32_t uvcStmNo, const VeskVideoUvcParam* uvcParam);

/**
 * Sets a UVC stream's extended parameters.
 *
 * @pre VeskVideoUvcOpen has opened the stream.
 * @param uvcStmNo  Stream number.
 * @param uvcParam  The parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p uvcParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcSetStmParamEx(uint32_t uvcStmNo, const VeskVideoUvcParamEx* uvcParam);

/**
 * Starts a UVC stream.
 *
 * @pre VeskVideoUvcSetStmParam has set the stream's parameters, and the stream is not started.
 * @param uvcStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcStartStream(uint32_t uvcStmNo);

/**
 * Stops a UVC stream.
 *
 * @pre VeskVideoUvcStartStream has started the stream.
 * @param uvcStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcStopStream(uint32_t uvcStmNo);

/**
 * Closes a UVC stream.
 *
 * @pre VeskVideoUvcOpen has opened the stream.
 * @param uvcStmNo  Stream number.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcClose(uint32_t uvcStmNo);

/**
 * Requests a key frame from a UVC stream.
 *
 * @pre VeskVideoUvcStartStream has started the stream.
 * @param uvcStmNo  Stream number, at most @ref VESK_VIDEO_UVC_STM_MAX.
 * @retval VESK_VIDEO_OK              The service accepted the request.
 * @retval VESK_VIDEO_ERR_UVC_STREAM  @p uvcStmNo is too high.
 * @retval VESK_VIDEO_ERR_FAILURE     The exchange failed, or the service refused.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcForceKeyFrame(uint32_t uvcStmNo);

VESK_VIDEO_END

/** @} */

#endif
