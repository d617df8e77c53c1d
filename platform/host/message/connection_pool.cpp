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

} // namespace

bool IsSilent(int connection)
{
    char byte;
    return recv(connection, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

ConnectionPool::ConnectionPool()
{
    idle_.reserve(kMaxIdle);
}

Outgoing ConnectionPool::TakeIdle(const EndpointNames& to)
{
    const std::lock_guard guard(lock_);
    for (size_t i = idle_.size(); i-- != 0;) {
        if (idle_[i].to == to) {
            Outgoing taken = std::move(idle_[i]);
            idle_.erase(idle_.begin() + static_cast<long>(i));
            return taken;
        }
    }
    return {to, {}, 0};
}

Outgoing ConnectionPool::Take(const EndpointNames& to)
{
    for (;;) {
        Outgoing taken = TakeIdle(to);
        if (!taken.socket.IsOpen() || IsSilent(taken.socket.Get()))
            return taken;
    }
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
    std::erase_if(idle_, [](const Outgoing& connection) { return !IsSilent(connection.socket.Get()); });
}

} // namespace vesk::host
