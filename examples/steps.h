// Helpers for the examples: the process name, steps that are printed and must succeed, and a record of the
// notifications that have arrived.
#pragma once

#include "vesk_video/result_text.h"
#include "vesk_video/vesk_video.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>

// Name of this process, which the hook below passes to the library; without the hook, the library uses a
// default name. Applications that run at the same time need different names.
inline std::string g_processName;

int GetSelfProcName(std::string& name)
{
    name = g_processName;
    return 0;
}

namespace steps {

inline void Expect(bool asExpected, const char* what)
{
    if (asExpected)
        return;
    std::printf("NOT AS EXPECTED: %s\n", what);
    std::exit(EXIT_FAILURE);
}

/// Prints a call and its result, which must be 0.
inline void Step(const char* what, uint32_t result)
{
    std::printf("%-52s -> %u\n", what, result);
    if (result != VESK_VIDEO_OK) {
        const VeskVideoResultText text = VeskVideoGetResultText(result);
        std::printf("%s: %s\n", text.name, text.meaning);
    }
    Expect(result == VESK_VIDEO_OK, what);
}

/// Prints a call and its result, which must be a refusal by the service.
inline void Refused(const char* what, uint32_t result)
{
    std::printf("%-52s -> 0x%x, as it should be: %s\n", what, result, VeskVideoGetResultText(result).name);
    Expect(result > VESK_VIDEO_ERR_ARGUMENT, what);
}

/// True if the record that was read back equals the one that was set, byte for byte.
template <class Record>
bool Same(const Record& set, const Record& read)
{
    return std::memcmp(&set, &read, sizeof set) == 0;
}

/// The record at the start of a notification's data.
template <class Record>
Record Read(const void* data, uint32_t dataLen)
{
    Record record{};
    std::memcpy(&record, data, std::min<size_t>(dataLen, sizeof record));
    return record;
}

/// Notifications that have arrived. The receive thread adds them, and the main thread waits for some of them.
class Seen {
public:
    void Add(uint32_t notifyId)
    {
        const std::lock_guard guard(lock_);
        seen_.insert(notifyId);
        arrived_.notify_all();
    }

    size_t Count()
    {
        const std::lock_guard guard(lock_);
        return seen_.size();
    }

    /// Waits for one, and takes it.
    void Await(uint32_t notifyId)
    {
        std::unique_lock guard(lock_);
        const auto isTaken = [&] { return !seen_.extract(notifyId).empty(); };
        Expect(arrived_.wait_for(guard, std::chrono::seconds(5), isTaken), "a notification within 5 seconds");
    }

private:
    std::mutex lock_;
    std::condition_variable arrived_;
    std::multiset<uint32_t> seen_;
};

inline Seen g_seen;

} // namespace steps
