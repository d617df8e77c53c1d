// Where the answers and notifications come from that a recording is compared with.
#pragma once

#include "tools/recording/conversation.h"
#include "tools/recording/numbers.h"
#include "tools/veskctl/client.h"

#include <memory>

namespace vesk::ctl {

/// A recorded request as it is made this time, and what it leads to.
struct Reply {
    Bytes request{};
    std::optional<Outcome> outcome{}; ///< Nothing if it has no end.
    bool isWhole = true;              ///< False if one of its messages is too long to have been recorded.
};

/// A process of a conversation.
struct Process {
    const recording::Conversation* conversation;
    size_t participant;
};

/// A second run of a conversation: at a service, or in another recording. Participants and turns are those of
/// the conversation.
class Rerun {
public:
    virtual ~Rerun() = default;

    /// Whether the process of a participant is there.
    virtual bool Has(size_t participant) const = 0;

    /// Processes of this run that the conversation does not have.
    virtual std::vector<Process> UnrecordedProcesses() const = 0;

    /// Makes a request, if it is whole, and learns this run's numbers. Nothing if it is not made this time.
    virtual std::optional<Reply> Perform(size_t turn, recording::Numbers& numbers) = 0;

    /// Requests that the process has made until now and that the conversation does not have; each once.
    virtual std::vector<const recording::Event*> TakeUnrecorded(size_t participant) = 0;

    /// Until when a notification is waited for that came so long after the end of the request that was made
    /// last.
    virtual Clock::time_point Deadline(size_t participant, std::chrono::nanoseconds recorded) const = 0;

    /// The next notification to a process, if it comes in time.
    virtual std::optional<Arrived> Next(size_t participant, Clock::time_point deadline) = 0;

    /// What has come to a process, and what comes before it makes a further request.
    virtual std::vector<Arrived> TakeArrived(size_t participant) = 0;

    /// Whether the process leaves before a moment, and may so miss a notification.
    virtual bool LeavesBefore(size_t participant, Clock::time_point moment) const = 0;
};

using std::chrono::milliseconds;

/// At a service. @param speed  How many times as fast as it was recorded; 0: without any pause.
std::unique_ptr<Rerun> RerunAtService(const std::string& service, const decoder::Decoder& decoder,
                                      const recording::Conversation& conversation, double speed,
                                      milliseconds wait);

/// In another recording.
std::unique_ptr<Rerun> RerunInRecording(const decoder::Decoder& decoder,
                                        const recording::Conversation& conversation,
                                        const recording::Conversation& other, milliseconds wait);

} // namespace vesk::ctl
