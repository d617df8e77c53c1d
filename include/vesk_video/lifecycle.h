/**
 * @file
 * @copybrief lifecycle
 *
 * @copydetails lifecycle
 *
 * @defgroup lifecycle Lifecycle
 * Initialisation, shutdown and version of the library, and the name of this process.
 * @{
 */
#ifndef VESK_VIDEO_LIFECYCLE_H
#define VESK_VIDEO_LIFECYCLE_H

#include "vesk_video/message.h"

#ifdef __cplusplus
#include <string>
#endif

VESK_VIDEO_BEGIN

/** Payload of VESK_VIDEO_MSG_INIT: the task to which the service sends this client's notifications. */
typedef struct VeskVideoInitInfo {
    char procName[VESK_VIDEO_NAME_SIZE]; /**< Name of this process, zero-padded. */
    char taskName[VESK_VIDEO_NAME_SIZE]; /**< "VAPI", zero-padded. */
} VeskVideoInitInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoInitInfo, 32);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoInitInfo, taskName, 16);

/**
 * Starts using the library: determines this process's name, removes any callback, starts the receive task
 * "VAPI" and announces the process to the service (VESK_VIDEO_MSG_INIT).
 *
 * Call it from one thread, before any other request. Calling it again repeats all of these steps. If the
 * receive task cannot be registered, that is logged and the call goes on: requests then work, but no
 * notifications arrive.
 *
 * @pre The video service is running.
 * @return A common result code (common.h).
 */
VESK_VIDEO_API uint32_t VeskVideoInit(void);

/**
 * Stops using the library: removes the callback and tells the service (VESK_VIDEO_MSG_EXIT), without
 * waiting for an answer.
 *
 * A callback that is running on another thread may still be running when this function returns. The receive
 * task keeps running: notifications 100 to 103 that still arrive are held for the next callback, all others
 * are dropped.
 *
 * @pre VeskVideoInit has been called.
 * @return See VeskVideoSendAsyncMsg.
 */
VESK_VIDEO_API uint32_t VeskVideoExit(void);

/**
 * Gets the version of the library as text.
 *
 * @param versionBuf     Receives the NUL-terminated text: 13 bytes, including the NUL.
 * @param versionBufLen  Size of @p versionBuf in bytes.
 * @retval VESK_VIDEO_OK           The text was copied.
 * @retval VESK_VIDEO_ERR_FAILURE  @p versionBuf is null or smaller than 13 bytes.
 */
VESK_VIDEO_API uint32_t VeskVideoGetVersion(char* versionBuf, uint32_t versionBufLen);

#ifdef __cplusplus
/**
 * Hook that names this process. VeskVideoInit calls it through its dynamic symbol, so an application can
 * export a definition of its own. The library's default definition returns 1.
 *
 * An application in C links vesk::process_name instead, an archive with a definition that gives the name of
 * the program, cut to 15 characters.
 *
 * @param name  Receives the process name, at most 15 characters.
 * @return 0 if @p name was set. For any other result, and for a longer name, VeskVideoInit uses
 *         "MediaCtlSrvPro".
 */
VESK_VIDEO_API int GetSelfProcName(std::string& name);
#endif

VESK_VIDEO_END

/** @} */

#endif
