// Makes an allocation of this program fail, its libraries' included. Under g++'s sanitizers too: they go on
// tracking what is allocated.
#pragma once

#include <cstddef>

namespace failing_malloc {

/// False where no allocation can be made to fail; there is no such build now.
inline bool IsAvailable()
{
    return true;
}

/// While it lives, malloc of exactly @p size bytes fails on this thread.
class Scope {
public:
    explicit Scope(size_t size);
    ~Scope();
    Scope(const Scope&) = delete;
    Scope& operator=(const Scope&) = delete;
};

/// Allocations that this thread has made since it began.
size_t Count();

} // namespace failing_malloc
