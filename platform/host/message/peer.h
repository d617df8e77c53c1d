// A process that sends to a task which is told when such a process has ended.
#pragma once

#include "message/inbox.h"

#include <sys/types.h>

#include <memory>

namespace vesk::host {

/**
 * The end of a process is told when its last connection has been read to the end, so that it comes after all
 * of its messages. A descriptor of the process shows that it has ended. Where the kernel gives none, its file
 * does so, which is looked at when that connection ends, and for a while after: the file is unlocked a little
 * later than a socket is closed.
 */
class Peer : public Watched {
public:
    Peer(HostProcess process, std::shared_ptr<Inbox> inbox) : process_(process), inbox_(std::move(inbox)) {}

    /// The process at the other end of a socket, which has one connection more; @p number is its number in
    /// this namespace, or 0. None when the task is not told of ends. Called with the inbox's lock held, as
    /// Leave is. May throw std::bad_alloc.
    static std::shared_ptr<Peer> At(int socket, pid_t number, HostProcess process,
                                    const std::shared_ptr<Inbox>& inbox);

    /// One of its connections has been closed.
    void Leave();

    void OnReady(uint32_t events) override;
    void Close() override;

private:
    bool HasEnded() const;
    void TellIfEnded();
    void Drop();

    const HostProcess process_;
    const std::shared_ptr<Inbox> inbox_;
    uint64_t number_ = 0; // of the inbox
    UniqueFd pidfd_;      // readable once it has ended
    size_t connections_ = 0;
    int looks_ = 0; // at its file, since its last connection was closed
};

} // namespace vesk::host
