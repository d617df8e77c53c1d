/**
 * @file
 * Framing of an input, electronic and mechanical, and the state of its camera. Threads, ownership and the
 * results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_FRAMING_H
#define VESK_VIDEO_FRAMING_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

enum {
    VESK_VIDEO_VI_PORT_MAX = 91 /**< The highest port number that the framing setters accept. */
};

/** Electronic framing (cut-out) parameters of a port; their contents are the service's. */
typedef struct VeskVideoEptzParams {
    uint32_t serviceData[197]; /**< The service's, carried unchanged. */
} VeskVideoEptzParams;
VESK_VIDEO_ASSERT_SIZE(VeskVideoEptzParams, 788);

/** Pan, tilt, zoom and focus parameters of a port; their contents are the service's. */
typedef struct VeskVideoPtzfParams {
    uint32_t serviceData[82]; /**< The service's, carried unchanged. */
} VeskVideoPtzfParams;
VESK_VIDEO_ASSERT_SIZE(VeskVideoPtzfParams, 328);

/**
 * Sets a port's electronic framing.
 *
 * @param port        Port number, @ref VESK_VIDEO_VI_PORT_MAX at most.
 * @param eptzParams  The parameters.
 * @return @ref VESK_VIDEO_ERR_PORT_INVALID when @p port is too high, which is looked at first; 1 also
 *         when @p eptzParams is null.
 */
VESK_VIDEO_API uint32_t VeskVideoSetViPortEptzParam(uint32_t port, const VeskVideoEptzParams* eptzParams);

/**
 * Sets a port's pan, tilt, zoom and focus.
 *
 * @param port        Port number, @ref VESK_VIDEO_VI_PORT_MAX at most.
 * @param ptzfParams  The parameters.
 * @return @ref VESK_VIDEO_ERR_PORT_INVALID when @p port is too high, which is looked at first; 1 also
 *         when @p ptzfParams is null.
 */
VESK_VIDEO_API uint32_t VeskVideoSetViPortPtzfParam(uint32_t port, const VeskVideoPtzfParams* ptzfParams);

/**
 * Reads an input's electronic framing.
 *
 * @param inEngNo     Engine number; its low 16 bits are sent.
 * @param eptzParams  Takes the parameters.
 * @return 1 also when @p eptzParams is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPortEptzParam(uint32_t inEngNo, VeskVideoEptzParams* eptzParams);

/**
 * Reads an input's pan, tilt, zoom and focus.
 *
 * @param inEngNo     Engine number; its low 16 bits are sent.
 * @param ptzfParams  Takes the parameters.
 * @return 2 also when @p ptzfParams is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPortPtzfParam(uint32_t inEngNo, VeskVideoPtzfParams* ptzfParams);

/** Executes tracking once. @param inEngNo Engine number; its low 16 bits are sent. */
VESK_VIDEO_API uint32_t VeskVideoExecutViPortTrackingParam(uint32_t inEngNo);

/**
 * Asks for a camera's pan and tilt status.
 *
 * @param inEngNo  Engine number; its low 16 bits are sent.
 * @param status   Takes the status byte; its values are the service's.
 * @return 1 also when @p status is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPortPtStatus(uint32_t inEngNo, uint8_t* status);

/**
 * Asks for a camera's autofocus status.
 *
 * @param inEngNo  Engine number; its low 16 bits are sent.
 * @param status   Takes the status byte; its values are the service's.
 * @return 1 also when @p status is null.
 */
VESK_VIDEO_API uint32_t VeskVideoGetViPortAFStatus(uint32_t inEngNo, uint8_t* status);

/**
 * Sets the speed of electronic framing moves.
 *
 * @param inEngNo        Engine number.
 * @param eptzMoveSpeed  The speed in the service's units; any value is sent.
 */
VESK_VIDEO_API uint32_t VeskVideoViSetEptzMoveSpeed(uint32_t inEngNo, int32_t eptzMoveSpeed);

VESK_VIDEO_END

#endif
