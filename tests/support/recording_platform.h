// A platform that records what the library asks of it and answers as a test tells it. Linked into
// a test program, its functions take the place of the host platform's.
#pragma once

#include "platform/os_msg.h"
#include "vesk_video/message.h"

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

using Bytes = std::vector<std::byte>;
using Lines = std::vector<std::string>;

/// One message that the library handed over; an asynchronous one has no timeout.
struct Sent {
    OsMsgEnvelope envelope;
    Bytes data;
    uint32_t timeout;
};

/// What OsMsgSynSend gives back: a nonzero result, or the data block of an answer (none: no answer), which
/// may state another length.
struct Answer {
    uint32_t sendResult = 0;
    std::optional<Bytes> data = {};
    std::optional<uint32_t> statedLength = {};
};

struct Platform {
    /// Lines as "T1 Function text" or "L3 source text": sink, level, origin, formatted text.
    Lines lines;
    Lines formats;                     ///< The formats of the same lines.
    std::vector<uint32_t> sourceLines; ///< Where they were written.
    std::vector<Sent> sent;
    Lines calls; ///< Other functions with their arguments: "OsShmAdvancedInitQueue 1 VIDEO".
    uint32_t (*handler)(OsMsgEnvelope*) = nullptr;
    void (*logFunction)(uint32_t, const char*) = nullptr;
    int unreleased = 0; ///< Answers handed out and not given back.

    // What the platform does.
    std::function<Answer(const Sent&)> answer;
    std::map<std::string, uint32_t> results; ///< Of the functions that do not return 0.
    std::function<void()> duringCreateQueue;
    int failingCopy = 0;  ///< The n-th memcpy_s from now fails.
    int failingSet = 0;   ///< The n-th memset_s from now fails.
    bool isQuiet = false; ///< Records nothing, so that only the library allocates.
};

Platform& Get();

/// Forgets everything recorded and told. From then on requests are answered with these.
void Reset(uint16_t result = 0, const Bytes& payload = {});

/// Waits until a receive thread runs its task's loop; false after ten seconds.
bool AwaitRoutine();

/// How often a line was written or a call made.
size_t Times(const std::string& what);

/// The lines without the transport's own about sending and receiving.
Lines RequestLines();

/// A data block.
Bytes Block(const VeskVideoMsgHead& head, const Bytes& payload = {});

template <class Record>
Bytes BytesOf(const Record& record, size_t size = sizeof(Record))
{
    const auto* begin = reinterpret_cast<const std::byte*>(&record);
    return Bytes(begin, begin + size);
}
