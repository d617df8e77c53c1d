/**
 * @file
 * @copybrief displays
 *
 * @copydetails displays
 *
 * @defgroup displays Displays
 * What an output shows: composition, display mode, default image and filter windows.
 *
 * Composition and windows belong to an engine, which VeskVideoVoOpen (@ref outputs) opens; what a picture
 * comes from is opened or created before the composition is set. All else holds for displays whether they are
 * open or not.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_DISPLAY_H
#define VESK_VIDEO_DISPLAY_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_MAX_SUBPIC_NUM = 25, /**< Maximum number of pictures on one output. */
    VESK_VIDEO_DISPLAY_MODE_MAX = 2 /**< The highest display mode. */
};

/** One picture of a composition. */
typedef struct VeskVideoSubPicParam {
    uint8_t serviceData0[24];
    uint8_t decFlag; /**< Nonzero if the picture comes from a decoder. */
    uint8_t serviceData1[3];
    uint32_t inputId;   /**< Number of the input or decoder that is shown. */
    uint8_t sufaceFlag; /**< Service-defined; spelt so on the device. */
    uint8_t serviceData2[7];
    uint64_t winHandle; /**< Window handle of the application. */
    uint8_t serviceData3[8];
    uint32_t colorSpace; /**< Color space; service-defined. */
    uint8_t mirror;      /**< Nonzero mirrors the picture. */
    uint8_t serviceData4[3];
    uint32_t showMode; /**< Service-defined. */
    uint8_t serviceData5[12];
    uint32_t basWidth;  /**< Service-defined. */
    uint32_t basHeight; /**< Service-defined. */
    uint8_t serviceData6[96];
} VeskVideoSubPicParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoSubPicParam, 184);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, decFlag, 24);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, inputId, 28);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, sufaceFlag, 32);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, winHandle, 40);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, colorSpace, 56);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, mirror, 60);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, showMode, 64);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, basWidth, 80);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoSubPicParam, basHeight, 84);

/** Composition of the pictures that an output shows. */
typedef struct VeskVideoVoMultiPicParam {
    uint32_t picNum;                                        /**< Number of pictures in use. */
    uint32_t reserved;                                      /**< Passed on unchanged. */
    VeskVideoSubPicParam subPic[VESK_VIDEO_MAX_SUBPIC_NUM]; /**< Only the first picNum are used. */
} VeskVideoVoMultiPicParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoMultiPicParam, 4608);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoMultiPicParam, subPic, 8);

/** Display mode and frame rate. */
typedef struct VeskVideoDisplayInfo {
    uint32_t displayMode; /**< 0, 1 or 2. */
    uint8_t serviceData0[12];
    uint32_t fps; /**< Frames per second. */
    uint8_t serviceData1[84];
} VeskVideoDisplayInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDisplayInfo, 104);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDisplayInfo, fps, 16);

/** One entry of a list of filter windows; opaque. */
typedef struct VeskVideoFilterWindow {
    uint32_t serviceData[2];
} VeskVideoFilterWindow;
VESK_VIDEO_ASSERT_SIZE(VeskVideoFilterWindow, 8);

/**
 * Sets the pictures that an output shows.
 *
 * @pre VeskVideoVoOpen has opened the engine, and the input engines and decoders that it is to show
 *      exist.
 * @param outEngNo         Engine number.
 * @param voMultiPicParam  The composition; always sent whole.
 * @retval VESK_VIDEO_ERR_FAILURE   @p voMultiPicParam is null.
 * @retval VESK_VIDEO_ERR_ARGUMENT  Its picNum exceeds @ref VESK_VIDEO_MAX_SUBPIC_NUM.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetSrc(uint32_t outEngNo, const VeskVideoVoMultiPicParam* voMultiPicParam);

/**
 * Sets the display mode and the frame rate.
 *
 * @pre VeskVideoInit has been called.
 * @param displayInfo  Mode and frame rate.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p displayInfo is null, or its displayMode exceeds
 *         @ref VESK_VIDEO_DISPLAY_MODE_MAX.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetDisplayMode(const VeskVideoDisplayInfo* displayInfo);

/**
 * Sets an output's default image.
 *
 * @pre VeskVideoInit has been called.
 * @param imageParam1  Service-defined.
 * @param imageParam2  Service-defined.
 * @param filePath     Path as the service sees it, at most 4095 characters.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p filePath is null or too long.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetDefaultImage(uint32_t imageParam1, uint32_t imageParam2,
                                                   const char* filePath);

/**
 * Switches SR on or off.
 *
 * @pre VeskVideoInit has been called.
 * @param enable  Nonzero: on.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetByomSrEnable(uint8_t enable);

/**
 * Adds filter windows.
 *
 * @pre VeskVideoInit has been called.
 * @param filterParam  Service-defined.
 * @param windowCount  Number of entries in @p windowList.
 * @param windowList   Array of VeskVideoFilterWindow; null sends none.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p windowList is not null, and @p windowCount is 0 or the list does not
 *         fit into a message.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoAddFilterWindows(uint32_t filterParam, uint32_t windowCount,
                                                  const void* windowList);

/**
 * Removes filter windows.
 *
 * @pre VeskVideoAddFilterWindows has added the windows, with the same @p filterParam.
 * @param filterParam  Service-defined.
 * @param windowCount  Number of entries in @p windowList.
 * @param windowList   Array of VeskVideoFilterWindow; null sends none.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p windowList is not null, and @p windowCount is 0 or the list does not
 *         fit into a message.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoDeleteFilterWindows(uint32_t filterParam, uint32_t windowCount,
                                                     const void* windowList);

/**
 * Tells the service that the application has destroyed a window.
 *
 * @pre VeskVideoVoSetSrc has set a picture with this window handle.
 * @param outEngNo   Engine number.
 * @param winHandle  Handle of the window, as given in VeskVideoSubPicParam::winHandle.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoVoNotifyWindowDestroyed(uint32_t outEngNo, void* winHandle);

VESK_VIDEO_END

/** @} */

#endif
