// The receiving end of a connection.
#include "message/connection.h"

#include "message/deferred.h"
#include "runtime/directory.h"
#include "runtime/process.h"
#include "runtime/report.h"

#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <span>
#include <utility>

namespace vesk::host {

namespace {

constexpr uint32_t kReadable = EPOLLIN | EPOLLRDHUP;

} // namespace

Connection::Connection(pid_t peer, std::string endpoint, std::shared_ptr<Inbox> inbox)
    : peer_(peer), endpoint_(std::move(endpoint)), inbox_(std::move(inbox))
{
}

bool Connection::Start(UniqueFd& socket)
{
    number_ = inbox_->Watch(socket.Get(), kReadable, shared_from_this());
    if (number_ == 0)
        return false;
    socket_ = std::move(socket);
    return true;
}

void Connection::OnReady(uint32_t events)
{
    isAbandoned_ = isAbandoned_ || (events & (EPOLLHUP | EPOLLERR)) != 0;
    if ((events & EPOLLOUT) != 0)
        Flush();
    if (owesAnswer_ && isAbandoned_)
        Drop();
    else
        Read();
}

void Connection::Lose(const std::bad_alloc& error, bool isAwaited)
{
    Report(kReportError, "%s: a message of process %d is lost: %s", endpoint_.c_str(), peer_, error.what());
    if (isAwaited)
        Drop(); // its sender need not wait
}

void Connection::Read()
{
    // A peer that never stops sending must not starve the others.
    constexpr int kReadsAtOnce = 64;
    if (sender_ == 0 && socket_.IsOpen() && !Identify())
        return;
    for (int reads = 0; socket_.IsOpen() && !owesAnswer_; ++reads) {
        if (!inbox_->HasRoom() || reads == kReadsAtOnce) {
            inbox_->PutOff(number_, isAbandoned_); // its sender may go on over another connection
            return;
        }
        FirstPacket packet;
        std::span<std::byte> target = std::as_writable_bytes(std::span(&packet, 1));
        if (arriving_ != nullptr)
            target = std::span(arriving_->data.get(), arriving_->envelope.dataLen).subspan(received_);
        ssize_t got = 0;
        UniqueFd descriptor;
        if (arriving_ != nullptr && place_ == DataPlace::kNewBlock)
            descriptor = ReceiveDescriptor(socket_.Get(), got);
        else
            got = recv(socket_.Get(), target.data(), target.size(), MSG_DONTWAIT | MSG_TRUNC);
        if (got < 0 && (errno == EINTR || errno == ECONNRESET))
            continue; // a reset is reported once, before what was sent ahead of it
        if (got < 0 && errno == EAGAIN)
            return;
        if (got <= 0) { // an empty packet, which none of ours is, passes for the end
            if (arriving_ != nullptr)
                Report(kReportError, "%s: a message broke off after %zu bytes", endpoint_.c_str(),
                       sizeof packet.head + received_);
            Drop();
            return;
        }
        const auto size = static_cast<size_t>(got); // of the packet, which may be longer than the target
        const bool isFirst = arriving_ == nullptr && toSkip_ == 0;
        if (!(isFirst ? Take(packet, size) : TakeRest(size, descriptor))) {
            Report(kReportError, "%s: process %d sent garbage, its connection is closed", endpoint_.c_str(),
                   peer_);
            Drop();
        }
    }
}

/// Takes from the first message which process is at the other end, unless another lives that is the one it
/// says to be; those that have no number in this namespace are not told apart there. False when that has to
/// wait, for the message or for a descriptor or memory to find out with.
bool Connection::Identify()
try {
    FrameHead head;
    ssize_t got = 0;
    do
        got = recv(socket_.Get(), &head, sizeof head, MSG_PEEK | MSG_DONTWAIT);
    while (got < 0 && (errno == EINTR || errno == ECONNRESET));
    if (got != ssize_t{sizeof head})
        return got >= 0 || errno != EAGAIN; // what is wrong with it is found when it is read
    const UniqueFd directory = OpenRuntimeDir();
    const auto holder = directory.IsOpen() ? HolderOf(directory, head.sender) : std::nullopt;
    if (holder == peer_ || holder == kNobody) { // it may have ended since
        process_ = Peer::At(socket_.Get(), peer_, head.sender, inbox_);
        sender_ = head.sender;
    }
    if (!holder)
        inbox_->CallLater(number_);
    return holder.has_value();
} catch (const std::bad_alloc&) {
    inbox_->CallLater(number_);
    return false;
}

bool Connection::Take(const FirstPacket& packet, size_t size)
{
    if (!packet.IsValid(size) || packet.head.sender == 0 || packet.head.sender != sender_)
        return false;
    const OsMsgEnvelope envelope = packet.head.Envelope();
    const size_t dataSize = size - sizeof packet.head;
    try {
        auto message = std::make_unique<Message>();
        message->envelope = envelope;
        message->sequence = packet.head.sequence;
        message->sender = sender_;
        if (envelope.dataLen != 0) {
            message->data.reset(new std::byte[envelope.dataLen]);
            message->envelope.data = message->data.get();
            std::copy_n(packet.data.begin(), dataSize, message->data.get());
        }
        arriving_ = std::move(message);
        received_ = 0;
        place_ = packet.head.place;
        return place_ == DataPlace::kPackets ? TakeBytes(dataSize)
                                             : place_ == DataPlace::kNewBlock || HasBlock();
    } catch (const std::bad_alloc& error) {
        Lose(error, envelope.type == OS_MSG_SYNCHRONOUS);
        toSkip_ = envelope.dataLen - dataSize;
    }
    return true;
}

bool Connection::TakeRest(size_t size, const UniqueFd& descriptor)
{
    if (toSkip_ != 0) {
        if (size > toSkip_)
            return false;
        toSkip_ -= size;
        return true;
    }
    if (place_ == DataPlace::kPackets)
        return TakeBytes(size);
    if (size != 1)
        return false;
    if (place_ == DataPlace::kNewBlock) {
        place_ = DataPlace::kBlock;
        block_ = SharedBlock::Of(descriptor, arriving_->envelope.dataLen, kMaxDataLen);
        if (HasBlock())
            return true;
        Report(kReportError, "%s: the memory that process %d shares cannot be used, its connection is closed",
               endpoint_.c_str(), peer_);
        Drop();
        return true;
    }
    const size_t chunk = std::min<size_t>(kChunk, arriving_->envelope.dataLen - received_);
    std::memcpy(arriving_->data.get() + received_, &block_.Bytes()[received_], chunk);
    return TakeBytes(chunk);
}

bool Connection::HasBlock() const
{
    return block_.Bytes().size() >= arriving_->envelope.dataLen;
}

bool Connection::TakeBytes(size_t count)
{
    if (count > arriving_->envelope.dataLen - received_)
        return false;
    received_ += count;
    if (received_ == arriving_->envelope.dataLen)
        Deliver();
    return true;
}

void Connection::Deliver()
{
    owesAnswer_ = arriving_->envelope.type == OS_MSG_SYNCHRONOUS;
    if (owesAnswer_)
        arriving_->from = shared_from_this();
    try {
        inbox_->Push(std::exchange(arriving_, nullptr));
    } catch (const std::bad_alloc& error) {
        Lose(error, owesAnswer_);
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
            writer.KeepData();
            unsent_ = std::make_unique<FrameWriter>(std::move(writer));
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
    inbox_->CallAgain(number_); // what follows is read when this message has been freed
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
    if (unsent_ == nullptr)
        return;
    const FrameWriter::Progress progress = unsent_->WriteSome(socket_.Get());
    if (progress == FrameWriter::Progress::kNoRoom)
        return;
    unsent_.reset();
    if (progress == FrameWriter::Progress::kBroken) {
        Drop();
        return;
    }
    owesAnswer_ = false;
    inbox_->Change(socket_.Get(), kReadable, number_);
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
    if (const auto process = std::exchange(process_, nullptr))
        process->Leave();
}

} // namespace vesk::host
