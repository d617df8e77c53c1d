/**
 * @file
 * Jobs of the media service: snapshots, stream loops, wallpapers, annotation, image verification and
 * video-I/O callbacks. Some report their outcome by a notification later. Threads, ownership and the
 * results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_MEDIA_H
#define VESK_VIDEO_MEDIA_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** What a snapshot is taken of; the bytes named serviceData are the service's. */
typedef struct VeskVideoSnapshotParam {
    uint8_t serviceData0[264]; /**< The service's, carried unchanged. */
    uint32_t taskId;           /**< Number of the job. */
    uint8_t serviceData1[12];  /**< The service's, carried unchanged. */
} VeskVideoSnapshotParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoSnapshotParam, 280);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSnapshotParam, taskId, 264);

/** A loop between an encoder and a decoder, as VeskVideoSetStreamLoop sends it. */
typedef struct VeskVideoStreamLoopParam {
    uint32_t encNo;    /**< Encoder stream number. */
    uint32_t decNo;    /**< Decoder stream number. */
    uint32_t mode;     /**< The service's. */
    uint32_t reserved; /**< 0. */
} VeskVideoStreamLoopParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoStreamLoopParam, 16);

/** A dynamic wallpaper; its contents are the service's. */
typedef struct VeskVideoWallpaperParam {
    uint32_t serviceData[512]; /**< The service's, carried unchanged. */
} VeskVideoWallpaperParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoWallpaperParam, 2048);

/** What is verified of an image; its contents are the service's. */
typedef struct VeskVideoVerifyImageReq {
    uint32_t serviceData[7]; /**< The service's, carried unchanged. */
} VeskVideoVerifyImageReq;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVerifyImageReq, 28);

/** A video-I/O callback; its contents are the service's. */
typedef struct VeskVideoVioCallbackParam {
    uint32_t serviceData[4]; /**< The service's, carried unchanged. */
} VeskVideoVioCallbackParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVioCallbackParam, 16);

/**
 * Takes a snapshot.
 *
 * @param param   What of.
 * @param value2  The service's; sent as the second parameter.
 * @param value3  The service's; sent as the first parameter.
 * @return 1 also when @p param is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetSnapshot(const VeskVideoSnapshotParam* param, uint32_t value2,
                                             uint32_t value3);

/**
 * Sets up a local loop between an encoder and a decoder.
 *
 * @param encNo       Encoder stream number.
 * @param decNo       Decoder stream number.
 * @param mode        The service's.
 * @param loopHandle  Takes the service's number of the loop.
 * @return 2 also when @p loopHandle is null.
 */
VESK_VIDEO_API uint32_t VeskVideoSetStreamLoop(uint32_t encNo, uint32_t decNo, uint32_t mode,
                                               uint32_t* loopHandle);

/**
 * Switches a loop; VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY says how it ended.
 *
 * @param loop    The service's number of the loop; its low 16 bits are sent.
 * @param enable  Nonzero switches it on.
 */
VESK_VIDEO_API uint32_t VeskVideoSetStreamLoopEnable(uint32_t loop, uint8_t enable);

/**
 * Sets the dynamic wallpaper; VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY says when it is decoded.
 *
 * @param wallpaperParam  The wallpaper.
 * @return 2 also when @p wallpaperParam is null.
 */
VESK_VIDEO_API uint32_t VeskVideoSetDynamicWallpapersStm(const VeskVideoWallpaperParam* wallpaperParam);

/**
 * Sets the annotation status; VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY says when it is ready.
 *
 * @param value1  The service's; its low 16 bits are sent.
 * @param value2  The service's.
 * @param status  The status.
 */
VESK_VIDEO_API uint32_t VeskVideoSetAnnotationStatus(uint32_t value1, uint32_t value2, uint8_t status);

/**
 * Has an image verified. The path is sent as its address, not as text: only a service that shares this
 * process's memory can read it.
 *
 * @param filePath  Path of the image.
 * @param req       What to verify.
 * @return 2 also when @p filePath or @p req is null.
 */
VESK_VIDEO_API uint32_t VeskVideoVerifyImage(const char* filePath, const VeskVideoVerifyImageReq* req);

/**
 * Registers a video-I/O callback record for an engine.
 *
 * @param engNo  Engine number.
 * @param param  The record.
 * @return 2 also when @p param is null.
 */
VESK_VIDEO_API uint32_t VeskVideoSetVioCallback(uint32_t engNo, const VeskVideoVioCallbackParam* param);

VESK_VIDEO_END

#endif
