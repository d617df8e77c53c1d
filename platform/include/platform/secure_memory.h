/**
 * @file
 * Bounds-checked memory functions. Any thread may call. Both return 0 on success. If the count exceeds the
 * capacity or a pointer is null, they write nothing and return nonzero.
 */
#ifndef PLATFORM_SECURE_MEMORY_H
#define PLATFORM_SECURE_MEMORY_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Copies @p count bytes from @p src to @p dest, which has a capacity of @p destMax bytes. */
int memcpy_s(void* dest, size_t destMax, const void* src, size_t count);

/** Sets the first @p count bytes of @p dest, which has a capacity of @p destMax bytes, to @p value. */
int memset_s(void* dest, size_t destMax, int value, size_t count);

#ifdef __cplusplus
}
#endif

#endif
