// The message library's own log lines, and the two functions of the platform layer that control them.
#include "runtime/report.h"

#include "log/sinks.h"
#include "platform/os_msg.h"
#include "runtime/fork.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <mutex>

namespace vesk::host {

namespace {

using LogFunction = void (*)(uint32_t, const char*);

void ToModuleLog(uint32_t level, const char* text)
{
    constexpr uint32_t kModuleLogError = 1;
    constexpr uint32_t kModuleLogInfo = 3;
    WriteLine(level == kReportError ? kModuleLogError : kModuleLogInfo, "os_msg", text);
}

std::atomic<LogFunction> g_logFunction = ToModuleLog;
std::atomic<uint32_t> g_threshold = kReportWarning;

constexpr size_t kMaxLine = 512;

struct Last {
    std::mutex lock;
    char line[kMaxLine] = "";
};

PerProcess<Last> g_last;

bool RepeatsTheLast(const char (&line)[kMaxLine])
{
    Last& last = g_last.Get();
    const std::lock_guard guard(last.lock);
    if (std::strcmp(last.line, line) == 0)
        return true;
    std::memcpy(last.line, line, kMaxLine);
    return false;
}

} // namespace

void Report(ReportLevel level, const char* format, ...)
{
    if (level < g_threshold)
        return;
    char text[kMaxLine] = "";
    va_list values;
    va_start(values, format);
    std::vsnprintf(text, sizeof text, format, values);
    va_end(values);
    try {
        if (!RepeatsTheLast(text))
            g_logFunction.load()(level, text);
    } catch (const std::exception&) {
        // The line is lost for want of memory; what it tells of is dealt with all the same.
    }
}

} // namespace vesk::host

void OsMsgSetLogLevel(uint32_t level)
{
    vesk::host::g_threshold = level;
}

void OsMsgRegLogFunc(void (*logFunc)(uint32_t level, const char* text))
{
    vesk::host::g_logFunction = logFunc != nullptr ? logFunc : vesk::host::ToModuleLog;
}
