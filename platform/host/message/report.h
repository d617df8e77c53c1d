// The message library's own log lines.
#pragma once

#include <cstdint>

namespace vesk::host {

enum ReportLevel : uint32_t { kReportInfo = 1, kReportWarning = 2, kReportError = 3 };

/**
 * Writes one line to the function that OsMsgRegLogFunc installed, or else to the module log. A line that
 * repeats the last one is not written again.
 */
void Report(ReportLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));

} // namespace vesk::host
