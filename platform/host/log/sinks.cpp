// The two log sinks of the platform layer, on spdlog.
#include "log/sinks.h"

#include "base/text.h"
#include "log/settings.h"
#include "platform/os_log.h"
#include "runtime/fork.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/null_sink.h>
#include <spdlog/sinks/rotating_file_sink.h>
#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/sinks/syslog_sink.h>

#include <cstdarg>
#include <cstdio>
#include <exception>
#include <memory>
#include <mutex>
#include <string>

namespace vesk::host {

namespace {

spdlog::sink_ptr MakeSink(const LogSettings& settings)
{
    if (settings.target == "none")
        return std::make_shared<spdlog::sinks::null_sink_st>();
    if (settings.target == "syslog")
        return std::make_shared<spdlog::sinks::syslog_sink_st>("vesk_video", 0, 0, true);
    if (settings.target != "stderr") {
        const std::string path = settings.target.substr(sizeof "file:" - 1);
        try {
            return std::make_shared<spdlog::sinks::rotating_file_sink_st>(path, settings.fileSize,
                                                                          settings.fileCount);
        } catch (const spdlog::spdlog_ex& error) {
            std::fprintf(stderr, "VESK_LOG_TARGET: %s; stderr is used\n", Printable(error.what()).c_str());
        }
    }
    return std::make_shared<spdlog::sinks::stderr_color_sink_st>();
}

struct Sinks {
    std::mutex lock; // in place of the sinks' own, which a forked child might find locked
    const LogSettings settings = ReadLogSettings();
    spdlog::logger logger{"", MakeSink(settings)};

    Sinks()
    {
        logger.set_pattern("%Y-%m-%d %H:%M:%S.%e %P:%t %^%L%$ %v");
        logger.set_level(spdlog::level::trace);
        logger.flush_on(spdlog::level::trace);
    }
};

PerProcess<Sinks> g_sinks;

spdlog::level::level_enum ToSpdlog(uint32_t level)
{
    switch (level) {
    case 0:
    case 1:
        return spdlog::level::err;
    case 2:
        return spdlog::level::warn;
    case 3:
        return spdlog::level::info;
    default:
        return spdlog::level::debug;
    }
}

__attribute__((format(printf, 1, 0))) std::string Format(const char* format, va_list values)
{
    va_list again;
    va_copy(again, values);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    std::string text(length > 0 ? static_cast<size_t>(length) : 0, '\0');
    std::vsnprintf(text.data(), text.size() + 1, format, values);
    return text;
}

/// A record stays on one line: line feeds at the end of its text are dropped, and what others have put into
/// it is escaped.
void Write(uint32_t level, std::string line, std::string_view text)
{
    while (text.ends_with('\n'))
        text.remove_suffix(1);
    line = Printable(line.append(text));
    Sinks& sinks = g_sinks.Get();
    const std::lock_guard guard(sinks.lock);
    sinks.logger.log(ToSpdlog(level), spdlog::string_view_t(line));
}

/// A line that there is no memory for leaves this in its place.
void ReportLostLine()
{
    std::fputs("a log line is lost: out of memory\n", stderr);
}

} // namespace

void WriteLine(uint32_t level, const char* origin, const char* text)
try {
    if (level <= g_sinks.Get().settings.logLevel)
        Write(level, std::string("[") + origin + "] ", text);
} catch (const std::exception&) {
    ReportLostLine();
}

} // namespace vesk::host

using namespace vesk::host;

uint32_t ZORA_GetVideoTracLevel(void)
try {
    return g_sinks.Get().settings.traceLevel;
} catch (const std::exception&) {
    return LogSettings::kDefaultLevel;
}

uint32_t VeskVideoGetPrivateLogId(uint32_t index)
{
    return index;
}

void ZORA_Trace(uint32_t threshold, uint32_t level, const char* module, const char* function, uint32_t line,
                const char* format, ...)
try {
    if (level > threshold)
        return;
    va_list values;
    va_start(values, format);
    const std::string text = Format(format, values);
    va_end(values);
    Write(level, std::string("[") + module + "] " + function + ':' + std::to_string(line) + ' ', text);
} catch (const std::exception&) {
    ReportLostLine();
}

void VeskOmLogModuleLogRecord(uint32_t level, uint32_t, const char* source, uint32_t sourceLen, uint32_t line,
                              const char* format, ...)
try {
    if (level > g_sinks.Get().settings.logLevel)
        return;
    va_list values;
    va_start(values, format);
    const std::string text = Format(format, values);
    va_end(values);
    Write(level, '[' + std::string(source, sourceLen) + "] " + std::to_string(line) + ' ', text);
} catch (const std::exception&) {
    ReportLostLine();
}
