// Clients of the service in processes of their own, which one program directs.
#pragma once

#include "tools/veskctl/client.h"

#include <sys/types.h>

namespace vesk::ctl {

struct Packet;

/// A Client in a child process. To be made before this process starts threads.
class RemoteClient {
public:
    /// @param name  As the service is to know the child; empty: its own. @throw Failure as Client does
    explicit RemoteClient(const std::string& service, const std::string& name = "");

    /// Tells the service that the client ends, unless its last request has done so, and ends the process.
    ~RemoteClient();
    RemoteClient(const RemoteClient&) = delete;

    /// The child's name, as the service knows it.
    const std::string& Name() const { return name_; }
    pid_t Process() const { return process_; }

    /// As Client::Send.
    Outcome Send(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs);

    /// The same in two steps, between which other clients can be directed.
    void BeginSend(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs);
    Outcome FinishSend();

    /// The same request many times, one after another. Of each, in milliseconds, how long it took; negative
    /// if it was not answered with success. After a time-out, the rest is not sent.
    void BeginRepeat(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs, uint32_t count);
    std::vector<float> FinishRepeat();
    /// True once a Finish returns at once; waits for at most so long.
    bool HasAnswered(std::chrono::milliseconds longest) const;

    /// As Client::Next; waits for at most so long.
    std::optional<Arrived> Next(std::chrono::milliseconds longest);

    /// Ends the process without telling the service; afterwards nothing can be asked of it.
    void End();
    /// The same as SIGKILL does it, whatever the child is doing.
    void Kill();
    /// Holds the child up, and lets it go on.
    void Pause() const;
    void Resume() const;

private:
    /// What the child sends next. @throw Failure, also the child's
    Packet Receive() const;

    int socket_ = -1;
    pid_t process_ = -1;
    std::string name_;
};

} // namespace vesk::ctl
