/**
 * @file
 * The platform's two log sinks. Any thread may call; the format and its values are used only during
 * the call.
 */
#ifndef PLATFORM_OS_LOG_H
#define PLATFORM_OS_LOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Trace facade: writes the line when @p level is not above @p threshold.
 *
 * @param threshold  What ZORA_GetVideoTracLevel returned just before.
 * @param level      1 error, 3 information, 4 detail.
 * @param module     Module tag.
 * @param function   Name of the function that traces.
 * @param line       Its source line.
 */
void ZORA_Trace(uint32_t threshold, uint32_t level, const char* module, const char* function, uint32_t line,
                const char* format, ...) __attribute__((format(printf, 6, 7)));

/** The trace threshold of the moment. */
uint32_t ZORA_GetVideoTracLevel(void);

/**
 * Module log.
 *
 * @param level      1 error, 3 information, 4 detail.
 * @param logId      What VeskVideoGetPrivateLogId returned.
 * @param source     Name of the source module, not necessarily NUL-terminated.
 * @param sourceLen  Its characters.
 * @param line       Source line.
 */
void VeskOmLogModuleLogRecord(uint32_t level, uint32_t logId, const char* source, uint32_t sourceLen,
                              uint32_t line, const char* format, ...) __attribute__((format(printf, 6, 7)));

/** The log identifier of number @p index; the library uses 0. */
uint32_t VeskVideoGetPrivateLogId(uint32_t index);

#ifdef __cplusplus
}
#endif

#endif
