// Clients of the service in processes of their own, which one program directs.
#pragma once

#include "tools/veskctl/client.h"

#include <sys/types.h>

namespace vesk::ctl {

struct Packet;

/// A Client in a child process. To be made before this process starts threads.
class RemoteClient {
public:
    /// @throw Failure as Client does
    explicit RemoteClient(const std::string& service);

    /// Tells the service that the client ends, unless its last request has done so, and ends the process.
    ~RemoteClient();
    RemoteClient(const RemoteClient&) = delete;

    /// The child's name, as the service knows it.
    const std::string& Name() const { return name_; }

    /// As Client::Send.
    Outcome Send(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs);

    /// As Client::Next; waits for at most so long.
    std::optional<Arrived> Next(std::chrono::milliseconds longest);

private:
    /// What the child sends next. @throw Failure, also the child's
    Packet Receive() const;

    int socket_ = -1;
    pid_t process_ = -1;
    std::string name_;
};

} // namespace vesk::ctl
