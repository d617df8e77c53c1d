// The answers that this process owes.
#include "message/deferred.h"

#include "process/fork.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <utility>

namespace vesk::host {

namespace {

constexpr size_t kMaxDeferred = 1024;

struct Owed {
    std::mutex lock;
    std::map<uint64_t, Deferred> answers;
};

PerProcess<Owed> g_owed;
std::atomic<uint64_t> g_lastNumber = 0;

} // namespace

uint64_t KeepDeferred(Deferred deferred)
{
    Owed& owed = g_owed.Get();
    const std::lock_guard guard(owed.lock);
    if (owed.answers.size() >= kMaxDeferred)
        return 0;
    const uint64_t number = ++g_lastNumber;
    owed.answers.emplace_hint(owed.answers.end(), number, std::move(deferred));
    return number;
}

std::optional<Deferred> TakeDeferred(uint64_t number)
{
    Owed& owed = g_owed.Get();
    const std::lock_guard guard(owed.lock);
    const auto node = owed.answers.extract(number);
    return node ? std::optional(std::move(node.mapped())) : std::nullopt;
}

} // namespace vesk::host
