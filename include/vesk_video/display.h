/**
 * @file
 * What an output shows: composition, display mode, default image, filter windows. Engine numbers come from
 * output.h. Threads, ownership and the results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_DISPLAY_H
#define VESK_VIDEO_DISPLAY_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_MAX_SUBPIC_NUM = 25, /**< Pictures that an output can show at once. */
    VESK_VIDEO_DISPLAY_MODE_MAX = 2 /**< The highest display mode. */
};

/** One picture of a composition. The bytes named serviceData are the service's, carried unchanged. */
typedef struct VeskVideoSubPicParam {
    uint8_t serviceData0[24]; /**< The service's, carried unchanged. */
    uint8_t decFlag;          /**< Nonzero when the picture comes from a decoder. */
    uint8_t serviceData1[3];  /**< The service's, carried unchanged. */
    uint32_t inputId;         /**< Input or decoder that is shown. */
    uint8_t sufaceFlag;       /**< The service's. */
    uint8_t serviceData2[7];  /**< The service's, carried unchanged. */
    uint64_t winHandle;       /**< Window handle of the application. */
    uint8_t serviceData3[8];  /**< The service's, carried unchanged. */
    uint32_t colorSpace;      /**< The service's. */
    uint8_t mirror;           /**< Nonzero mirrors the picture. */
    uint8_t serviceData4[3];  /**< The service's, carried unchanged. */
    uint32_t showMode;        /**< The service's. */
    uint8_t serviceData5[12]; /**< The service's, carried unchanged. */
    uint32_t basWidth;        /**< The service's. */
    uint32_t basHeight;       /**< The service's. */
    uint8_t serviceData6[96]; /**< The service's, carried unchanged. */
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

/** The pictures that an output shows. */
typedef struct VeskVideoVoMultiPicParam {
    uint32_t picNum;   /**< Pictures in use. */
    uint32_t reserved; /**< Carried unchanged. */
    VeskVideoSubPicParam
        subPic[VESK_VIDEO_MAX_SUBPIC_NUM]; /**< The pictures; entries behind picNum are carried, not read. */
} VeskVideoVoMultiPicParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoVoMultiPicParam, 4608);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoVoMultiPicParam, subPic, 8);

/** Display mode and frame rate. The bytes named serviceData are the service's, carried unchanged. */
typedef struct VeskVideoDisplayInfo {
    uint32_t displayMode;     /**< 0, 1 or 2. */
    uint8_t serviceData0[12]; /**< The service's, carried unchanged. */
    uint32_t fps;             /**< Frames per second. */
    uint8_t serviceData1[84]; /**< The service's, carried unchanged. */
} VeskVideoDisplayInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoDisplayInfo, 104);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoDisplayInfo, fps, 16);

/** One entry of a filter window list; its contents are the service's. */
typedef struct VeskVideoFilterWindow {
    uint32_t serviceData[2]; /**< The service's, carried unchanged. */
} VeskVideoFilterWindow;
VESK_VIDEO_ASSERT_SIZE(VeskVideoFilterWindow, 8);

/**
 * Sets the pictures that an output shows.
 *
 * @param outEngNo         Engine number.
 * @param voMultiPicParam  The pictures; all 4,608 bytes are sent.
 * @return 1 also when @p voMultiPicParam is null; 2 also when its picNum is above
 *         @ref VESK_VIDEO_MAX_SUBPIC_NUM.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetSrc(uint32_t outEngNo, const VeskVideoVoMultiPicParam* voMultiPicParam);

/**
 * Sets display mode and frame rate.
 *
 * @param displayInfo  The mode.
 * @return 2 also when @p displayInfo is null or its displayMode above 2.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetDisplayMode(const VeskVideoDisplayInfo* displayInfo);

/**
 * Sets an output's default image.
 *
 * @param imageParam1  The service's.
 * @param imageParam2  The service's.
 * @param filePath     Path of 4,095 characters at most, as the service sees it.
 * @return 2 also when @p filePath is null or too long.
 */
VESK_VIDEO_API uint32_t VeskVideoVoSetDefaultImage(uint32_t imageParam1, uint32_t imageParam2,
                                                   const char* filePath);

/** Switches SR. @param enable Nonzero switches it on. */
VESK_VIDEO_API uint32_t VeskVideoVoSetByomSrEnable(uint8_t enable);

/**
 * Adds filter windows.
 *
 * @param filterParam  The service's.
 * @param windowCount  Entries at @p windowList.
 * @param windowList   Array of VeskVideoFilterWindow, or null to send none.
 * @return 2 also when @p windowList is not null and @p windowCount is 0.
 */
VESK_VIDEO_API uint32_t VeskVideoAddFilterWindows(uint32_t filterParam, uint32_t windowCount,
                                                  const void* windowList);

/**
 * Takes filter windows away.
 *
 * @param filterParam  The service's.
 * @param windowCount  Entries at @p windowList.
 * @param windowList   Array of VeskVideoFilterWindow, or null to send none.
 * @return 2 also when @p windowList is not null and @p windowCount is 0.
 */
VESK_VIDEO_API uint32_t VeskVideoDeleteFilterWindows(uint32_t filterParam, uint32_t windowCount,
                                                     const void* windowList);

/**
 * Says that a window of the application is gone.
 *
 * @param outEngNo   Engine number.
 * @param winHandle  The window's handle, as VeskVideoSubPicParam::winHandle held it.
 */
VESK_VIDEO_API uint32_t VeskVideoVoNotifyWindowDestroyed(uint32_t outEngNo, void* winHandle);

VESK_VIDEO_END

#endif
