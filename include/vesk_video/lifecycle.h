/**
 * @file
 * Start, stop and identity of the library.
 */
#ifndef VESK_VIDEO_LIFECYCLE_H
#define VESK_VIDEO_LIFECYCLE_H

#include "vesk_video/message.h"

#ifdef __cplusplus
#include <string>
#endif

VESK_VIDEO_BEGIN

/** Payload of VESK_VIDEO_MSG_INIT: where the service sends this client's notifications. */
typedef struct VeskVideoInitInfo {
    char procName[VESK_VIDEO_NAME_SIZE]; /**< Service name, NUL-terminated, zero-padded. */
    char taskName[VESK_VIDEO_NAME_SIZE]; /**< "VAPI", zero-padded. */
} VeskVideoInitInfo;
VESK_VIDEO_ASSERT_SIZE(VeskVideoInitInfo, 32);
VESK_VIDEO_ASSERT_OFFSET(VeskVideoInitInfo, taskName, 16);

/**
 * Starts the use of the library: settles the service name, forgets any callback, starts the receive
 * task "VAPI" and announces this process to the service (VESK_VIDEO_MSG_INIT).
 *
 * Call it before any other request, from one thread. Calling it again repeats every step. A receive
 * task that could not be registered is logged and does not fail the call: requests then work, but
 * no notification arrives.
 *
 * @return 0; 1 when a copy failed or the exchange failed; else the service's code.
 */
VESK_VIDEO_API uint32_t VeskVideoInit(void);

/**
 * Ends the use of the library: forgets the callback and tells the service, without waiting
 * (VESK_VIDEO_MSG_EXIT). The receive task stays; notifications 100 to 103 that still arrive are held
 * for the next callback, all others are dropped.
 *
 * @return 0; else what the asynchronous send returned.
 */
VESK_VIDEO_API uint32_t VeskVideoExit(void);

/**
 * Writes the library's version, "2.1.2.6.SP00".
 *
 * @param versionBuf     Takes the text and its NUL, 13 bytes.
 * @param versionBufLen  Bytes at @p versionBuf.
 * @return 0; 1 when @p versionBuf is null or @p versionBufLen is below 13.
 */
VESK_VIDEO_API uint32_t VeskVideoGetVersion(char* versionBuf, uint32_t versionBufLen);

#ifdef __cplusplus
/**
 * Hook that names this process; called by VeskVideoInit through the dynamic symbol. An application
 * that exports a definition of its own replaces the library's, which names nothing and returns 1.
 *
 * @param name  Takes the process name, 15 characters at most.
 * @return 0 when @p name was set; otherwise, and for a longer name, "MediaCtlSrvPro" is used.
 */
VESK_VIDEO_API int GetSelfProcName(std::string& name);
#endif

VESK_VIDEO_END

#endif
