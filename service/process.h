// Whether a client's process still runs.
#pragma once

#include <sys/types.h>

#include <cstdint>

namespace vesk::service {

/// What tells a process from a later one of its number: when it started. 0 when it has ended, also when
/// nobody has waited for it yet; kUnknownStart when that cannot be found out.
uint64_t StartOf(pid_t process);
inline constexpr uint64_t kUnknownStart = UINT64_MAX;

/// False when @p process has ended; an unknown process (0) counts as alive.
inline bool IsAlive(pid_t process)
{
    return process <= 0 || StartOf(process) != 0;
}

} // namespace vesk::service
