/**
 * @file
 * @copybrief cameras
 *
 * @copydetails cameras
 *
 * @defgroup cameras Cameras
 * Moves cameras by command, stores and lists presets, and reads whether a camera is at a limit.
 *
 * Cameras are named by the engine that reads their port, so VeskVideoViOpen (@ref inputs) comes first; the
 * engine need not be started. Presets are kept with the port and outlive the engine.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_CAMERA_H
#define VESK_VIDEO_CAMERA_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Camera command numbers known to the library; all others are service-defined. */
enum {
    VESK_VIDEO_CAM_CTRL_QUERY = 16, /**< The only command whose answer carries data. */
    VESK_VIDEO_CAM_CTRL_MAX = 22    /**< The highest command number. */
};

/** One camera preset. */
typedef struct VeskVideoPresetInfo {
    uint8_t isValid; /**< Nonzero if the preset is valid. */
    uint8_t padding[3];
    uint32_t presetId; /**< The preset's number. */
} VeskVideoPresetInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoPresetInfo, 8);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoPresetInfo, presetId, 4);

/** Whether a camera is at a limit of its range; opaque. */
typedef struct VeskVideoBoundaryState {
    uint32_t serviceData[2];
} VeskVideoBoundaryState;
VESK_VIDEO_ASSERT_SIZE(VeskVideoBoundaryState, 8);

/**
 * Sends a command to a camera. Its outcome may also be notified (VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY).
 *
 * @pre VeskVideoViOpen has opened the engine, and its port has a camera. For all commands but the query,
 *      the camera is plugged in.
 * @param inEngNo      Engine number.
 * @param cmdType      Command number, at most @ref VESK_VIDEO_CAM_CTRL_MAX; negative numbers are sent too.
 * @param ctrlData     Receives the answer to @ref VESK_VIDEO_CAM_CTRL_QUERY. For other commands: data to
 *                     send, or null for none.
 * @param ctrlDataLen  Size of @p ctrlData in bytes; the answer to a query must have exactly this size.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p cmdType is too high, a query has no buffer, or @p ctrlDataLen is 0
 *         although @p ctrlData is not null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoCamControl(uint32_t inEngNo, int32_t cmdType, void* ctrlData,
                                            uint32_t ctrlDataLen);

/**
 * Stores a preset.
 *
 * @pre VeskVideoViOpen has opened the engine, and its port has a camera.
 * @param engNo       Engine number; its low 16 bits are sent.
 * @param presetInfo  The preset.
 * @retval VESK_VIDEO_ERR_FAILURE  @p presetInfo is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoCamSetPreset(uint32_t engNo, const VeskVideoPresetInfo* presetInfo);

/**
 * Gets the number of stored presets.
 *
 * @pre VeskVideoInit has been called.
 * @param count  Receives the number.
 * @retval VESK_VIDEO_ERR_FAILURE  @p count is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoCamGetPresetCount(uint32_t* count);

/**
 * Lists presets.
 *
 * @pre If @p presetSelector is the number of an engine, VeskVideoViOpen has opened it.
 * @param presetSelector  Selects the presets to list; service-defined.
 * @param presetInfo      Receives @p presetCount entries.
 * @param presetCount     Number of entries; the service must answer with exactly this many.
 * @retval VESK_VIDEO_ERR_FAILURE   @p presetInfo is null.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p presetCount is 0.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoCamQueryPreset(uint32_t presetSelector, VeskVideoPresetInfo* presetInfo,
                                                uint32_t presetCount);

/**
 * Gets a camera's boundary state.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo        Engine number; its low 16 bits are sent.
 * @param boundaryState  Receives the state.
 * @retval VESK_VIDEO_ERR_FAILURE  @p boundaryState is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoCamGetBoundaryState(uint32_t inEngNo, VeskVideoBoundaryState* boundaryState);

/**
 * Does nothing: accepts any arguments and sends no request.
 *
 * @return Always @ref VESK_VIDEO_OK.
 */
VESK_VIDEO_API uint32_t VeskVideoCamGetPreset(VESK_VIDEO_ANY_ARGUMENTS);

/**
 * Does nothing: accepts any arguments and sends no request.
 *
 * @return Always @ref VESK_VIDEO_OK.
 */
VESK_VIDEO_API uint32_t VeskVideoCamGetPosition(VESK_VIDEO_ANY_ARGUMENTS);

VESK_VIDEO_END

/** @} */

#endif
