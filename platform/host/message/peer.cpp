// A process that sends to a task which is told when such a process has ended.
#include "message/peer.h"

#include "message/frame.h"
#include "runtime/directory.h"
#include "runtime/process.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <new>
#include <utility>

#ifndef SO_PEERPIDFD // of Linux 6.5
#define SO_PEERPIDFD 77
#endif

namespace vesk::host {

namespace {

/// A descriptor of the process that has connected a socket. Not open where the kernel has none for it.
UniqueFd PidfdOf(int socket, pid_t number)
{
    return UniqueFd([=] {
        int fd = -1;
        socklen_t size = sizeof fd;
        if (getsockopt(socket, SOL_SOCKET, SO_PEERPIDFD, &fd, &size) == 0)
            return fd;
        return number != 0 ? static_cast<int>(syscall(SYS_pidfd_open, number, 0)) : -1;
    });
}

} // namespace

std::shared_ptr<Peer> Peer::At(int socket, pid_t number, HostProcess process,
                               const std::shared_ptr<Inbox>& inbox)
{
    if (!inbox->TellsEnds())
        return nullptr;
    std::shared_ptr<Peer>& peer = inbox->Peers()[process];
    if (peer == nullptr) {
        auto added = std::make_shared<Peer>(process, inbox);
        added->pidfd_ = PidfdOf(socket, number);
        if (added->pidfd_.IsOpen())
            added->number_ = inbox->Watch(added->pidfd_.Get(), EPOLLIN, added);
        if (added->number_ == 0) {
            added->pidfd_.Close();
            added->number_ = inbox->Watch(Inbox::kNoDescriptor, 0, added);
        }
        peer = std::move(added);
    }
    ++peer->connections_;
    return peer;
}

void Peer::Leave()
{
    looks_ = 0;
    if (--connections_ == 0)
        TellIfEnded();
}

void Peer::OnReady(uint32_t)
{
    if (connections_ == 0)
        TellIfEnded();
}

bool Peer::HasEnded() const
{
    if (pidfd_.IsOpen())
        return WaitFor(pidfd_.Get(), POLLIN, Deadline(std::chrono::milliseconds(0)));
    const UniqueFd directory = OpenRuntimeDir(WhenMissing::kLeave);
    return directory.IsOpen() && HolderOf(directory, process_) == kNobody;
}

void Peer::TellIfEnded()
try {
    constexpr int kMostLooks = 20; // a tenth of a second apart
    if (HasEnded()) {
        inbox_->PushEnd(process_);
        Drop();
    } else if (!pidfd_.IsOpen() && ++looks_ < kMostLooks) {
        inbox_->CallLater(number_);
    } else if (!pidfd_.IsOpen()) {
        Drop(); // nothing more will be heard of it, unless it connects again
    }
} catch (const std::bad_alloc&) {
    inbox_->CallLater(number_);
}

void Peer::Close()
{
    const std::lock_guard guard(inbox_->Lock());
    Drop();
}

void Peer::Drop()
{
    inbox_->Forget(std::exchange(number_, 0));
    pidfd_.Close();
    inbox_->Peers().erase(process_);
}

} // namespace vesk::host
