// The wire format of a message: a head of fixed size and the data block, in packets that arrive as they were
// sent.
#pragma once

#include "message/deadline.h"
#include "message/shared_block.h"
#include "platform/os_msg.h"
#include "runtime/unique_fd.h"
#include "vesk_host/message.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vesk::host {

inline constexpr uint32_t kMaxDataLen = 4U << 20;

/// Measured to be the fastest: it fits a few times into a socket's buffer of the kernel's default size, so
/// that one end writes while the other reads.
inline constexpr size_t kLongestPacket = 96U << 10;

/// Where the data of a message is that does not fit into its first packet: in packets that follow or, a
/// request's, in memory that both ends have mapped. Then a packet of one byte follows for each kChunk of it,
/// once that is there, so that one end copies while the other does. Ahead of them comes the descriptor of
/// memory that is new.
enum class DataPlace : uint64_t { kPackets, kBlock, kNewBlock };
inline constexpr size_t kChunk = 256U << 10;

/// The head: a mark that tells a frame from garbage, the number of a request that its answer repeats, the
/// process that sends it (none in an answer), where its data is, then the envelope up to its pointer.
struct FrameHead {
    uint64_t mark;
    uint64_t sequence;
    HostProcess sender;
    DataPlace place;
    std::array<std::byte, offsetof(OsMsgEnvelope, data)> envelope;

    static FrameHead Of(const OsMsgEnvelope& envelope, uint64_t sequence, HostProcess sender);

    /// True for the right mark, a known type, an allowed length and a place that goes with the type.
    bool IsValid() const;

    /// The envelope, with a null data pointer.
    OsMsgEnvelope Envelope() const;
};
static_assert(sizeof(FrameHead) == 192);

/// The first packet of a message. Data for which it has no room follows in packets of its own.
struct FirstPacket {
    FrameHead head;
    std::array<std::byte, 8192 - sizeof(FrameHead)> data;

    /// Whether @p size received bytes are a valid head and no more data than it announces.
    bool IsValid(size_t size) const;
};

/// A message as it is written; the envelope's data must outlive it.
class FrameWriter {
public:
    FrameWriter(const OsMsgEnvelope& envelope, uint64_t sequence, HostProcess sender = 0);

    /// Has the data go through a block, which must outlive this. Its descriptor is given when it is new.
    void UseBlock(const SharedBlock& block, UniqueFd descriptor);
    FrameWriter(FrameWriter&&) = default;

    enum class Progress { kDone, kNoRoom, kBroken };

    /// Writes as much as the socket takes at once, without ever raising SIGPIPE.
    Progress WriteSome(int socket);

    bool HasBegun() const { return firstSize_ == 0; }

    size_t BytesLeft() const { return firstSize_ + rest_.size(); }

    /// Copies the data that is not yet written, which need not outlive the writer any more.
    void KeepData();

private:
    std::span<const std::byte> NextPart() const;
    ssize_t Send(int socket, std::span<const std::byte> part) const;

    FirstPacket first_;
    size_t firstSize_ = sizeof first_.head; // 0 when it is written
    std::span<std::byte> block_;            // where the rest goes, unless that is empty
    UniqueFd descriptor_;                   // of the block, while it has to be sent
    std::span<const std::byte> rest_;       // data that follows in packets of its own
    std::vector<std::byte> kept_;
    size_t longest_; // of those packets
};

/// Waits for @p events on a socket. False when the deadline has passed.
bool WaitFor(int socket, short events, const Deadline& deadline);

} // namespace vesk::host
