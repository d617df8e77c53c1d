// Connections of this process to the endpoints it sends to.
#pragma once

#include "message/endpoint.h"

#include <map>
#include <mutex>
#include <vector>

namespace vesk::host {

/**
 * Idle connections by endpoint. A connection that is taken belongs to one call, and is given back only
 * between two messages. The one given back last is taken first, so that messages which one thread sends one
 * after another arrive in order.
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
