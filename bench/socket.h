// Whole transfers over a blocking stream socket.
#pragma once

#include "bench/way.h"

#include <cerrno>
#include <cstring>

#include <sys/socket.h>

namespace vesk::bench {

inline void Send(int socket, const void* data, size_t size)
{
    if (send(socket, data, size, MSG_NOSIGNAL) != static_cast<ssize_t>(size))
        Fail(std::string("raw socket: send: ") + strerror(errno));
}

/// False when the peer has closed the connection.
inline bool Receive(int socket, void* data, size_t size)
{
    return recv(socket, data, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

} // namespace vesk::bench
