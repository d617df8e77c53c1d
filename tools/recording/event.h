// What a recording says, event by event.
#pragma once

#include "decoder/decoder.h"
#include "tools/recording/format.h"

#include <string>

namespace vesk::recording {

/// One packet: a message, or what became of one. See Kind and Head for what each value means.
struct Event {
    Kind kind = Kind::kNote;
    bool isSent = false; ///< By the recorded process; else received by it.
    bool isSynchronous = false;
    uint32_t process = 0;
    uint32_t thread = 0;
    std::string program;
    uint64_t exchange = 0;
    uint64_t realtimeNs = 0;  ///< Since 1970.
    uint64_t monotonicNs = 0; ///< Since some moment before the system started.
    uint64_t durationNs = 0;
    uint32_t platformResult = 0;
    uint32_t number = 0;
    uint32_t dataLen = 0;
    uint32_t timeoutMs = 0;
    std::string sendProcName, sendTaskName, recvProcName, recvTaskName;
    Bytes data; ///< Header and payload; empty if there is no message, or its data is too long.
    std::string comment;

    /// True if this is an answer, a request or a notification whose bytes are here.
    bool HasMessage() const { return kind != Kind::kNote && kind != Kind::kDone && !data.empty(); }

    /// False if its data is too long to have been recorded.
    bool IsWhole() const { return data.size() == dataLen; }

    /// For the decoder; only if it has a message. It refers to the event's data.
    decoder::Message Message() const;
};

} // namespace vesk::recording
