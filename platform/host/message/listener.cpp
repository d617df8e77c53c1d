// Accepts the connections to a task.
#include "message/listener.h"

#include "message/connection.h"
#include "message/frame.h"
#include "runtime/report.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <optional>
#include <utility>

namespace vesk::host {

Listener::Listener(ServedEndpoint served, std::string endpoint, std::shared_ptr<Inbox> inbox)
    : served_(std::move(served)), endpoint_(std::move(endpoint)), inbox_(std::move(inbox))
{
}

bool Listener::Start(const std::shared_ptr<Listener>& listener)
{
    const std::lock_guard guard(listener->inbox_->Lock());
    listener->number_ = listener->inbox_->Watch(listener->served_.socket.Get(), EPOLLIN, listener);
    if (listener->number_ != 0)
        return true;
    Report(kReportError, "%s cannot be served: %s", listener->endpoint_.c_str(), strerror(errno));
    return false;
}

void Listener::OnReady(uint32_t)
{
    // Connections that keep coming must not starve the others.
    constexpr int kAcceptedAtOnce = 64;
    for (int count = 0; served_.socket.IsOpen(); ++count) {
        if (count == kAcceptedAtOnce) {
            inbox_->PutOff(number_);
            return;
        }
        if ((accepted_.IsOpen() || Accept()) && Receive()) {
            isWaiting_ = false;
            continue;
        }
        if (errno == EAGAIN)
            return;
        if (const int error = errno; error != EINTR && error != ECONNABORTED) {
            // A full table of descriptors fails accept4() also when no connection waits.
            const Deadline now(std::chrono::milliseconds(0));
            if (!accepted_.IsOpen() && !WaitFor(served_.socket.Get(), POLLIN, now)) {
                isWaiting_ = false;
                return;
            }
            if (!std::exchange(isWaiting_, true))
                Report(kReportError, "%s: a connection has to wait: %s", endpoint_.c_str(), strerror(error));
            inbox_->CallLater(number_); // no event tells when there is a descriptor or memory for it
            return;
        }
    }
}

bool Listener::Accept()
{
    accepted_ = UniqueFd([this] { return accept4(served_.socket.Get(), nullptr, nullptr, SOCK_CLOEXEC); });
    return accepted_.IsOpen();
}

/// Starts to receive from the accepted connection. False, with errno set, when that has to wait.
bool Listener::Receive()
try {
    const std::optional<pid_t> peer = PeerOfThisUser(accepted_.Get());
    if (peer)
        return std::make_shared<Connection>(*peer, endpoint_, inbox_)->Start(accepted_);
    Report(kReportError, "%s: a connection of another user is refused", endpoint_.c_str());
    accepted_.Close();
    return true;
} catch (const std::bad_alloc&) {
    errno = ENOMEM;
    return false;
}

void Listener::Close()
{
    ServedEndpoint served;
    {
        const std::lock_guard guard(inbox_->Lock());
        inbox_->Forget(number_);
        served = std::exchange(served_, {});
        accepted_.Close();
    }
    if (!served.socket.IsOpen())
        return;
    RemoveEndpoint(endpoint_, served);
    shutdown(served.socket.Get(), SHUT_RDWR);
}

} // namespace vesk::host
