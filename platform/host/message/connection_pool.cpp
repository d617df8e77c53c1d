// Connections of this process to the endpoints it sends to.
#include "message/connection_pool.h"

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace vesk::host {

namespace {

constexpr size_t kMaxIdle = 256;
constexpr long kMaxIdleOfOne = 32;

/// True when nothing has arrived on a connection that should be silent, and its peer has not closed it.
bool IsSilent(const Outgoing& connection)
{
    char byte;
    return recv(connection.socket.Get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

} // namespace

ConnectionPool::ConnectionPool()
{
    idle_.reserve(kMaxIdle);
}

Outgoing ConnectionPool::Take(const EndpointNames& to)
{
    const std::lock_guard guard(lock_);
    for (size_t i = idle_.size(); i-- != 0;) {
        if (idle_[i].to == to) {
            Outgoing taken = std::move(idle_[i]);
            idle_.erase(idle_.begin() + static_cast<long>(i));
            taken.isPooled = true;
            return taken;
        }
    }
    return {.to = to};
}

void ConnectionPool::GiveBack(Outgoing connection)
{
    const std::lock_guard guard(lock_);
    const auto isToTheSame = [&](const Outgoing& other) { return other.to == connection.to; };
    if (idle_.size() == kMaxIdle)
        idle_.erase(idle_.begin());
    if (std::count_if(idle_.begin(), idle_.end(), isToTheSame) < kMaxIdleOfOne)
        idle_.push_back(std::move(connection));
}

void ConnectionPool::CloseDead()
{
    const std::lock_guard guard(lock_);
    std::erase_if(idle_, [](const Outgoing& connection) { return !IsSilent(connection); });
}

} // namespace vesk::host
