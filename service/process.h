// Processes of the clients.
#pragma once

#include <sys/types.h>

#include <cerrno>
#include <csignal>

namespace vesk::service {

/// False when a process has ended. One that cannot be seen from here counts as alive.
inline bool IsAlive(pid_t process)
{
    return process <= 0 || kill(process, 0) == 0 || errno != ESRCH;
}

} // namespace vesk::service
