/**
 * @file
 * Remote and local mouse-pointer streams. The life of a stream is kept by the service: open (which yields
 * its number), set queue and parameters, connect or attach, start, stop, close. Threads, ownership and the
 * results that all requests share: see common.h.
 */
#ifndef VESK_VIDEO_MOUSE_H
#define VESK_VIDEO_MOUSE_H

#include "vesk_video/common.h"

VESK_VIDEO_BEGIN

/** Background area of a remote pointer; its contents are the service's. */
typedef struct VeskVideoMouseArea {
    uint32_t serviceData[4]; /**< The service's, carried unchanged. */
} VeskVideoMouseArea;
VESK_VIDEO_ASSERT_SIZE(VeskVideoMouseArea, 16);

/** Parameters of a local pointer; their contents are the service's. */
typedef struct VeskVideoLocalMouseParam {
    uint32_t serviceData[2]; /**< The service's, carried unchanged. */
} VeskVideoLocalMouseParam;
VESK_VIDEO_ASSERT_SIZE(VeskVideoLocalMouseParam, 8);

/**
 * Opens a remote mouse stream.
 *
 * @param openParam   The service's.
 * @param mouseStmNo  Takes its stream number.
 * @return 1 also when @p mouseStmNo is null.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseOpen(uint8_t openParam, uint32_t* mouseStmNo);

/**
 * Names the queue of a remote mouse stream.
 *
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @param queId       Queue identifier.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseSetQueHandle(uint32_t mouseStmNo, uint32_t queId);

/**
 * Connects a remote mouse stream to a decoder.
 *
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @param decStmNo    Decoder stream number.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseConnect(uint32_t mouseStmNo, uint32_t decStmNo);

/** Starts a remote mouse stream. @param mouseStmNo Stream number; its low 16 bits are sent. */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseStart(uint32_t mouseStmNo);

/** Stops a remote mouse stream. @param mouseStmNo Stream number; its low 16 bits are sent. */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseStop(uint32_t mouseStmNo);

/** Closes a remote mouse stream. @param mouseStmNo Stream number; its low 16 bits are sent. */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseClose(uint32_t mouseStmNo);

/**
 * Sets the background area of a remote mouse stream.
 *
 * @param mouseStmNo  Stream number.
 * @param area        The area.
 * @return 1 also when @p area is null.
 */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseSetBackgroundArea(uint32_t mouseStmNo,
                                                              const VeskVideoMouseArea* area);

/**
 * Opens a local mouse stream.
 *
 * @param localMouseStmNo  Takes its stream number.
 * @return 1 also when @p localMouseStmNo is null.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseOpen(uint32_t* localMouseStmNo);

/** Starts a local mouse stream. @param mouseStmNo Stream number; its low 16 bits are sent. */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseStart(uint32_t mouseStmNo);

/** Stops a local mouse stream. @param mouseStmNo Stream number; its low 16 bits are sent. */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseStop(uint32_t mouseStmNo);

/**
 * Makes a local mouse stream independent, or not.
 *
 * @param mouseStmNo   Stream number.
 * @param independent  Nonzero: independent.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseSetIndependent(uint32_t mouseStmNo, uint8_t independent);

/**
 * Sets the parameters of a local mouse stream.
 *
 * @param mouseStmNo  Stream number.
 * @param param       The parameters; null sends none, and the service judges.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseSetParam(uint32_t mouseStmNo,
                                                    const VeskVideoLocalMouseParam* param);

/**
 * Attaches a local mouse stream.
 *
 * @param mouseStmNo  Stream number.
 * @param attachId    What to; the service's.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseAttach(uint32_t mouseStmNo, uint32_t attachId);

/**
 * Shows or hides a local pointer.
 *
 * @param mouseStmNo  Stream number.
 * @param enable      Nonzero shows it.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseShowEnable(uint32_t mouseStmNo, uint8_t enable);

/**
 * Names the queue of a local mouse stream.
 *
 * @param mouseStmNo  Stream number; its low 16 bits are sent.
 * @param queId       Queue identifier.
 */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseSetQueHandle(uint32_t mouseStmNo, uint32_t queId);

/** Closes a local mouse stream. @param mouseStmNo Stream number; its low 16 bits are sent. */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseClose(uint32_t mouseStmNo);

/** Does nothing, whatever it is given; sends nothing. @return 0. */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseSetIndependent(VESK_VIDEO_ANY_ARGUMENTS);

/** Does nothing, whatever it is given; sends nothing. @return 0. */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseAttach(VESK_VIDEO_ANY_ARGUMENTS);

/** Does nothing, whatever it is given; sends nothing. @return 0. */
VESK_VIDEO_API uint32_t VeskVideoRemoteMouseForwardEnable(VESK_VIDEO_ANY_ARGUMENTS);

/** Does nothing, whatever it is given; sends nothing. @return 0. */
VESK_VIDEO_API uint32_t VeskVideoLocalMouseSetShowArea(VESK_VIDEO_ANY_ARGUMENTS);

VESK_VIDEO_END

#endif
