/**
 * @file
 * @copybrief conventions
 *
 * @copydetails conventions
 *
 * @defgroup conventions Conventions
 * What holds for all functions: threads, ownership, order, result codes and service-defined values.
 *
 * A function's own comment says where it differs.
 *
 * **Threads.** Any thread may call, and any number of threads may call at the same time. A synchronous
 * request blocks only its caller, until the service answers, for at most 5 seconds.
 *
 * **Ownership.** The caller keeps every pointer it passes; the library uses it only during the call. An
 * out-parameter is written only when the result is 0.
 *
 * **Order.** VeskVideoInit comes before every other request. What else must come before a request is the
 * precondition of its function, and the group of the function lists the steps. The service holds a client to
 * the order: a request that comes too early is refused with a code of the service. The library sends every
 * request as it comes.
 *
 * **Common result codes.** A function's comment lists only the causes that it adds to these:
 *
 * - @ref VESK_VIDEO_OK (0): the service accepted the request.
 * - @ref VESK_VIDEO_ERR_FAILURE (1): the exchange with the service failed, or its answer was malformed.
 * - @ref VESK_VIDEO_ERR_ARGUMENT (2): the transport refused a length that is 0 or makes the message longer
 *   than @ref VESK_VIDEO_MAX_MESSAGE_SIZE.
 * - Any other value is the service's own 16-bit code, passed on unchanged. It may also be 1 or 2.
 *
 * **Service-defined values.** The meaning, range and unit of a service-defined value are up to the service;
 * the library passes it on unchanged. A record is opaque if all of its contents are service-defined. These
 * fields mean the same in every record and have no comment of their own:
 *
 * - `serviceData`: opaque bytes. The library does not interpret them.
 * - `param0`, `exParam3`, `value` and the like: service-defined numbers. The library may log them.
 * - `padding`: sent as it is, and not interpreted by either side.
 * @{
 */
#ifndef VESK_VIDEO_COMMON_H
#define VESK_VIDEO_COMMON_H

#include <stddef.h>
#include <stdint.h>

/** Marks a function or variable that the shared library exports. */
#define VESK_VIDEO_API __attribute__((visibility("default")))

/** @cond differences between C and C++ */
#ifdef __cplusplus
#define VESK_VIDEO_BEGIN extern "C" {
#define VESK_VIDEO_END }
#define VESK_VIDEO_STATIC_ASSERT(condition, text) static_assert(condition, text)
/** Parameter list of a function that accepts and ignores any arguments. */
#define VESK_VIDEO_ANY_ARGUMENTS ...
#else
#define VESK_VIDEO_BEGIN
#define VESK_VIDEO_END
#define VESK_VIDEO_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
// C23 reads "()" as "no arguments" and allows "..." alone. The C2x modes of earlier compilers, which report
// 202000L, do so only from these versions on.
#if defined(__STDC_VERSION__) && __STDC_VERSION__ > 201710L &&                                               \
    (__STDC_VERSION__ >= 202311L || (defined(__clang__) ? __clang_major__ >= 15 : __GNUC__ >= 13))
#define VESK_VIDEO_ANY_ARGUMENTS ...
#else
#define VESK_VIDEO_ANY_ARGUMENTS
#endif
#endif
/** @endcond */

/** Asserts at compile time that a record has its size on the wire. */
#define VESK_VIDEO_ASSERT_SIZE(type, size)                                                                   \
    VESK_VIDEO_STATIC_ASSERT(sizeof(type) == (size), #type " must have " #size " bytes")

/** Asserts at compile time that a field is at its offset on the wire. */
#define VESK_VIDEO_ASSERT_OFFSET(type, field, offset)                                                        \
    VESK_VIDEO_STATIC_ASSERT(offsetof(type, field) == (offset), #type "." #field " must be at " #offset)

/** Result codes of the library itself; every other value comes from the service. */
enum {
    VESK_VIDEO_OK = 0,               /**< Success. */
    VESK_VIDEO_ERR_FAILURE = 1,      /**< The exchange failed, or (most functions) a pointer is null. */
    VESK_VIDEO_ERR_ARGUMENT = 2,     /**< An argument is out of range or has a bad length, or is null. */
    VESK_VIDEO_ERR_PORT_INVALID = 3, /**< The port number of a framing setter is too high. */
    VESK_VIDEO_ERR_UVC_STREAM = 11   /**< The UVC stream number is too high. */
};

/** @} */

#endif
