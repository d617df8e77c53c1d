/**
 * @file
 * The platform's two logs. Any thread may call. The format and its values are used only during the call.
 */
#ifndef PLATFORM_OS_LOG_H
#define PLATFORM_OS_LOG_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/**
 * Writes a line to the trace log if @p level does not exceed @p threshold.
 *
 * @param threshold  Result of ZORA_GetVideoTracLevel just before.
 * @param level      Level of the line: 1 error, 3 information, 4 detail.
 * @param module     Module tag.
 * @param function   Name of the calling function.
 * @param line       Source line of the call.
 * @param format     printf format; the values follow.
 */
void ZORA_Trace(uint32_t threshold, uint32_t level, const char* module, const char* function, uint32_t line,
                const char* format, ...) __attribute__((format(printf, 6, 7)));

/** Returns the current threshold of the trace log. */
uint32_t ZORA_GetVideoTracLevel(void);

/**
 * Writes a line to the module log.
 *
 * @param level      Level of the line: 1 error, 3 information, 4 detail.
 * @param logId      Result of VeskVideoGetPrivateLogId.
 * @param source     Name of the source module, not necessarily NUL-terminated.
 * @param sourceLen  Length of @p source in characters.
 * @param line       Source line of the call.
 * @param format     printf format; the values follow.
 */
void VeskOmLogModuleLogRecord(uint32_t level, uint32_t logId, const char* source, uint32_t sourceLen,
                              uint32_t line, const char* format, ...) __attribute__((format(printf, 6, 7)));

/** Returns the log identifier for @p index; the library uses index 0. */
uint32_t VeskVideoGetPrivateLogId(uint32_t index);

#ifdef __cplusplus
}
#endif

#endif
