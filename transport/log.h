// The call shapes of the two log sinks. They are macros because the compiler must see a literal format
// with its values, and the sinks want the name and the line of the function that writes.
//
// Each module that writes to the module log defines kLogSource, its source name.
#pragma once

#include "platform/os_log.h"

namespace vesk {

enum LogLevel : uint32_t { kError = 1, kInfo = 3, kDetail = 4 };

} // namespace vesk

/// One line to the trace facade.
#define TRACE(level, ...)                                                                                    \
    ZORA_Trace(ZORA_GetVideoTracLevel(), vesk::level, "ZORA", __func__, __LINE__, __VA_ARGS__)

/// One line to the module log.
#define LOG(level, ...)                                                                                      \
    VeskOmLogModuleLogRecord(vesk::level, VeskVideoGetPrivateLogId(0), kLogSource, sizeof(kLogSource) - 1,   \
                             __LINE__, __VA_ARGS__)

/// The same line to the trace facade and then to the module log.
#define TRACE_AND_LOG(level, ...) (TRACE(level, __VA_ARGS__), LOG(level, __VA_ARGS__))

/// The same line to the module log two times in succession.
#define LOG_TWICE(level, ...) (LOG(level, __VA_ARGS__), LOG(level, __VA_ARGS__))

/// True when a pointer argument is null, after the common line about it.
#define IS_NULL(argument)                                                                                    \
    ((argument) == nullptr ? (LOG(kError, "%s: %s is NULL!", __func__, #argument), true) : false)
