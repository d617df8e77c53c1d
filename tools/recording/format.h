// The layout of a recording: pcapng blocks, and the head in front of each recorded message. docs/recording.md
// describes it for people. Recordings are little-endian where the writer is; the head always is.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vesk::recording {

inline constexpr uint32_t kSectionBlock = 0x0a0d0d0a;
inline constexpr uint32_t kInterfaceBlock = 1;
inline constexpr uint32_t kPacketBlock = 6;
inline constexpr uint32_t kByteOrderMagic = 0x1a2b3c4d;

inline constexpr uint16_t kLinkType = 252; ///< Packets for a dissector of Wireshark that they name.

/// Options of blocks.
inline constexpr uint16_t kEndOfOptions = 0;
inline constexpr uint16_t kComment = 1;
inline constexpr uint16_t kPacketFlags = 2; ///< 1 received, 2 sent
inline constexpr uint16_t kInterfaceName = 2;
inline constexpr uint16_t kApplication = 4; ///< Of a section: what wrote it.
inline constexpr uint16_t kTimeResolution = 9;
inline constexpr uint16_t kTimeOffset = 14;

/// How a packet names its dissector: a tag with "vesk", and the end of the tags; numbers are big-endian.
inline constexpr unsigned char kDissectorTag[] = {0, 12, 0, 4, 'v', 'e', 's', 'k', 0, 0, 0, 0};

/// Longest data block of a message; the bytes of a longer one, which the platform refuses, are not recorded.
inline constexpr uint32_t kMaxData = 4194304;

/// What a packet stands for.
enum class Kind : uint8_t {
    kNote = 0,         ///< No message: the comment says what happened.
    kRequest = 1,      ///< A message from an application to the service.
    kAnswer = 2,       ///< What became of a synchronous request: its answer, or the platform's refusal.
    kNotification = 3, ///< A message from the service to an application.
    kDone = 4          ///< No message: an asynchronous send or a handler has returned.
};

/// Flags of a packet.
inline constexpr uint8_t kSent = 1; ///< By the recorded process; else received by it.
inline constexpr uint8_t kSynchronous = 2;

inline constexpr uint16_t kVersion = 1;

/// What precedes the bytes of a message; little-endian.
struct Head {
    uint16_t version;  ///< kVersion
    uint16_t headSize; ///< Bytes of this head; a later version may append fields without a new number.
    Kind kind;
    uint8_t flags;
    uint16_t reserved;
    uint32_t process;
    uint32_t thread;
    uint64_t exchange;       ///< The same in all packets of an exchange; unique in a process. 0: unknown.
    uint64_t monotonicNs;    ///< CLOCK_MONOTONIC; the packet's own time is CLOCK_REALTIME.
    uint64_t durationNs;     ///< Answer, done: since the exchange began.
    uint32_t platformResult; ///< Answer, done: result of the platform's function, or of the handler.
    uint32_t number;         ///< msgId of the envelope.
    uint32_t dataLen;        ///< dataLen of the envelope; the bytes follow the head unless they are too many.
    uint32_t timeoutMs;      ///< Synchronous requests that are sent.
    char program[32];        ///< Name of the program; NUL-padded like the names below.
    char sendProcName[16];   ///< From the envelope, as the message travels.
    char sendTaskName[16];
    char recvProcName[16];
    char recvTaskName[16];
};
static_assert(sizeof(Head) == 152 && offsetof(Head, exchange) == 16 && offsetof(Head, program) == 56);
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__, "heads are written as they lie in memory");

/// What precedes the data of a packet block.
struct PacketStart {
    uint32_t type;
    uint32_t blockSize;
    uint32_t interface;
    uint32_t timeHigh;
    uint32_t timeLow;
    uint32_t capturedSize;
    uint32_t originalSize;
};

} // namespace vesk::recording
