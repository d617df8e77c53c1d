// The answers that this process owes.
#include "message/deferred.h"

#include "runtime/fork.h"

#include <atomic>
#include <cstddef>
#include <map>
#include <mutex>
#include <utility>

namespace vesk::host {

namespace {

constexpr size_t kMaxDeferred = 1024;

struct DeferredAnswers {
    std::mutex lock;
    std::map<uint64_t, Deferred> answers;
};

PerProcess<DeferredAnswers> g_deferred;
std::atomic<uint64_t> g_lastNumber = 0;

} // namespace

uint64_t KeepDeferred(Deferred deferred)
{
    DeferredAnswers& kept = g_deferred.Get();
    const std::lock_guard guard(kept.lock);
    if (kept.answers.size() >= kMaxDeferred)
        return 0;
    const uint64_t number = ++g_lastNumber;
    kept.answers.emplace_hint(kept.answers.end(), number, std::move(deferred));
    return number;
}

std::optional<Deferred> TakeDeferred(uint64_t number)
{
    DeferredAnswers& kept = g_deferred.Get();
    const std::lock_guard guard(kept.lock);
    const auto node = kept.answers.extract(number);
    return node ? std::optional(std::move(node.mapped())) : std::nullopt;
}

} // namespace vesk::host
