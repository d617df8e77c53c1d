// The two log sinks and how a line is written to them. These are macros because the compiler must see a
// literal format with its values, and the sinks want the name and the source line of the function that
// writes.
//
// Each source file that writes to the module log says first which module it belongs to:
//
//     static constexpr auto& kLogModule = vesk::log_module::kInterface;
#pragma once

#include "platform/os_log.h"

namespace vesk {

enum LogLevel : uint32_t { kError = 1, kInfo = 3, kDetail = 4 };

/// Source names in the module log. Devices and their tools read them.
namespace log_module {

inline constexpr char kTransport[] = "zora_msg_adapt";
inline constexpr char kInterface[] = "vesk_video_interface";
inline constexpr char kCallback[] = "vesk_video_callback";
inline constexpr char kCodec[] = "vesk_video_interface_codec";
inline constexpr char kMouse[] = "vesk_video_interface_mouse";
inline constexpr char kUvc[] = "vesk_video_interface_uvc";
inline constexpr char kService[] = "vesk_video_service";

} // namespace log_module

/// Returns @p format, which spells a name; mentioning that name lets the compiler check its spelling.
template <class Name>
__attribute__((format_arg(2))) constexpr const char* Naming(const Name&, const char* format)
{
    return format;
}

} // namespace vesk

/// One line to the trace facade, as written by @p function at @p line.
#define TRACE_AT(function, line, level, ...)                                                                 \
    ZORA_Trace(ZORA_GetVideoTracLevel(), vesk::level, "ZORA", function, line, __VA_ARGS__)

/// One line to the trace facade.
#define TRACE(level, ...) TRACE_AT(__func__, __LINE__, level, __VA_ARGS__)

/// One line to the module log.
#define LOG(level, ...)                                                                                      \
    VeskOmLogModuleLogRecord(vesk::level, VeskVideoGetPrivateLogId(0), kLogModule, sizeof(kLogModule) - 1,   \
                             __LINE__, __VA_ARGS__)

/// The same line to the trace facade and then to the module log.
#define TRACE_AND_LOG(level, ...) (TRACE(level, __VA_ARGS__), LOG(level, __VA_ARGS__))

/// The same line to the module log twice in succession.
#define LOG_TWICE(level, ...) (LOG(level, __VA_ARGS__), LOG(level, __VA_ARGS__))

/// True when a pointer argument is null; logs it with the line that all requests share.
#define IS_NULL(argument)                                                                                    \
    ((argument) == nullptr && (LOG(kError, "%s: %s is NULL!", __func__, #argument), true))

/// The same with the line of the notification side.
#define IS_NULLPTR(argument) ((argument) == nullptr && (LOG(kError, "%s is nullptr!", #argument), true))
