// The wire format of a message.
#include "message/frame.h"

#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

namespace vesk::host {

namespace {

constexpr uint64_t kMark = 0x3447534d4b534556; // "VESKMSG4"

/// Whether a packet finds room behind a head, so that a message whose data fits one packet is refused before
/// it has begun to leave.
bool HasRoomBehindHead(int socket)
{
    constexpr int kHead = 2048; // with what the kernel adds to it
    int used = 0;
    int size = 0;
    socklen_t length = sizeof size;
    return ioctl(socket, SIOCOUTQ, &used) != 0 ||
           getsockopt(socket, SOL_SOCKET, SO_SNDBUF, &size, &length) != 0 || used + kHead < size;
}

} // namespace

FrameHead FrameHead::Of(const OsMsgEnvelope& envelope, uint64_t sequence, HostProcess sender)
{
    FrameHead head;
    head.mark = kMark;
    head.sequence = sequence;
    head.sender = sender;
    head.place = DataPlace::kPackets;
    std::memcpy(head.envelope.data(), &envelope, head.envelope.size());
    return head;
}

OsMsgEnvelope FrameHead::Envelope() const
{
    OsMsgEnvelope result{};
    std::memcpy(&result, envelope.data(), envelope.size());
    return result;
}

bool FrameHead::IsValid() const
{
    const OsMsgEnvelope read = Envelope();
    return mark == kMark && read.type <= OS_MSG_SYNCHRONOUS && read.dataLen <= kMaxDataLen &&
           (place == DataPlace::kPackets ||
            (place <= DataPlace::kNewBlock && read.type == OS_MSG_SYNCHRONOUS && read.dataLen != 0));
}

bool FirstPacket::IsValid(size_t size) const
{
    return size >= sizeof head && size <= sizeof *this && head.IsValid() &&
           size - sizeof head <= (head.place == DataPlace::kPackets ? head.Envelope().dataLen : 0);
}

bool WaitFor(int socket, short events, const Deadline& deadline)
{
    pollfd waited{socket, events, 0};
    do {
        const int ready = poll(&waited, 1, deadline.Milliseconds());
        if (ready > 0)
            return true;
        if (ready < 0 && errno != EINTR)
            return false;
    } while (!deadline.HasPassed());
    return false;
}

FrameWriter::FrameWriter(const OsMsgEnvelope& envelope, uint64_t sequence, HostProcess sender)
    : longest_(kLongestPacket)
{
    first_.head = FrameHead::Of(envelope, sequence, sender);
    const std::span data(static_cast<const std::byte*>(envelope.data), envelope.dataLen);
    if (data.size() > first_.data.size()) {
        rest_ = data;
    } else {
        std::copy(data.begin(), data.end(), first_.data.begin());
        firstSize_ += data.size();
    }
}

void FrameWriter::UseBlock(const SharedBlock& block, UniqueFd descriptor)
{
    first_.head.place = descriptor.IsOpen() ? DataPlace::kNewBlock : DataPlace::kBlock;
    block_ = block.Bytes();
    descriptor_ = std::move(descriptor);
}

std::span<const std::byte> FrameWriter::NextPart() const
{
    if (firstSize_ != 0)
        return std::as_bytes(std::span(&first_, 1)).first(firstSize_);
    return rest_.first(std::min(rest_.size(), block_.empty() ? longest_ : kChunk));
}

ssize_t FrameWriter::Send(int socket, std::span<const std::byte> part) const
{
    constexpr int kFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
    if (firstSize_ != 0 || block_.empty())
        return send(socket, part.data(), part.size(), kFlags);
    if (descriptor_.IsOpen())
        return SendDescriptor(socket, descriptor_);
    std::copy(part.begin(), part.end(), block_.begin());
    return send(socket, part.data(), 1, kFlags);
}

FrameWriter::Progress FrameWriter::WriteSome(int socket)
{
    if (firstSize_ != 0 && !rest_.empty() && !HasRoomBehindHead(socket))
        return Progress::kNoRoom;
    for (;;) {
        const std::span<const std::byte> part = NextPart();
        if (part.empty())
            return Progress::kDone;
        if (Send(socket, part) >= 0) {
            if (std::exchange(firstSize_, 0) != 0)
                continue;
            if (descriptor_.IsOpen()) {
                descriptor_.Close();
                continue;
            }
            rest_ = rest_.subspan(part.size());
            if (!block_.empty())
                block_ = block_.subspan(part.size());
        } else if (errno == EMSGSIZE && longest_ > sizeof first_) {
            longest_ /= 2; // the socket's buffer is smaller than usual
        } else if (errno != EINTR) {
            return errno == EAGAIN ? Progress::kNoRoom : Progress::kBroken;
        }
    }
}

void FrameWriter::KeepData()
{
    kept_.assign(rest_.begin(), rest_.end());
    rest_ = kept_;
}

} // namespace vesk::host
