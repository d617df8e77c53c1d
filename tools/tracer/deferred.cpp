// Requests whose handlers have put their answers off.
#include "tools/tracer/deferred.h"

#include <atomic>

namespace vesk::tracer {

namespace {

constexpr size_t kSlots = 2048;
constexpr uint64_t kFree = 0;
constexpr uint64_t kBusy = UINT64_MAX; ///< Belongs to the thread that has set it so.

std::atomic<uint64_t> g_numbers[kSlots];
DeferredRequest g_deferred[kSlots];

} // namespace

void Keep(uint64_t number, const DeferredRequest& deferred)
{
    for (;;) {
        size_t slot = 0; // with the lowest number: a free one, or else the oldest
        uint64_t lowest = kBusy;
        for (size_t i = 0; i < kSlots && lowest != kFree; ++i) {
            const uint64_t held = g_numbers[i].load(std::memory_order_relaxed);
            if (held < lowest) {
                lowest = held;
                slot = i;
            }
        }
        if (!g_numbers[slot].compare_exchange_strong(lowest, kBusy))
            continue;
        g_deferred[slot] = deferred;
        g_numbers[slot] = number;
        return;
    }
}

DeferredRequest Take(uint64_t number)
{
    for (size_t i = 0; i < kSlots; ++i) {
        uint64_t held = g_numbers[i].load(std::memory_order_relaxed);
        if (held != number || held == kFree || !g_numbers[i].compare_exchange_strong(held, kBusy))
            continue;
        const DeferredRequest deferred = g_deferred[i];
        g_numbers[i] = kFree;
        return deferred;
    }
    return {};
}

} // namespace vesk::tracer
