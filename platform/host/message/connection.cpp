// The receiving end of a connection.
#include "message/connection.h"

#include "message/deferred.h"
#include "message/report.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <new>
#include <utility>

namespace vesk::host {

namespace {

constexpr uint32_t kReadable = EPOLLIN | EPOLLRDHUP;

} // namespace

Connection::Connection(UniqueFd socket, pid_t peer, std::string endpoint, std::shared_ptr<Inbox> inbox)
    : socket_(std::move(socket)), peer_(peer), endpoint_(std::move(endpoint)), inbox_(std::move(inbox))
{
}

bool Connection::Start()
{
    number_ = inbox_->Watch(socket_.Get(), kReadable, shared_from_this());
    return number_ != 0;
}

void Connection::OnReady(uint32_t events)
{
    hasUnread_ = true;
    isAbandoned_ = isAbandoned_ || (events & (EPOLLHUP | EPOLLERR)) != 0;
    hasHungUp_ = hasHungUp_ || isAbandoned_ || (events & EPOLLRDHUP) != 0;
    if ((events & EPOLLOUT) != 0)
        Flush();
    if (owesAnswer_ && isAbandoned_)
        Drop();
    else
        Read();
}

void Connection::Read()
{
    try {
        ReadSome();
    } catch (const std::exception& error) {
        Lose(error);
        Drop();
    }
}

void Connection::Lose(const std::exception& error)
{
    Report(kReportError, "%s: a message of process %d is lost: %s", endpoint_.c_str(), peer_, error.what());
    if (head_.Envelope().type == OS_MSG_SYNCHRONOUS)
        Drop(); // its sender need not wait
}

void Connection::ReadSome()
{
    // A peer that never stops sending must not starve the others.
    constexpr int kReadsAtOnce = 64;
    for (int reads = 0; socket_.IsOpen() && !owesAnswer_ && (hasUnread_ || !early_.empty()); ++reads) {
        if (!inbox_->HasRoom() || reads == kReadsAtOnce) {
            inbox_->CallAgain(number_);
            return;
        }
        if (!early_.empty()) {
            const std::vector<std::byte> bytes = std::exchange(early_, {});
            Feed(bytes.data(), bytes.size());
            continue;
        }
        // The data that is arriving goes where it belongs, what follows it to a buffer.
        std::byte buffer[8192];
        iovec parts[2] = {{nullptr, 0}, {buffer, sizeof buffer}};
        if (arriving_ != nullptr) {
            const size_t dataReceived = received_ - sizeof head_;
            parts[0] = {arriving_->data.get() + dataReceived, arriving_->envelope.dataLen - dataReceived};
        }
        msghdr message{};
        message.msg_iov = parts;
        message.msg_iovlen = 2;
        const ssize_t got = arriving_ == nullptr ? recv(socket_.Get(), buffer, sizeof buffer, MSG_DONTWAIT)
                                                 : recvmsg(socket_.Get(), &message, MSG_DONTWAIT);
        if (got < 0 && errno == EINTR)
            continue;
        if (got < 0 && errno == EAGAIN) {
            hasUnread_ = false;
            return;
        }
        if (got <= 0) {
            if (received_ != 0)
                Report(kReportError, "%s: a message broke off after %zu bytes", endpoint_.c_str(), received_);
            Drop();
            return;
        }
        // Less than there was room for is all there is: what comes later is told of again.
        const auto count = static_cast<size_t>(got);
        hasUnread_ = hasHungUp_ || count == parts[0].iov_len + parts[1].iov_len;
        const size_t direct = std::min(count, parts[0].iov_len);
        received_ += direct;
        DeliverIfComplete();
        Feed(buffer, count - direct);
    }
}

void Connection::Feed(const std::byte* bytes, size_t count)
{
    while (count != 0 && socket_.IsOpen()) {
        if (owesAnswer_) {
            early_.assign(bytes, bytes + count);
            return;
        }
        if (toSkip_ != 0) {
            const size_t skipped = std::min(toSkip_, count);
            toSkip_ -= skipped;
            bytes += skipped;
            count -= skipped;
            continue;
        }
        const bool isHead = arriving_ == nullptr;
        std::byte* const target = isHead ? reinterpret_cast<std::byte*>(&head_) + received_
                                         : arriving_->data.get() + (received_ - sizeof head_);
        const size_t wanted = sizeof head_ + (isHead ? 0 : arriving_->envelope.dataLen) - received_;
        const size_t taken = std::min(wanted, count);
        std::memcpy(target, bytes, taken);
        received_ += taken;
        bytes += taken;
        count -= taken;
        if (received_ == sizeof head_ && isHead && !TakeHead())
            Drop();
        else
            DeliverIfComplete();
    }
}

bool Connection::TakeHead()
{
    if (!head_.IsValid()) {
        Report(kReportError, "%s: process %d sent garbage, its connection is closed", endpoint_.c_str(),
               peer_);
        return false;
    }
    const OsMsgEnvelope envelope = head_.Envelope();
    try {
        auto message = std::make_unique<Message>();
        message->envelope = envelope;
        message->sequence = head_.sequence;
        message->senderProcess = peer_;
        if (envelope.dataLen != 0) {
            message->data.reset(new std::byte[envelope.dataLen]);
            message->envelope.data = message->data.get();
        }
        arriving_ = std::move(message);
    } catch (const std::bad_alloc& error) {
        received_ = 0;
        toSkip_ = envelope.dataLen;
        Lose(error);
    }
    return true;
}

void Connection::DeliverIfComplete()
{
    if (arriving_ == nullptr || received_ != sizeof head_ + arriving_->envelope.dataLen)
        return;
    received_ = 0;
    owesAnswer_ = arriving_->envelope.type == OS_MSG_SYNCHRONOUS;
    if (owesAnswer_)
        arriving_->from = shared_from_this();
    try {
        inbox_->Push(std::exchange(arriving_, nullptr));
    } catch (const std::bad_alloc& error) {
        Lose(error);
    }
}

bool Connection::Answer(const OsMsgEnvelope& answer, uint64_t sequence)
{
    const std::lock_guard guard(inbox_->Lock());
    if (!socket_.IsOpen() || !owesAnswer_)
        return false;
    FrameWriter writer(answer, sequence);
    const FrameWriter::Progress progress = writer.WriteSome(socket_.Get());
    try {
        if (progress == FrameWriter::Progress::kNoRoom) {
            writer.AppendRest(unsent_);
            inbox_->Change(socket_.Get(), kReadable | EPOLLOUT, number_);
            return true;
        }
    } catch (const std::exception& error) {
        Report(kReportError, "%s: an answer to process %d is lost: %s", endpoint_.c_str(), peer_,
               error.what());
        Drop(); // its sender need not wait
        return false;
    }
    if (progress == FrameWriter::Progress::kBroken) {
        Drop();
        return false;
    }
    owesAnswer_ = false;
    Read();
    return true;
}

uint64_t Connection::Defer(const OsMsgEnvelope& request, uint64_t sequence)
{
    const std::lock_guard guard(inbox_->Lock());
    const uint64_t number = KeepDeferred({shared_from_this(), request, sequence});
    deferred_ = number;
    if (isAbandoned_)
        Drop();
    return number;
}

void Connection::Flush()
{
    if (unsent_.empty())
        return;
    const ssize_t sent = send(socket_.Get(), unsent_.data(), unsent_.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (sent < 0) {
        if (errno != EAGAIN && errno != EINTR)
            Drop();
        return;
    }
    unsent_.erase(unsent_.begin(), unsent_.begin() + sent);
    if (unsent_.empty()) {
        owesAnswer_ = false;
        inbox_->Change(socket_.Get(), kReadable, number_);
    }
}

void Connection::Close()
{
    const std::lock_guard guard(inbox_->Lock());
    Drop();
}

void Connection::Drop()
{
    if (deferred_ != 0)
        TakeDeferred(std::exchange(deferred_, 0));
    isAbandoned_ = true;
    if (!socket_.IsOpen())
        return;
    inbox_->Forget(number_);
    socket_.Close();
}

} // namespace vesk::host
