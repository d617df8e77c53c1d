// Makes an allocation of this program fail, its libraries' included. Under g++'s sanitizers too: they go on
// tracking what is allocated.
#pragma once

#include <cstddef>
#include <cstdint>

namespace failing_malloc {

inline thread_local size_t t_failingSize = SIZE_MAX, t_count = 0;

inline size_t g_untilFailure = 0; // accessed atomically

/// From now on the @p nth allocation fails, on whatever thread; 0: none. Returns whether the last one set
/// has.
inline bool FailOnce(size_t nth)
{
    return __atomic_exchange_n(&g_untilFailure, nth, __ATOMIC_SEQ_CST) == 0;
}

/// While it lives, malloc of exactly @p size bytes fails on this thread.
struct Scope {
    explicit Scope(size_t size) { t_failingSize = size; }
    Scope(Scope&&) = delete;
    ~Scope() { t_failingSize = SIZE_MAX; }
};

/// Allocations that this thread has made since it began.
inline size_t Count()
{
    return t_count;
}

} // namespace failing_malloc
