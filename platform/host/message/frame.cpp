// The wire format of a message.
#include "message/frame.h"

#include "vesk_host/message.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace vesk::host {

namespace {

constexpr uint64_t kMark = 0x3247534d4b534556; // "VESKMSG2"

} // namespace

FrameHead FrameHead::Of(const OsMsgEnvelope& envelope, uint64_t sequence)
{
    FrameHead head;
    head.mark = kMark;
    head.sequence = sequence;
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
    return mark == kMark && read.type <= OS_MSG_SYNCHRONOUS && read.dataLen <= kMaxDataLen;
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

FrameWriter::FrameWriter(const OsMsgEnvelope& envelope, uint64_t sequence)
{
    const FrameHead head = FrameHead::Of(envelope, sequence);
    const bool isSmall = sizeof head + envelope.dataLen <= begin_.size();
    std::memcpy(begin_.data(), &head, sizeof head);
    if (isSmall && envelope.dataLen != 0)
        std::memcpy(begin_.data() + sizeof head, envelope.data, envelope.dataLen);
    parts_[0] = {begin_.data(), sizeof head + (isSmall ? envelope.dataLen : 0)};
    parts_[1] = {envelope.data, isSmall ? 0 : envelope.dataLen};
}

FrameWriter::Progress FrameWriter::WriteSome(int socket)
{
    while (parts_[0].iov_len + parts_[1].iov_len != 0) {
        constexpr int kFlags = MSG_DONTWAIT | MSG_NOSIGNAL;
        msghdr message{};
        message.msg_iov = parts_.data();
        message.msg_iovlen = parts_.size();
        const ssize_t written = parts_[1].iov_len == 0
                                    ? send(socket, parts_[0].iov_base, parts_[0].iov_len, kFlags)
                                    : sendmsg(socket, &message, kFlags);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return errno == EAGAIN ? Progress::kNoRoom : Progress::kBroken;
        hasBegun_ = true;
        auto left = static_cast<size_t>(written);
        for (iovec& part : parts_) {
            const size_t step = std::min(left, part.iov_len);
            part.iov_base = static_cast<std::byte*>(part.iov_base) + step;
            part.iov_len -= step;
            left -= step;
        }
    }
    return Progress::kDone;
}

void FrameWriter::AppendRest(std::vector<std::byte>& bytes) const
{
    for (const iovec& part : parts_) {
        const auto* begin = static_cast<const std::byte*>(part.iov_base);
        bytes.insert(bytes.end(), begin, begin + part.iov_len);
    }
}

} // namespace vesk::host
