// Connections of this process to the endpoints that it sends to.
#pragma once

#include "message/endpoint.h"

#include <map>
#include <mutex>
#include <vector>

namespace vesk::host {

/**
 * Idle connections by endpoint. One that is taken belongs to one call; it comes back only when the
 * stream is between two messages. The one that came back last is taken first, so a thread that sends
 * one message after another keeps their order.
 */
class ConnectionPool {
public:
    static ConnectionPool& Instance();

    /// An idle connection whose peer is still there, or a new one. See ConnectEndpoint.
    EndpointResult Take(const std::string& endpoint, const std::optional<Deadline>& deadline);
    void GiveBack(const std::string& endpoint, UniqueFd connection);

private:
    UniqueFd TakeIdle(const std::string& endpoint);

    std::mutex lock_;
    pid_t process_ = getpid(); // a forked child must not share its parent's connections
    std::map<std::string, std::vector<UniqueFd>> idle_;
};

/// True when nothing has arrived on a connection that should be silent, and its peer has not closed it.
bool IsSilent(int connection);

} // namespace vesk::host
