/**
 * @file
 * @copybrief framing
 *
 * @copydetails framing
 *
 * @defgroup framing Framing
 * Electronic and mechanical framing of an input, and the status of its camera.
 *
 * The setters name a port, which need not be open. The getters, tracking and the move speed name the engine
 * that VeskVideoViOpen (@ref inputs) returns; tracking also needs it started.
 *
 * Threading, ownership and the common result codes: see common.h.
 * @{
 */
#ifndef VESK_VIDEO_FRAMING_H
#define VESK_VIDEO_FRAMING_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_VI_PORT_MAX = 91 /**< The highest port number that the setters accept. */
};

/** Electronic pan, tilt and zoom (cut-out) parameters of a port; opaque. */
typedef struct VeskVideoEptzParams {
    uint32_t serviceData[197];
} VeskVideoEptzParams;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEptzParams, 788);

/** Pan, tilt, zoom and focus parameters of a port; opaque. */
typedef struct VeskVideoPtzfParams {
    uint32_t serviceData[82];
} VeskVideoPtzfParams;
VESK_VIDEO_ASSERT_SIZE(VeskVideoPtzfParams, 328);

/**
 * Sets the electronic framing of a port.
 *
 * @pre VeskVideoInit has been called. The port need not be open.
 * @param port        Port number, at most @ref VESK_VIDEO_VI_PORT_MAX.
 * @param eptzParams  The parameters.
 * @retval VESK_VIDEO_ERR_PORT_INVALID  @p port is too high; checked first.
 * @retval VESK_VIDEO_ERR_FAILURE       @p eptzParams is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetViPortEptzParam(uint32_t port, const VeskVideoEptzParams* eptzParams);

/**
 * Sets pan, tilt, zoom and focus of a port.
 *
 * @pre VeskVideoInit has been called. The port need not be open.
 * @param port        Port number, at most @ref VESK_VIDEO_VI_PORT_MAX.
 * @param ptzfParams  The parameters.
 * @retval VESK_VIDEO_ERR_PORT_INVALID  @p port is too high; checked first.
 * @retval VESK_VIDEO_ERR_FAILURE       @p ptzfParams is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoSetViPortPtzfParam(uint32_t port, const VeskVideoPtzfParams* ptzfParams);

/**
 * Gets the electronic framing of an input.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo     Engine number; its low 16 bits are sent.
 * @param eptzParams  Receives the parameters.
 * @retval VESK_VIDEO_ERR_FAILURE  @p eptzParams is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPortEptzParam(uint32_t inEngNo, VeskVideoEptzParams* eptzParams);

/**
 * Gets pan, tilt, zoom and focus of an input.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo     Engine number; its low 16 bits are sent.
 * @param ptzfParams  Receives the parameters.
 * @retval VESK_VIDEO_ERR_ARGUMENT  @p ptzfParams is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPortPtzfParam(uint32_t inEngNo, VeskVideoPtzfParams* ptzfParams);

/**
 * Runs tracking once.
 *
 * @pre VeskVideoViStart has started the engine, and its port has a camera that is plugged in.
 * @param inEngNo  Engine number; its low 16 bits are sent.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoExecutViPortTrackingParam(uint32_t inEngNo);

/**
 * Gets a camera's pan and tilt status.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo  Engine number; its low 16 bits are sent.
 * @param status   Receives the status; service-defined.
 * @retval VESK_VIDEO_ERR_FAILURE  @p status is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPortPtStatus(uint32_t inEngNo, uint8_t* status);

/**
 * Gets a camera's autofocus status.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo  Engine number; its low 16 bits are sent.
 * @param status   Receives the status; service-defined.
 * @retval VESK_VIDEO_ERR_FAILURE  @p status is null.
 * @return Otherwise a common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPortAFStatus(uint32_t inEngNo, uint8_t* status);

/**
 * Sets the speed of electronic framing movements.
 *
 * @pre VeskVideoViOpen has opened the engine.
 * @param inEngNo        Engine number.
 * @param eptzMoveSpeed  Speed; service-defined.
 * @return A common result code.
 */
VESK_VIDEO_API uint32_t VeskVideoViSetEptzMoveSpeed(uint32_t inEngNo, int32_t eptzMoveSpeed);

VESK_VIDEO_END

/** @} */

#endif
