// Whether a client's process still runs.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <csignal>

namespace vesk::service {

/// False when @p process has ended; an unknown process (0) counts as alive.
inline bool IsAlive(pid_t process)
{
    return process <= 0 || kill(process, 0) == 0 || errno != ESRCH;
}

} // namespace vesk::service
