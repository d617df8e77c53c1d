// Connections of this process to the endpoints it sends to.
#include "message/connection_pool.h"

#include <linux/sockios.h>
#include <sys/ioctl.h>
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

/// True when the peer has taken in all asynchronous messages that were sent.
bool IsFree(const Outgoing& connection)
{
    int unread = 0;
    return connection.asyncSender == std::thread::id() ||
           (ioctl(connection.socket.Get(), SIOCOUTQ, &unread) == 0 && unread == 0);
}

} // namespace

ConnectionPool::ConnectionPool()
{
    idle_.reserve(kMaxIdle);
}

Outgoing ConnectionPool::Take(const EndpointNames& to)
{
    const std::thread::id self = std::this_thread::get_id();
    const auto isOwn = [&](const Outgoing& idle) { return idle.asyncSender == self && idle.to == to; };
    const auto isFree = [&](const Outgoing& idle) { return idle.to == to && IsFree(idle); };
    const std::lock_guard guard(lock_);
    auto found = std::find_if(idle_.rbegin(), idle_.rend(), isOwn);
    if (found == idle_.rend())
        found = std::find_if(idle_.rbegin(), idle_.rend(), isFree);
    if (found == idle_.rend())
        return {.to = to};
    Outgoing taken = std::move(*found);
    idle_.erase(std::next(found).base());
    taken.isPooled = true;
    return taken;
}

void ConnectionPool::GiveBack(Outgoing connection)
{
    const std::lock_guard guard(lock_);
    const auto isToTheSame = [&](const Outgoing& idle) { return idle.to == connection.to; };
    long same = std::count_if(idle_.begin(), idle_.end(), isToTheSame);
    std::erase_if(idle_, [&](const Outgoing& idle) {
        const bool isSurplus = same >= kMaxIdleOfOne && isToTheSame(idle) && IsFree(idle);
        same -= isSurplus ? 1 : 0;
        return isSurplus;
    });
    if (idle_.size() == kMaxIdle)
        idle_.erase(idle_.begin());
    idle_.push_back(std::move(connection));
}

void ConnectionPool::CloseDead()
{
    const std::lock_guard guard(lock_);
    std::erase_if(idle_, [](const Outgoing& connection) { return !IsSilent(connection); });
}

} // namespace vesk::host
