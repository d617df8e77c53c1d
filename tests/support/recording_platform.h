// A platform that records what the library asks of it and answers as a test tells it. Linked into
// a test program, its functions take the place of the host platform's.
#pragma once

#include "platform/os_msg.h"
#include "platform/os_queue.h"
#include "vesk_video/message.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <sched.h>
#include <string>
#include <vector>

namespace recording {

using Bytes = std::vector<std::byte>;

/// One message that the library handed over.
struct Sent {
    OsMsgEnvelope envelope{};
    Bytes data;
    bool isSynchronous = false;
    uint32_t timeout = 0;

    VeskVideoMsgHead Head() const;
    Bytes Payload() const { return Bytes(data.begin() + sizeof(VeskVideoMsgHead), data.end()); }
};

/// What OsMsgSynSend gives back: a nonzero result, or the data block of an answer (none: no answer). With a
/// stated length the answer says that it is so long and has no data at all.
struct Answer {
    uint32_t sendResult = 0;
    std::optional<Bytes> data = {};
    std::optional<uint32_t> statedLength = {};
};

struct RegisteredTask {
    std::string name;
    uint32_t depth = 0;
    uint32_t (*handler)(OsMsgEnvelope*) = nullptr;
};

struct Platform {
    /// Lines as "T1 Function text" or "L3 source text": sink, level, origin, formatted text.
    std::vector<std::string> lines;
    std::vector<std::string> formats;  ///< The formats of the same lines.
    std::vector<uint32_t> sourceLines; ///< Where they were written.
    std::vector<Sent> sent;
    std::vector<RegisteredTask> tasks;
    std::vector<std::pair<uint32_t, cpu_set_t>> affinities;
    void (*logFunction)(uint32_t, const char*) = nullptr;
    uint32_t logLevel = 0;
    int unreleased = 0; ///< Answers handed out and not given back.
    std::vector<OsMemQueReq> createdQueues;
    std::vector<std::pair<uint32_t, std::string>> initialisedQueues;
    std::vector<std::pair<uint32_t, bool>> activatedQueues;

    // What the platform does.
    std::function<Answer(const Sent&)> answer;
    uint32_t asynResult = 0;
    uint32_t regTaskResult = 0;
    int32_t affinityResult = 0;
    uint32_t createQueueResult = 0;
    std::function<void()> duringCreateQueue;
    uint32_t initQueueResult = 0;
    uint32_t activateQueueResult = 0;
    int failingCopy = 0;  ///< The n-th memcpy_s from now fails.
    int failingSet = 0;   ///< The n-th memset_s from now fails.
    bool isQuiet = false; ///< Records nothing, so that only the library allocates.
};

Platform& Get();

/// Forgets everything recorded and told; synchronous requests are then answered with 0 and no payload.
void Reset();

/// Waits until a receive thread runs a task's loop; the task's name, or nothing after ten seconds.
std::string AwaitRoutine();

/// The lines without the transport's own about sending and receiving.
std::vector<std::string> RequestLines();

/// A data block: a header with @p result, then @p payload.
Bytes AnswerBytes(uint16_t result, const Bytes& payload = {});

template <class Record>
Bytes BytesOf(const Record& record)
{
    const auto* begin = reinterpret_cast<const std::byte*>(&record);
    return Bytes(begin, begin + sizeof record);
}

} // namespace recording
