// A second run that another recording shows, in its own time.
#include "tools/recording/alignment.h"
#include "tools/veskctl/rerun.h"

namespace vesk::ctl {

using namespace decoder;
using namespace recording;

namespace {

Clock::time_point TimeOf(uint64_t monotonicNs)
{
    return Clock::time_point(std::chrono::nanoseconds(monotonicNs));
}

Outcome OutcomeOf(const Turn& turn)
{
    return {turn.PlatformResult(), "", turn.end->HasMessage() ? turn.end->data : Bytes(),
            std::chrono::nanoseconds(turn.end->durationNs)};
}

/// A notification of the other recording.
struct Notification {
    size_t position; ///< Of the request that it followed, among those of its process.
    const Event* event;
};

/// A process of the other recording, and how far it has been gone through.
struct OtherProcess {
    std::vector<size_t> turns;
    std::vector<Notification> notifications;
    std::vector<const Event*> unrecorded; ///< Requests that have not been taken yet.
    size_t position = 0;                  ///< Of the turn that comes next.
    size_t taken = 0;                     ///< Notifications.
    uint64_t endNs = 0;                   ///< Of the turn that was performed last.
};

class RecordedRerun : public Rerun {
public:
    RecordedRerun(const Decoder& decoder, const Conversation& conversation, const Conversation& other,
                  milliseconds wait)
        : decoder_(decoder), conversation_(conversation), other_(other),
          alignment_(Align(decoder, conversation, other)), wait_(wait), processes_(other.participants.size()),
          isRecorded_(other.turns.size())
    {
        for (const std::optional<size_t>& turn : alignment_.turns) {
            if (turn)
                isRecorded_[*turn] = true;
        }
        for (size_t i = 0; i < other.turns.size(); ++i) {
            const Turn& turn = other.turns[i];
            OtherProcess& process = processes_[turn.participant];
            if (process.turns.empty())
                process.endNs = turn.request.monotonicNs;
            for (const Event& event : turn.notifications) {
                if (event.HasMessage())
                    process.notifications.push_back({process.turns.size(), &event});
            }
            process.turns.push_back(i);
        }
    }

    bool Has(size_t participant) const override { return alignment_.participants[participant].has_value(); }

    std::vector<Process> UnrecordedProcesses() const override
    {
        std::vector<bool> isRecorded(processes_.size());
        for (const std::optional<size_t>& process : alignment_.participants) {
            if (process)
                isRecorded[*process] = true;
        }
        std::vector<Process> unrecorded;
        for (size_t i = 0; i < processes_.size(); ++i) {
            if (!isRecorded[i])
                unrecorded.push_back({&other_, i});
        }
        return unrecorded;
    }

    std::optional<Reply> Perform(size_t index, Numbers& numbers) override
    {
        if (!alignment_.turns[index])
            return std::nullopt;
        OtherProcess& process = ProcessOf(conversation_.turns[index].participant);
        PassUnrecorded(process);
        ++process.position;
        const Event& recorded = conversation_.turns[index].request;
        const Turn& turn = other_.turns[*alignment_.turns[index]];
        process.endNs = turn.EndNs();
        numbers.Learn(decoder_.Decode(recorded.Message()), decoder_.Decode(turn.request.Message()));
        Reply reply{.request = turn.request.data,
                    .isWhole =
                        recorded.IsWhole() && turn.request.IsWhole() && (!turn.end || turn.end->IsWhole())};
        if (turn.end)
            reply.outcome = OutcomeOf(turn);
        return reply;
    }

    std::vector<const Event*> TakeUnrecorded(size_t participant) override
    {
        return std::exchange(ProcessOf(participant).unrecorded, {});
    }

    Clock::time_point Deadline(size_t participant, std::chrono::nanoseconds recorded) const override
    {
        return TimeOf(processes_[*alignment_.participants[participant]].endNs) + recorded + wait_;
    }

    std::optional<Arrived> Next(size_t participant, Clock::time_point deadline) override
    {
        const OtherProcess& process = ProcessOf(participant);
        if (process.taken == process.notifications.size() ||
            TimeOf(process.notifications[process.taken].event->monotonicNs) > deadline)
            return std::nullopt;
        return Take(ProcessOf(participant));
    }

    std::vector<Arrived> TakeArrived(size_t participant) override
    {
        OtherProcess& process = ProcessOf(participant);
        PassUnrecorded(process);
        std::vector<Arrived> all;
        while (process.taken < process.notifications.size() &&
               process.notifications[process.taken].position < process.position)
            all.push_back(Take(process));
        return all;
    }

    bool LeavesBefore(size_t participant, Clock::time_point moment) const override
    {
        return TimeOf(other_.participants[*alignment_.participants[participant]].lastNs) < moment;
    }

private:
    OtherProcess& ProcessOf(size_t participant) { return processes_[*alignment_.participants[participant]]; }

    /// Goes on to the next request that both recordings have.
    void PassUnrecorded(OtherProcess& process) const
    {
        while (process.position < process.turns.size() && !isRecorded_[process.turns[process.position]])
            process.unrecorded.push_back(&other_.turns[process.turns[process.position++]].request);
    }

    static Arrived Take(OtherProcess& process)
    {
        const Event& event = *process.notifications[process.taken++].event;
        using SystemClock = std::chrono::system_clock;
        const auto time =
            std::chrono::duration_cast<SystemClock::duration>(std::chrono::nanoseconds(event.realtimeNs));
        return {event.number, event.data, SystemClock::time_point(time)};
    }

    const Decoder& decoder_;
    const Conversation& conversation_;
    const Conversation& other_;
    const Alignment alignment_;
    const milliseconds wait_;
    std::vector<OtherProcess> processes_; ///< By participant of the other recording.
    std::vector<bool> isRecorded_;        ///< By turn of the other recording.
};

} // namespace

std::unique_ptr<Rerun> RerunInRecording(const Decoder& decoder, const Conversation& conversation,
                                        const Conversation& other, milliseconds wait)
{
    return std::make_unique<RecordedRerun>(decoder, conversation, other, wait);
}

} // namespace vesk::ctl
