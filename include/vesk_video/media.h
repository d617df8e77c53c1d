/**
 * @file
 * @copybrief media_jobs
 *
 * @copydetails media_jobs
 *
 * @defgroup media_jobs Media jobs
 * Snapshots, stream loops, wallpapers, annotation, image verification and video I/O callbacks.
 *
 * The outcome of some of them is notified later. A loop needs its encoder and its decoder, is set up, and is
 * then switched on and off. The record of a video I/O callback needs an open engine (@ref inputs).
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_MEDIA_H
#define VESK_VIDEO_MEDIA_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Description of a snapshot to take. */
typedef struct VeskVideoSnapshotParam {
    uint8_t serviceData0[264];
    uint32_t taskId; /**< Number of the job. */
    uint8_t serviceData1[12];
} VeskVideoSnapshotParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoSnapshotParam, 280);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSnapshotParam, taskId, 264);

/** Payload of VeskVideoSetStreamLoop: a loop between an encoder and a decoder. */
typedef struct VeskVideoStreamLoopParam {
    uint32_t encNo;    /**< Encoder stream number. */
    uint32_t decNo;    /**< Decoder stream number. */
    uint32_t mode;     /**< Loop mode; service-defined. */
    uint32_t reserved; /**< Always 0. */
} VeskVideoStreamLoopParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoStreamLoopParam, 16);

/** A dynamic wallpaper; opaque. */
typedef struct VeskVideoWallpaperParam {
    uint32_t serviceData[512];
} VeskVideoWallpaperParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoWallpaperParam, 2048);

/** What to verify about an image; opaque. */
typedef struct VeskVideoVerifyImageReq {
    uint32_t serviceData[7];
} VeskVideoVerifyImageReq;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVerifyImageReq, 28);

/** A video I/O callback; opaque. */
typedef struct VeskVideoVioCallbackParam {
    uint32_t serviceData[4];
} VeskVideoVioCallbackParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVioCallbackParam, 16);

/**
 * Takes a snapshot.
 *
 * @pre VeskVideoInit has been called.
 * @param param   What to take the snapshot of.
 * @param value2  Service-defined; sent as ulParam2.
 * @param value3  Service-defined; sent as ulParam1.
 * @retval VESK_VIDEO_ERR_FAILURE  @p param is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetSnapshot(const VeskVideoSnapshotParam* param, uint32_t value2,
                                             uint32_t value3);

/**
 * Sets up a local loop between an encoder and a decoder.
 *
 * @pre VeskVideoEncoderCreate and VeskVideoDecoderCreate have created the two channels.
 * @param encNo       Encoder stream number.
 * @param decNo       Decoder stream number.
 * @param mode        Loop mode; service-defined.
 * @param loopHandle  Receives the number of the loop.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p loopHandle is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetStreamLoop(uint32_t encNo, uint32_t decNo, uint32_t mode,
                                               uint32_t* loopHandle);

/**
 * Switches a loop on or off. VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY reports the outcome.
 *
 * @pre VeskVideoSetStreamLoop has set up the loop.
 * @param loop    Loop number; its low 16 bits are sent.
 * @param enable  Nonzero: on.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetStreamLoopEnable(uint32_t loop, uint8_t enable);

/**
 * Sets the dynamic wallpaper. VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY reports that it has been decoded.
 *
 * @pre VeskVideoInit has been called.
 * @param wallpaperParam  The wallpaper.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p wallpaperParam is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetDynamicWallpapersStm(const VeskVideoWallpaperParam* wallpaperParam);

/**
 * Sets the annotation status. VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY reports that annotation is
 * ready.
 *
 * @pre VeskVideoInit has been called.
 * @param value1  Service-defined; its low 16 bits are sent.
 * @param value2  Service-defined.
 * @param status  Status; service-defined.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetAnnotationStatus(uint32_t value1, uint32_t value2, uint8_t status);

/**
 * Has the service verify an image.
 *
 * The path is sent as an address, not as text, so only a service in the same address space can read it.
 *
 * @pre VeskVideoInit has been called. The service shares the memory of the application.
 * @param filePath  Path of the image.
 * @param req       What to verify.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p filePath or @p req is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVerifyImage(const char* filePath, const VeskVideoVerifyImageReq* req);

/**
 * Registers a video I/O callback record for an engine.
 *
 * @pre VeskVideoViOpen or VeskVideoVoOpen has opened the engine.
 * @param engNo  Number of an input or output engine.
 * @param param  The record.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p param is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetVioCallback(uint32_t engNo, const VeskVideoVioCallbackParam* param);

VESK_VIDEO_END

/** @} */

#endif
