/**
 * @file
 * What every header of the interface shares: linkage, layout assertions and the result codes.
 *
 * Conventions that hold for every request function unless its own comment says otherwise:
 *
 * - Threads: any application thread may call, any number at once. A synchronous request blocks its
 *   caller alone, until the service has answered, and 5 seconds at most.
 * - Ownership: every pointer stays the caller's and is used only during the call.
 * - Out-parameters change only when the result is 0.
 * - Results: @ref VESK_VIDEO_OK, @ref VESK_VIDEO_ERR_FAILURE when the exchange failed on this side,
 *   @ref VESK_VIDEO_ERR_ARGUMENT when the transport refused a length, and every other value is the
 *   service's own code, passed on unchanged (16 bits; a service may answer 1 or 2 as well). A
 *   function's comment names only what it adds to these.
 */
#ifndef VESK_VIDEO_COMMON_H
#define VESK_VIDEO_COMMON_H

#include <stddef.h>
#include <stdint.h>

/** Marks what the shared library exports. */
#define VESK_VIDEO_API __attribute__((visibility("default")))

/** @cond the language's differences */
#ifdef __cplusplus
#define VESK_VIDEO_BEGIN extern "C" {
#define VESK_VIDEO_END }
#define VESK_VIDEO_STATIC_ASSERT(condition, text) static_assert(condition, text)
/** Parameter list of a function that ignores whatever it is given. */
#define VESK_VIDEO_ANY_ARGUMENTS ...
#else
#define VESK_VIDEO_BEGIN
#define VESK_VIDEO_END
#define VESK_VIDEO_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#if defined(__STDC_VERSION__) && __STDC_VERSION__ > 201710L
#define VESK_VIDEO_ANY_ARGUMENTS ...
#else
#define VESK_VIDEO_ANY_ARGUMENTS
#endif
#endif
/** @endcond */

/** Holds a record to the size that it has on the wire. */
#define VESK_VIDEO_ASSERT_SIZE(type, size)                                                                   \
    VESK_VIDEO_STATIC_ASSERT(sizeof(type) == (size), #type " must have " #size " bytes")

/** Holds a field to its offset on the wire. */
#define VESK_VIDEO_ASSERT_OFFSET(type, field, offset)                                                        \
    VESK_VIDEO_STATIC_ASSERT(offsetof(type, field) == (offset), #type "." #field " must be at " #offset)

/** Result codes made by the library itself; every other value comes from the service. */
enum {
    VESK_VIDEO_OK = 0,               /**< The service accepted the request. */
    VESK_VIDEO_ERR_FAILURE = 1,      /**< Failed on this side, or a null pointer in most requests. */
    VESK_VIDEO_ERR_ARGUMENT = 2,     /**< Refused argument: a range, a length, or a null pointer. */
    VESK_VIDEO_ERR_PORT_INVALID = 3, /**< A framing setter was given too high a port. */
    VESK_VIDEO_ERR_UVC_STREAM = 11   /**< Too high a UVC stream number. */
};

#endif
