// Reads the log sinks' settings from the environment.
#include "log/settings.h"

#include "base/text.h"

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace vesk::host {

namespace {

template <class Number>
void ReadNumber(const char* variable, Number least, Number most, Number& value)
{
    const char* text = std::getenv(variable);
    if (text == nullptr || *text == '\0')
        return;
    Number number{};
    const char* end = text + std::strlen(text);
    const auto [stop, error] = std::from_chars(text, end, number);
    if (error == std::errc() && stop == end && number >= least && number <= most)
        value = number;
    else
        std::fprintf(stderr, "%s='%s' is not a number from %zu to %zu, %zu is used\n", variable,
                     Printable(text).c_str(), size_t{least}, size_t{most}, size_t{value});
}

} // namespace

LogSettings ReadLogSettings()
{
    LogSettings settings;
    ReadNumber<uint32_t>("VESK_TRACE_LEVEL", 0, 4, settings.traceLevel);
    ReadNumber<uint32_t>("VESK_LOG_LEVEL", 0, 4, settings.logLevel);
    ReadNumber<size_t>("VESK_LOG_FILE_SIZE", 4096, size_t{1} << 40U, settings.fileSize);
    ReadNumber<size_t>("VESK_LOG_FILES", 1, 100, settings.fileCount);
    if (const char* target = std::getenv("VESK_LOG_TARGET"); target != nullptr && *target != '\0') {
        const std::string text = target;
        if (text == "stderr" || text == "syslog" || text == "none" ||
            (text.starts_with("file:") && text.size() > 5))
            settings.target = text;
        else
            std::fprintf(stderr,
                         "VESK_LOG_TARGET='%s' is none of stderr, syslog, none, file:PATH; %s is used\n",
                         Printable(target).c_str(), settings.target.c_str());
    }
    return settings;
}

} // namespace vesk::host
