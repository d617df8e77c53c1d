// A recording compared with a second run of it.
#include "tools/veskctl/comparison.h"

#include "tools/veskctl/difference.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/progress.h"

#include <algorithm>
#include <deque>

namespace vesk::ctl {

using namespace decoder;
using namespace recording;

namespace {

/// A recorded notification that has not come yet.
struct Expected {
    size_t turn;
    Bytes data;
    uint32_t number;
    bool isFollowed = false; ///< By one that has come.
};

/// A notification that has come and has not been recognised as a recorded one.
struct Unrecognised {
    Arrived arrived;
    std::optional<size_t> turn; ///< The request that its receiver had made last.
    bool isFollowed = false;    ///< By one that was recorded.
};

/// One recorded process: what passes between the service and the one in its place.
struct Actor {
    std::optional<size_t> turn;      ///< The request that it has come to,
    std::optional<size_t> performed; ///< and the one that it has made last.
    std::deque<Expected> expected;
    std::deque<Expected> missed; ///< Those for which it may have left too early.
    std::deque<Unrecognised> unrecognised;
};

/// What a difference is about.
struct Place {
    std::optional<size_t> turn; ///< The recorded request,
    bool isAfter = false;       ///< or what came after it.
};

class Comparison {
public:
    Comparison(Settings& settings, const Conversation& conversation, Rerun& rerun, const Filter& filter,
               milliseconds wait)
        : settings_(settings), conversation_(conversation), rerun_(rerun), decoder_(settings.Decoder()),
          filter_(filter), wait_(wait),
          progress_("replay", "of " + std::to_string(conversation.turns.size()) + " requests"),
          actors_(conversation.participants.size())
    {
    }

    int Run()
    {
        ReportProcesses();
        for (size_t i = 0; i < conversation_.turns.size(); ++i) {
            if (rerun_.Has(conversation_.turns[i].participant))
                Perform(i);
            progress_(i + 1, conversation_.turns.size(), i + 1);
        }
        for (size_t i = 0; i < actors_.size(); ++i) {
            if (rerun_.Has(i))
                ReportTheRest(i);
        }
        Summarize();
        return differences_ == 0 ? kDone : kFailed;
    }

private:
    /// Says which processes only one run has.
    void ReportProcesses()
    {
        for (size_t i = 0; i < actors_.size(); ++i) {
            if (!rerun_.Has(i))
                ReportProcess({&conversation_, i}, {"process", kPresent, kAbsent});
        }
        for (const Process& process : rerun_.UnrecordedProcesses())
            ReportProcess(process, {"process", kAbsent, kPresent});
    }

    void ReportProcess(const Process& process, const Difference& difference)
    {
        const auto& turns = process.conversation->turns;
        if (std::any_of(turns.begin(), turns.end(), [&](const Turn& turn) {
                return turn.participant == process.participant &&
                       filter_.Matches(decoder_.Decode(turn.request.Message()));
            }))
            Report({}, NameOf(process.conversation->participants[process.participant]), {difference});
    }

    /// Recorded time from the end of a request to a later moment.
    std::chrono::nanoseconds SinceEnd(size_t turn, uint64_t ns) const
    {
        return std::chrono::nanoseconds(static_cast<int64_t>(ns - conversation_.turns[turn].EndNs()));
    }

    /// Recorded time from a request to a later moment.
    std::chrono::nanoseconds SinceRequest(size_t turn, uint64_t ns) const
    {
        return std::chrono::nanoseconds(ns - conversation_.turns[turn].request.monotonicNs);
    }

    /// When the process that made a request was last seen.
    uint64_t LastOf(size_t turn) const
    {
        return conversation_.participants[conversation_.turns[turn].participant].lastNs;
    }

    void Perform(size_t index)
    {
        const Turn& turn = conversation_.turns[index];
        Actor& actor = actors_[turn.participant];
        if (actor.turn && SinceRequest(*actor.turn, turn.request.monotonicNs) >= wait_)
            ReceiveAll(turn.participant); // which is what earlier requests have led to
        if (const std::optional<Reply> reply = rerun_.Perform(index, numbers_)) {
            ReportUnrecorded(turn.participant);
            actor.performed = index;
            Check(index, *reply);
        } else {
            const Decoded request = InThisRun(turn.request);
            if (filter_.Matches(request))
                Report({index}, request, {{"request", kPresent, kAbsent}});
        }
        actor.turn = index;
        std::chrono::nanoseconds latest{0};
        for (const Event& event : turn.notifications) {
            if (!event.HasMessage())
                continue;
            actor.expected.push_back({index, event.data, event.number});
            latest = SinceEnd(actor.performed.value_or(index), event.monotonicNs);
        }
        Await(turn.participant, latest);
    }

    /// A recorded message with this run's numbers.
    Decoded InThisRun(const Event& event) const
    {
        return decoder_.Decode(
            {event.Message().direction, event.number, numbers_.Translate(decoder_, event.Message())});
    }

    /// Says which requests were made that are not recorded.
    void ReportUnrecorded(size_t participant)
    {
        for (const Event* event : rerun_.TakeUnrecorded(participant)) {
            const Decoded request = decoder_.Decode(event->Message());
            if (filter_.Matches(request))
                Report({actors_[participant].turn, true}, request, {{"request", kAbsent, kPresent}});
        }
    }

    void Check(size_t index, const Reply& reply)
    {
        if (!reply.isWhole) {
            ++skipped_;
            return;
        }
        ++sent_;
        const Turn& turn = conversation_.turns[index];
        const Decoded sent = decoder_.Decode({Direction::kRequest, turn.request.number, reply.request});
        const Decoded request = InThisRun(turn.request);
        CheckRequest(index, request, reply);
        if (!turn.end)
            return;
        if (!reply.outcome) {
            if (filter_.Matches(sent))
                Report({index}, sent, {{"answer", kPresent, kAbsent}});
            return;
        }
        const Outcome& outcome = *reply.outcome;
        if (outcome.platformResult != turn.PlatformResult()) {
            if (filter_.Matches(sent))
                Report({index}, sent,
                       {{"platform result", ResultText(turn.PlatformResult()),
                         ResultText(outcome.platformResult)}});
            return;
        }
        if (!turn.end->HasMessage())
            return;
        const Decoded replayed = decoder_.Decode({Direction::kAnswer, turn.request.number, outcome.answer});
        numbers_.Learn(decoder_.Decode(turn.end->Message()), replayed);
        const Decoded recorded = InThisRun(*turn.end);
        if (filter_.Matches(sent, &recorded) || filter_.Matches(sent, &replayed))
            Report({index}, sent, Differences(decoder_, recorded, replayed));
    }

    /// Compares what the application decides itself, which differs only in another recording.
    void CheckRequest(size_t index, const Decoded& request, const Reply& reply)
    {
        const auto comparable = [&](const Bytes& data) {
            return decoder_.Decode({Direction::kRequest, request.number, Comparable(request.number, data)});
        };
        const Event& recorded = conversation_.turns[index].request;
        const Decoded made = comparable(reply.request);
        if (filter_.Matches(request) || filter_.Matches(made))
            Report({index}, request,
                   Differences(decoder_, comparable(numbers_.Translate(decoder_, recorded.Message())), made));
    }

    Decoded Notification(const Expected& expected) const
    {
        return decoder_.Decode({Direction::kNotification, expected.number, expected.data});
    }

    void Receive(Actor& actor, Arrived&& arrived)
    {
        actor.unrecognised.push_back({std::move(arrived), actor.turn});
    }

    void ReceiveAll(size_t participant)
    {
        for (Arrived& arrived : rerun_.TakeArrived(participant))
            Receive(actors_[participant], std::move(arrived));
    }

    /// Waits for the notifications that are due. What has come with other contents, or not at all, when the
    /// time is up is a difference. @param latest  When the last of them was recorded, since the end of the
    /// request that was performed last.
    void Await(size_t participant, std::chrono::nanoseconds latest)
    {
        Actor& actor = actors_[participant];
        for (Expected& due : actor.expected)
            due.data = numbers_.Translate(decoder_, {Direction::kNotification, due.number, due.data});
        const Clock::time_point deadline = rerun_.Deadline(participant, latest);
        for (;;) {
            TakeSame(actor);
            if (actor.expected.empty())
                return;
            std::optional<Arrived> arrived = rerun_.Next(participant, deadline);
            if (!arrived)
                break;
            Receive(actor, std::move(*arrived));
        }
        for (Expected& due : actor.expected) {
            if (TakeArrived(actor, due, false))
                continue;
            if (!due.isFollowed && rerun_.LeavesBefore(participant, deadline))
                actor.missed.push_back(std::move(due));
            else
                ReportMissing(due);
        }
        actor.expected.clear();
    }

    void TakeSame(Actor& actor)
    {
        for (auto due = actor.expected.begin(); due != actor.expected.end();) {
            if (!TakeArrived(actor, *due, true)) {
                ++due;
                continue;
            }
            std::for_each(actor.expected.begin(), due, [](Expected& earlier) { earlier.isFollowed = true; });
            due = actor.expected.erase(due);
        }
    }

    /// Takes the first arrival of the same number, if @p isSame with the same contents. False if there is
    /// none.
    bool TakeArrived(Actor& actor, const Expected& due, bool isSame)
    {
        const Decoded recorded = Notification(due);
        for (auto one = actor.unrecognised.begin(); one != actor.unrecognised.end(); ++one) {
            if (one->arrived.number != due.number)
                continue;
            const Decoded replayed = DecodeArrived(decoder_, one->arrived);
            const std::vector<Difference> differences = Differences(decoder_, recorded, replayed);
            if (isSame && !differences.empty())
                continue;
            if (filter_.Matches(recorded) || filter_.Matches(replayed))
                Report({due.turn, true}, recorded, differences);
            for (auto earlier = actor.unrecognised.begin(); earlier != one; ++earlier)
                earlier->isFollowed = true;
            actor.unrecognised.erase(one);
            for (const Expected& missed : std::exchange(actor.missed, {}))
                ReportMissing(missed); // as its receiver was still there
            ++notifications_;
            return true;
        }
        return false;
    }

    void ReportMissing(const Expected& due)
    {
        if (filter_.Matches(Notification(due)))
            Report({due.turn, true}, Notification(due), {{"notification", kPresent, kAbsent}});
    }

    /// Whatever has come that was not recorded: a difference, unless the recorded process may have left just
    /// before it came.
    void ReportTheRest(size_t participant)
    {
        ReceiveAll(participant);
        ReportUnrecorded(participant);
        Actor& actor = actors_[participant];
        late_ += actor.missed.size();
        for (const Unrecognised& one : actor.unrecognised) {
            const Decoded replayed = DecodeArrived(decoder_, one.arrived);
            if (!one.isFollowed && one.turn && SinceRequest(*one.turn, LastOf(*one.turn)) < wait_)
                ++late_;
            else if (filter_.Matches(replayed))
                Report({}, replayed, {{"notification", kAbsent, kPresent}});
        }
    }

    void Report(const Place& place, const Decoded& message, const std::vector<Difference>& differences)
    {
        if (!differences.empty())
            Report(place, Heading(message), differences);
    }

    void Report(const Place& place, const std::string& heading, const std::vector<Difference>& differences)
    {
        progress_.Erase();
        for (const Difference& difference : differences) {
            ++differences_;
            if (settings_.json)
                PrintObject(MembersOf(place, heading, difference));
            else
                PrintLine(Origin(place) + heading + ": " + difference.field + " was " + difference.recorded +
                          ", is " + difference.replayed);
        }
    }

    /// A request with its arguments in the header, a notification with all fields.
    std::string Heading(Decoded message) const
    {
        if (message.direction == Direction::kRequest)
            std::erase_if(message.fields, [](const Field& field) { return field.IsPayload(); });
        return Line(decoder_, message);
    }

    const Participant& ParticipantOf(size_t turn) const
    {
        return conversation_.participants[conversation_.turns[turn].participant];
    }

    Members MembersOf(const Place& place, const std::string& heading, const Difference& difference) const
    {
        Members members{{"message", heading}};
        if (place.turn) {
            const Participant& participant = ParticipantOf(*place.turn);
            members.emplace_back("request", *place.turn + 1);
            members.emplace_back("program", participant.program);
            members.emplace_back("process", static_cast<uint64_t>(participant.process));
        }
        members.emplace_back("field", difference.field);
        members.emplace_back("recorded", difference.recorded);
        members.emplace_back("replayed", difference.replayed);
        return members;
    }

    /// "my-app[812]"
    static std::string NameOf(const Participant& participant)
    {
        return participant.program + '[' + std::to_string(participant.process) + ']';
    }

    /// "request 12 of my-app[812]: "
    std::string Origin(const Place& place) const
    {
        if (!place.turn)
            return "";
        return (place.isAfter ? "after request " : "request ") + std::to_string(*place.turn + 1) + " of " +
               NameOf(ParticipantOf(*place.turn)) + ": ";
    }

    void Summarize()
    {
        progress_.Erase();
        if (settings_.json)
            return PrintObject({{"requests", sent_},
                                {"skipped", skipped_},
                                {"notifications", notifications_},
                                {"late", late_},
                                {"differences", differences_}});
        if (skipped_ != 0)
            PrintLine(std::to_string(skipped_) + " requests are too long to have been recorded");
        if (late_ != 0)
            PrintLine("not compared, as the recorded application had ended by then: " +
                      std::to_string(late_) + (late_ == 1 ? " notification" : " notifications"));
        PrintLine("replayed " + std::to_string(sent_) + " requests, " + std::to_string(notifications_) +
                  " notifications came: " +
                  (differences_ == 0 ? "no difference"
                                     : std::to_string(differences_) +
                                           (differences_ == 1 ? " difference" : " differences")));
    }

    Settings& settings_;
    const Conversation& conversation_;
    Rerun& rerun_;
    const Decoder& decoder_;
    const Filter& filter_;
    const milliseconds wait_;
    Progress progress_;
    std::vector<Actor> actors_; ///< By participant.
    Numbers numbers_;           ///< From the recording to this run.
    uint64_t sent_ = 0;
    uint64_t skipped_ = 0;
    uint64_t notifications_ = 0;
    uint64_t late_ = 0; ///< Notifications for which one of the runs was too short.
    uint64_t differences_ = 0;
};

} // namespace

int Compare(Settings& settings, const Conversation& conversation, Rerun& rerun, const Filter& filter,
            milliseconds wait)
{
    return Comparison(settings, conversation, rerun, filter, wait).Run();
}

} // namespace vesk::ctl
