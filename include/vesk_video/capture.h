/**
 * @file
 * @copybrief sources
 *
 * @copydetails sources
 *
 * @defgroup sources Sources
 * Input sources other than cameras: files, applications and screen projection.
 *
 * A virtual input is named by its number, and an application by the engine of an open port (@ref inputs). The
 * objects that Android needs come before a projection.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_CAPTURE_H
#define VESK_VIDEO_CAPTURE_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** An application that is an input source; the text and the numbers are service-defined. */
typedef struct VeskVideoAppInParam {
    char text[256];      /**< NUL-terminated text. */
    uint64_t taskHandle; /**< Handle of an application task; not 0. */
    uint32_t param0;
    uint32_t param1;
    uint32_t param2;
    uint32_t param3;
    int32_t param4;
    uint32_t padding;
} VeskVideoAppInParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoAppInParam, 288);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoAppInParam, taskHandle, 256);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoAppInParam, param4, 280);

/**
 * Sets the file that feeds a virtual input.
 *
 * @pre VeskVideoInit has been called.
 * @param sourceId  Number of the virtual input.
 * @param filePath  Path as the service sees it, at most 4096 characters.
 * @retval VESK_VIDEO_ERR_FAILURE   @p filePath is null.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p filePath is too long.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetVirtualViSrc(uint32_t sourceId, const char* filePath);

/**
 * Makes an application the source of an engine.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo     Engine number.
 * @param appInParam  The application.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p appInParam is null or its taskHandle is 0.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetAppCaptureParam(uint32_t inEngNo, const VeskVideoAppInParam* appInParam);

/**
 * Passes the service the objects it needs on Android.
 *
 * @pre VeskVideoInit has been called.
 * @param javaVm       Java virtual machine; the whole address is sent.
 * @param javaContext  Application context; only the low 32 bits of the address are sent.
 * @retval VESK_VIDEO_ERR_FAILURE  Either pointer is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetAndroidContext(void* javaVm, void* javaContext);

/**
 * Passes the service what it needs to set up an Android media projection.
 *
 * @pre VeskVideoSetAndroidContext has passed the objects.
 * @param resultCode      Result code that the application obtained; sent sign-extended to 64 bits.
 * @param projectionData  Data handle; only the low 32 bits of the address are sent. May be null.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetAndroidProjection(int32_t resultCode, void* projectionData);

VESK_VIDEO_END

/** @} */

#endif
