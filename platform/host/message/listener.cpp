// Accepts the connections to a task.
#include "message/listener.h"

#include "message/connection.h"
#include "message/report.h"

#include <fcntl.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <exception>
#include <optional>
#include <utility>

namespace vesk::host {

Listener::Listener(ServedEndpoint served, std::string endpoint, std::shared_ptr<Inbox> inbox)
    : served_(std::move(served)), endpoint_(std::move(endpoint)), inbox_(std::move(inbox)), spare_(Spare())
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

UniqueFd Listener::Accept() const
{
    return UniqueFd([this] { return accept4(served_.socket.Get(), nullptr, nullptr, SOCK_CLOEXEC); });
}

UniqueFd Listener::Spare() const
{
    return UniqueFd([this] { return fcntl(served_.socket.Get(), F_DUPFD_CLOEXEC, 0); });
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
        if (UniqueFd accepted = Accept(); accepted.IsOpen())
            Receive(std::move(accepted));
        else if (errno == EAGAIN)
            return;
        else if (errno != EINTR && errno != ECONNABORTED) {
            Report(kReportError, "%s: no descriptor left for a connection", endpoint_.c_str());
            spare_.Close();
            const bool isRefused = Accept().IsOpen();
            const bool isOneLeft = !isRefused && errno != EAGAIN;
            spare_ = Spare();
            if (isOneLeft)
                inbox_->CallLater(number_); // no event will tell of it
            if (!isRefused)
                return;
        }
    }
}

void Listener::Receive(UniqueFd connection)
{
    const std::optional<pid_t> peer = PeerOfThisUser(connection.Get());
    if (!peer) {
        Report(kReportError, "%s: a connection of another user is refused", endpoint_.c_str());
        return;
    }
    try {
        const auto incoming = std::make_shared<Connection>(std::move(connection), *peer, endpoint_, inbox_);
        if (!incoming->Start())
            Report(kReportError, "%s: a connection of process %d is lost: %s", endpoint_.c_str(), *peer,
                   strerror(errno));
    } catch (const std::exception& error) {
        Report(kReportError, "%s: a connection of process %d is lost: %s", endpoint_.c_str(), *peer,
               error.what());
    }
}

void Listener::Close()
{
    ServedEndpoint served;
    {
        const std::lock_guard guard(inbox_->Lock());
        inbox_->Forget(number_);
        served = std::exchange(served_, {});
        spare_.Close();
    }
    if (!served.socket.IsOpen())
        return;
    RemoveEndpoint(endpoint_, served);
    shutdown(served.socket.Get(), SHUT_RDWR);
}

} // namespace vesk::host
