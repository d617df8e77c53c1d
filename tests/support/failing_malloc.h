// Makes an allocation of this program fail. The sanitizers bring an allocator of their own, so it is not
// there in their builds.
#pragma once

#include <cstddef>

namespace failing_malloc {

/// False where no allocation can be made to fail.
bool IsAvailable();

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
