// The message library's own log lines.
#pragma once

#include "vesk_host/message.h"

#include <cstdint>
#include <exception>

namespace vesk::host {

enum ReportLevel : uint32_t { kReportInfo = 1, kReportWarning = 2, kReportError = 3 };

/**
 * Writes one line to the function that OsMsgRegLogFunc installed, or else to the module log. A line that
 * repeats the last one is not written again.
 */
void Report(ReportLevel level, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// Does the work of an exported function that returns a HostMsgResult, and keeps exceptions in.
template <class Work>
uint32_t Contained(const Work& work)
{
    try {
        return work();
    } catch (const std::exception& error) {
        Report(kReportError, "message library: %s", error.what());
        return HOST_MSG_ERR_SYSTEM;
    }
}

} // namespace vesk::host
