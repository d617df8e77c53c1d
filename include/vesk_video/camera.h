/**
 * @file
 * Camera commands and presets. Threads, ownership and the results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_CAMERA_H
#define VESK_VIDEO_CAMERA_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Camera command numbers that the library knows; all others are the service's. */
enum {
    VESK_VIDEO_CAM_CTRL_QUERY = 16, /**< The one command that the service answers with data. */
    VESK_VIDEO_CAM_CTRL_MAX = 22    /**< The highest command number. */
};

/** One camera preset. */
typedef struct VeskVideoPresetInfo {
    uint8_t isValid;    /**< Nonzero when the preset is valid. */
    uint8_t padding[3]; /**< Not read. */
    uint32_t presetId;  /**< The preset's number. */
} VeskVideoPresetInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoPresetInfo, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoPresetInfo, presetId, 4);

/** Whether a camera stands at a boundary; its contents are the service's. */
typedef struct VeskVideoBoundaryState {
    uint32_t serviceData[2]; /**< The service's, carried unchanged. */
} VeskVideoBoundaryState;
VESK_VIDEO_ASSERT_SIZE(VeskVideoBoundaryState, 8);

/**
 * Gives a camera a command. How it ended may also be notified (VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY).
 *
 * @param inEngNo      Engine number.
 * @param cmdType      Command number, @ref VESK_VIDEO_CAM_CTRL_MAX at most; negative ones are sent.
 * @param ctrlData     For @ref VESK_VIDEO_CAM_CTRL_QUERY it takes the answer. Others: data of the
 *                     command, or null for none.
 * @param ctrlDataLen  Bytes at @p ctrlData; a query must be answered with exactly as many.
 * @return 2 also when @p cmdType is too high, or a query has no buffer.
 */
VESK_VIDEO_API uint32_t VeskVideoCamControl(uint32_t inEngNo, int32_t cmdType, void* ctrlData,
                                            uint32_t ctrlDataLen);

/**
 * Stores a preset.
 *
 * @param engNo       Engine number; its low 16 bits are sent.
 * @param presetInfo  The preset.
 * @return 1 also when @p presetInfo is null.
 */
VESK_VIDEO_API uint32_t VeskVideoCamSetPreset(uint32_t engNo, const VeskVideoPresetInfo* presetInfo);

/**
 * Asks how many presets are stored.
 *
 * @param count  Takes the number.
 * @return 1 also when @p count is null.
 */
VESK_VIDEO_API uint32_t VeskVideoCamGetPresetCount(uint32_t* count);

/**
 * Lists presets.
 *
 * @param presetSelector  What to list; the service's.
 * @param presetInfo      Array of @p presetCount entries to fill.
 * @param presetCount     Its entries; the service must answer with exactly as many.
 * @return 1 also when @p presetInfo is null; 2 also when @p presetCount is 0.
 */
VESK_VIDEO_API uint32_t VeskVideoCamQueryPreset(uint32_t presetSelector, VeskVideoPresetInfo* presetInfo,
                                                uint32_t presetCount);

/**
 * Asks for a camera's boundary state.
 *
 * @param inEngNo        Engine number; its low 16 bits are sent.
 * @param boundaryState  Takes the state.
 * @return 1 also when @p boundaryState is null.
 */
VESK_VIDEO_API uint32_t VeskVideoCamGetBoundaryState(uint32_t inEngNo, VeskVideoBoundaryState* boundaryState);

/** Does nothing, whatever it is given; sends nothing. @return 0. */
VESK_VIDEO_API uint32_t VeskVideoCamGetPreset(VESK_VIDEO_ANY_ARGUMENTS);

/** Does nothing, whatever it is given; sends nothing. @return 0. */
VESK_VIDEO_API uint32_t VeskVideoCamGetPosition(VESK_VIDEO_ANY_ARGUMENTS);

VESK_VIDEO_END

#endif
