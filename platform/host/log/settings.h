// The log sinks' settings.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vesk::host {

struct LogSettings {
    static constexpr uint32_t kDefaultLevel = 1; ///< errors

    uint32_t traceLevel = kDefaultLevel; ///< VESK_TRACE_LEVEL, threshold of the trace facade
    uint32_t logLevel = kDefaultLevel;   ///< VESK_LOG_LEVEL, threshold of the module log
    std::string target = "stderr";       ///< VESK_LOG_TARGET: stderr, syslog, none or file:PATH
    size_t fileSize = size_t{10} << 20U; ///< VESK_LOG_FILE_SIZE, bytes before a file is rotated
    size_t fileCount = 3;                ///< VESK_LOG_FILES, rotated files that are kept
};

/// Reads the settings from the environment; each bad value is reported on stderr and its default used.
LogSettings ReadLogSettings();

} // namespace vesk::host
