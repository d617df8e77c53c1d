// Connections of this process to the endpoints it sends to.
#pragma once

#include "message/endpoint.h"
#include "message/shared_block.h"
#include "vesk_host/message.h"

#include <mutex>
#include <thread>
#include <vector>

namespace vesk::host {

/// A connection that belongs to one call.
struct Outgoing {
    EndpointNames to = {};
    UniqueFd socket = {};
    HostProcess sender = 0;           // what this process was when it connected
    bool isPooled = false;            // was used before: its peer may have gone
    SharedBlock block = {};           // for large requests
    int waitAtMostMs = 0;             // that a read waits; 0: for ever
    std::thread::id asyncSender = {}; // whose asynchronous messages may not have been read yet
};

/**
 * Idle connections. One is given back only between two messages. While asynchronous messages of a thread may
 * be unread in a connection, that thread's next message takes this connection and no other thread's does, so
 * that they arrive in order.
 */
class ConnectionPool {
public:
    ConnectionPool();

    /// An idle connection to @p to, or one that is not open.
    Outgoing Take(const EndpointNames& to);

    void GiveBack(Outgoing connection);

    /// Closes the connections whose peers have gone.
    void CloseDead();

private:
    std::mutex lock_;
    std::vector<Outgoing> idle_; // the last was given back last
};

} // namespace vesk::host
