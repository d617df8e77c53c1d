// The receiving end of a connection. While a sender waits for its answer nothing more is read from it, so
// that a connection never holds more than one message and one answer.
#include "message/incoming.h"

#include "message/report.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <cerrno>
#include <new>
#include <utility>

namespace vesk::host {

Incoming::Incoming(UniqueFd socket, pid_t peer, std::string endpoint, Receiver receiver)
    : socket_(std::move(socket)), peer_(peer), endpoint_(std::move(endpoint)), receiver_(std::move(receiver))
{
}

void Incoming::Start()
{
    const std::lock_guard guard(lock_);
    if (!Reactor::Instance().Watch(socket_.Get(), EPOLLIN, shared_from_this()))
        socket_.Close();
}

void Incoming::OnReady(uint32_t events)
{
    const std::lock_guard guard(lock_);
    if (!socket_.IsOpen())
        return;
    if ((events & EPOLLOUT) != 0)
        FlushLocked();
    if (!owesAnswer_)
        ReadLocked();
    else if ((events & (EPOLLHUP | EPOLLERR)) != 0)
        CloseLocked();
}

void Incoming::ReadLocked()
{
    // A peer that never stops sending must not starve the others.
    constexpr int kReadsAtOnce = 64;
    for (int reads = 0; reads < kReadsAtOnce && socket_.IsOpen() && !owesAnswer_; ++reads) {
        std::byte* target = reinterpret_cast<std::byte*>(&head_) + received_;
        size_t wanted = sizeof head_ - received_;
        if (arriving_ != nullptr) {
            const size_t dataReceived = received_ - sizeof head_;
            target = arriving_->data.get() + dataReceived;
            wanted = arriving_->envelope.dataLen - dataReceived;
        }
        const ssize_t got = recv(socket_.Get(), target, wanted, MSG_DONTWAIT);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && errno == EAGAIN)
            return;
        if (got <= 0) {
            if (received_ != 0)
                Report(kReportError, "%s: a message broke off after %zu bytes", endpoint_.c_str(), received_);
            CloseLocked();
            return;
        }
        received_ += static_cast<size_t>(got);
        if (received_ == sizeof head_ && arriving_ == nullptr && !TakeHeadLocked()) {
            CloseLocked();
            return;
        }
        if (arriving_ != nullptr && received_ == sizeof head_ + arriving_->envelope.dataLen)
            DeliverLocked();
    }
}

bool Incoming::TakeHeadLocked()
{
    if (!head_.IsValid()) {
        Report(kReportError, "%s: process %d sent garbage, its connection is closed", endpoint_.c_str(),
               peer_);
        return false;
    }
    arriving_.reset(new (std::nothrow) Message);
    if (arriving_ == nullptr)
        return false;
    arriving_->envelope = head_.Envelope();
    arriving_->senderProcess = peer_;
    const uint32_t dataLen = arriving_->envelope.dataLen;
    if (dataLen != 0) {
        arriving_->data.reset(new (std::nothrow) std::byte[dataLen]);
        arriving_->envelope.data = arriving_->data.get();
    }
    return dataLen == 0 || arriving_->data != nullptr;
}

void Incoming::DeliverLocked()
{
    received_ = 0;
    owesAnswer_ = arriving_->envelope.type == OS_MSG_SYNCHRONOUS;
    if (owesAnswer_) {
        arriving_->from = shared_from_this();
        Reactor::Instance().Change(socket_.Get(), 0);
    }
    if (!receiver_(std::exchange(arriving_, nullptr)) && owesAnswer_)
        CloseLocked();
}

bool Incoming::Answer(const OsMsgEnvelope& answer)
{
    const std::lock_guard guard(lock_);
    if (!socket_.IsOpen() || !owesAnswer_)
        return false;
    FrameWriter writer(answer);
    switch (writer.WriteSome(socket_.Get())) {
    case FrameWriter::Progress::kDone:
        owesAnswer_ = false;
        Reactor::Instance().Change(socket_.Get(), EPOLLIN);
        return true;
    case FrameWriter::Progress::kNoRoom:
        writer.AppendRest(unsent_);
        Reactor::Instance().Change(socket_.Get(), EPOLLOUT);
        return true;
    default:
        CloseLocked();
        return false;
    }
}

void Incoming::FlushLocked()
{
    if (unsent_.empty())
        return;
    const ssize_t sent = send(socket_.Get(), unsent_.data(), unsent_.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0) {
        if (errno != EAGAIN && errno != EINTR)
            CloseLocked();
        return;
    }
    unsent_.erase(unsent_.begin(), unsent_.begin() + sent);
    if (unsent_.empty()) {
        owesAnswer_ = false;
        Reactor::Instance().Change(socket_.Get(), EPOLLIN);
    }
}

void Incoming::Close()
{
    const std::lock_guard guard(lock_);
    CloseLocked();
}

void Incoming::CloseLocked()
{
    if (!socket_.IsOpen())
        return;
    Reactor::Instance().Forget(socket_.Get());
    socket_.Close();
}

} // namespace vesk::host
