// The wire format of a message: a head of fixed size, then the data block.
#pragma once

#include "message/deadline.h"
#include "platform/os_msg.h"

#include <sys/uio.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace vesk::host {

inline constexpr uint32_t kMaxDataLen = 4U << 20;

/// The head: a mark that tells a frame from garbage, the number of a request that its answer repeats, then
/// the envelope up to its pointer.
struct FrameHead {
    uint64_t mark;
    uint64_t sequence;
    std::array<std::byte, offsetof(OsMsgEnvelope, data)> envelope;

    static FrameHead Of(const OsMsgEnvelope& envelope, uint64_t sequence);

    /// True for the right mark, a known type and an allowed length.
    bool IsValid() const;

    /// The envelope, with a null data pointer.
    OsMsgEnvelope Envelope() const;
};
static_assert(sizeof(FrameHead) == 176);

/// Head and data of a message as they are written; the envelope's data must outlive it.
class FrameWriter {
public:
    FrameWriter(const OsMsgEnvelope& envelope, uint64_t sequence);
    FrameWriter(const FrameWriter&) = delete;
    FrameWriter& operator=(const FrameWriter&) = delete;

    enum class Progress { kDone, kNoRoom, kBroken };

    /// Writes as much as the socket takes at once, without ever raising SIGPIPE.
    Progress WriteSome(int socket);

    bool HasBegun() const { return hasBegun_; }

    /// Appends what is not yet written to @p bytes.
    void AppendRest(std::vector<std::byte>& bytes) const;

private:
    std::array<std::byte, 8192> begin_; // the head and, when that fits, all of the data: one piece is cheaper
    std::array<iovec, 2> parts_;        // to send than two
    bool hasBegun_ = false;
};

/// Waits for @p events on a socket. False when the deadline has passed.
bool WaitFor(int socket, short events, const Deadline& deadline);

} // namespace vesk::host
