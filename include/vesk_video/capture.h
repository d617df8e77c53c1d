/**
 * @file
 * Input sources that are not cameras. Threads, ownership and the results that all requests share: see
 * common.h.
 */
#ifndef VESK_VIDEO_CAPTURE_H
#define VESK_VIDEO_CAPTURE_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** An application as a source; what the text and the numbers mean is the service's. */
typedef struct VeskVideoAppInParam {
    char text[256];      /**< NUL-terminated. */
    uint64_t taskHandle; /**< Handle of an application task, not 0. */
    uint32_t param0;     /**< The service's. */
    uint32_t param1;     /**< The service's. */
    uint32_t param2;     /**< The service's. */
    uint32_t param3;     /**< The service's. */
    int32_t param4;      /**< The service's. */
    uint32_t padding;    /**< Not read. */
} VeskVideoAppInParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoAppInParam, 288);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoAppInParam, taskHandle, 256);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoAppInParam, param4, 280);

/**
 * Feeds a virtual input from a file.
 *
 * @param sourceId  Number of the virtual input.
 * @param filePath  Path of 4,096 characters at most, as the service sees it.
 * @return 1 also when @p filePath is null; 2 also when it is too long.
 */
VESK_VIDEO_API uint32_t VeskVideoSetVirtualViSrc(uint32_t sourceId, const char* filePath);

/**
 * Sets an application as an engine's source.
 *
 * @param inEngNo     Engine number.
 * @param appInParam  The application.
 * @return 2 also when @p appInParam is null or its taskHandle is 0.
 */
VESK_VIDEO_API uint32_t VeskVideoSetAppCaptureParam(uint32_t inEngNo, const VeskVideoAppInParam* appInParam);

/**
 * Hands the service the Android objects that it needs there.
 *
 * @param javaVm       The Java virtual machine; its address is sent whole.
 * @param javaContext  An application context; the low 32 bits of the value are sent.
 * @return 1 also when either is null.
 */
VESK_VIDEO_API uint32_t VeskVideoSetAndroidContext(void* javaVm, void* javaContext);

/**
 * Hands the service what sets up Android's MediaProjection.
 *
 * @param resultCode      Result code as the application obtained it; sent sign-extended.
 * @param projectionData  Data handle; the low 32 bits of the value are sent.
 */
VESK_VIDEO_API uint32_t VeskVideoSetAndroidProjection(int32_t resultCode, void* projectionData);

VESK_VIDEO_END

#endif
