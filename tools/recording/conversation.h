// A recording as the exchange between applications and the service that it shows.
#pragma once

#include "tools/recording/reader.h"

#include <optional>
#include <vector>

namespace vesk::recording {

/// A process that sent requests to the service.
struct Participant {
    std::string program;  ///< Its own, or that of the service if only that was recorded.
    uint32_t process = 0; ///< Likewise.
    std::string procName; ///< As it names itself in its messages.
    uint64_t lastNs = 0;  ///< Monotonic time of its last message.
};

/// A request, what became of it, and the notifications that its sender got before its next request.
struct Turn {
    size_t participant = 0; ///< Index in Conversation::participants.
    Event request;
    std::optional<Event> end; ///< Answer or done; nothing if it did not come.
    std::vector<Event> notifications;

    /// Of a request that has an end: 0, or why there is no answer.
    uint32_t PlatformResult() const;

    /// When it ended; when it was made if it has no end.
    uint64_t EndNs() const { return end ? end->monotonicNs : request.monotonicNs; }
};

struct Conversation {
    std::vector<Participant> participants;
    std::vector<Turn> turns; ///< In the order of the recording.
};

/**
 * Reads a recording whole. Of a recording that was made on both sides, the applications' side counts.
 * Notifications that came before their receiver's first request belong to that.
 *
 * @throw Error if the file cannot be read, is garbled or has no request
 */
Conversation ReadConversation(const std::string& path, const OnRead& onRead = nullptr);

} // namespace vesk::recording
