/**
 * @file
 * Bounds-checked memory functions. Both return 0, or nonzero without writing anything when the count
 * exceeds the capacity or a pointer is null.
 */
#ifndef PLATFORM_SECURE_MEMORY_H
#define PLATFORM_SECURE_MEMORY_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Copies @p count bytes to @p dest, which holds @p destMax. */
int memcpy_s(void* dest, size_t destMax, const void* src, size_t count);

/** Sets @p count bytes at @p dest, which holds @p destMax, to @p value. */
int memset_s(void* dest, size_t destMax, int value, size_t count);

#ifdef __cplusplus
}
#endif

#endif
