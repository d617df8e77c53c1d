/**
 * @file
 * USB video class streams. The life of a stream is kept by the service: initialise, open (which yields its
 * number), set parameters, start, stop, close, de-initialise. Threads, ownership and the results that all
 * requests share: see common.h.
 */
#ifndef VESK_VIDEO_UVC_H
#define VESK_VIDEO_UVC_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_UVC_STM_MAX = 7 /**< The highest stream number that VeskVideoUvcForceKeyFrame accepts. */
};

/** Parameters of a UVC stream; their contents are the service's. */
typedef struct VeskVideoUvcParam {
    uint32_t serviceData[16]; /**< The service's, carried unchanged. */
} VeskVideoUvcParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoUvcParam, 64);

/** Extended parameters of a UVC stream; their contents are the service's. */
typedef struct VeskVideoUvcParamEx {
    uint32_t serviceData[6]; /**< The service's, carried unchanged. */
} VeskVideoUvcParamEx;
VESK_VIDEO_ASSERT_SIZE(VeskVideoUvcParamEx, 24);

/** Initialises the service's UVC side; does not wait for an answer. @return 0; 1 when the send failed. */
VESK_VIDEO_API uint32_t VeskVideoUvcInit(void);

/** De-initialises the service's UVC side; does not wait for an answer. @return 0; 1 when the send failed. */
VESK_VIDEO_API uint32_t VeskVideoUvcDeinit(void);

/**
 * Opens a UVC stream.
 *
 * @param uvcStmNo  Takes its stream number.
 * @return 0; 1 when @p uvcStmNo is null, and for every failure, the service's included.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcOpen(uint32_t* uvcStmNo);

/**
 * Sets a stream's parameters.
 *
 * @param uvcStmNo  Stream number.
 * @param uvcParam  The parameters.
 * @return 1 also when @p uvcParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcSetStmParam(uint32_t uvcStmNo, const VeskVideoUvcParam* uvcParam);

/**
 * Sets a stream's extended parameters.
 *
 * @param uvcStmNo  Stream number.
 * @param uvcParam  The parameters.
 * @return 1 also when @p uvcParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcSetStmParamEx(uint32_t uvcStmNo, const VeskVideoUvcParamEx* uvcParam);

/** Starts a stream. @param uvcStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoUvcStartStream(uint32_t uvcStmNo);

/** Stops a stream. @param uvcStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoUvcStopStream(uint32_t uvcStmNo);

/** Closes a stream. @param uvcStmNo Stream number. */
VESK_VIDEO_API uint32_t VeskVideoUvcClose(uint32_t uvcStmNo);

/**
 * Asks a stream for a key frame.
 *
 * @param uvcStmNo  Stream number, @ref VESK_VIDEO_UVC_STM_MAX at most.
 * @return 0; @ref VESK_VIDEO_ERR_UVC_STREAM when @p uvcStmNo is too high; 1 for every other failure, the
 *         service's included.
 */
VESK_VIDEO_API uint32_t VeskVideoUvcForceKeyFrame(uint32_t uvcStmNo);

VESK_VIDEO_END

#endif
