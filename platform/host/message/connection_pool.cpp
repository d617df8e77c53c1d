// Connections of this process to the endpoints it sends to.
#include "message/connection_pool.h"

#include <sys/socket.h>

#include <cerrno>
#include <utility>

namespace vesk::host {

bool IsSilent(int connection)
{
    char byte;
    return recv(connection, &byte, 1, MSG_PEEK | MSG_DONTWAIT) < 0 && errno == EAGAIN;
}

ConnectionPool& ConnectionPool::Instance()
{
    static auto& pool = *new ConnectionPool; // never destroyed: detached threads send until the very end
    return pool;
}

UniqueFd ConnectionPool::TakeIdle(const std::string& endpoint)
{
    const std::lock_guard guard(lock_);
    if (const pid_t self = getpid(); std::exchange(process_, self) != self)
        idle_.clear();
    std::vector<UniqueFd>& idle = idle_[endpoint];
    while (!idle.empty()) {
        UniqueFd connection = std::move(idle.back());
        idle.pop_back();
        if (IsSilent(connection.Get()))
            return connection;
    }
    return {};
}

EndpointResult ConnectionPool::Take(const std::string& endpoint, const std::optional<Deadline>& deadline)
{
    if (UniqueFd idle = TakeIdle(endpoint); idle.IsOpen())
        return {std::move(idle), 0};
    return ConnectEndpoint(endpoint, deadline);
}

void ConnectionPool::GiveBack(const std::string& endpoint, UniqueFd connection)
{
    constexpr size_t kMaxIdle = 32;
    const std::lock_guard guard(lock_);
    std::vector<UniqueFd>& idle = idle_[endpoint];
    if (idle.size() < kMaxIdle)
        idle.push_back(std::move(connection));
}

} // namespace vesk::host
