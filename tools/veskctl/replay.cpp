// The subcommand "replay": sends recorded requests again and says what has become different.
#include "decoder/filter.h"
#include "platform/os_queue.h"
#include "tools/recording/conversation.h"
#include "tools/recording/numbers.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/progress.h"
#include "tools/veskctl/remote_client.h"

#include <cstring>
#include <deque>
#include <thread>

namespace vesk::ctl {

using namespace decoder;
using namespace recording;
using std::chrono::milliseconds;

namespace {

struct Options {
    std::string file;
    std::string speed = "fast";
    std::vector<std::string> terms;
    uint32_t waitMs = 1000;
};

/// How many times as fast as it was recorded; 0: without any pause.
double SpeedOf(const std::string& text)
{
    if (text == "fast")
        return 0;
    if (text == "original")
        return 1;
    char* end = nullptr;
    const double factor = std::strtod(text.c_str(), &end);
    if (*end != '\0' || !(factor > 0 && factor <= 1e6))
        throw Failure(kUsage, "--speed " + text + ": expected original, fast, or a factor such as 2 or 0.5");
    return factor;
}

/// A value that was recorded and the one that has come instead.
struct Difference {
    std::string field;
    std::string recorded;
    std::string replayed;
};

constexpr char kAbsent[] = "not there";

/// Whether a value tells of the moment at which it was asked for; a replay asks at another.
bool IsOfTheMoment(const Decoded& answer, const Field& field)
{
    return field.path == "frames" && (answer.number == VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS ||
                                      answer.number == VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS);
}

/// Compares two messages field by field.
std::vector<Difference> Compare(const Decoder& decoder, const Decoded& recorded, const Decoded& replayed)
{
    std::vector<Difference> differences;
    if (recorded.result != replayed.result)
        return {{"result", ResultText(recorded.result), ResultText(replayed.result)}};
    std::map<std::string_view, const Field*> remaining;
    for (const Field& field : replayed.fields)
        remaining[field.path] = &field;
    for (const Field& field : recorded.fields) {
        const auto other = remaining.find(field.path);
        if (other == remaining.end()) {
            differences.push_back({field.path, ValueText(decoder, field), kAbsent});
            continue;
        }
        if (field.value != other->second->value && !IsOfTheMoment(recorded, field))
            differences.push_back(
                {field.path, ValueText(decoder, field), ValueText(decoder, *other->second)});
        remaining.erase(other);
    }
    for (const auto& [path, field] : remaining)
        differences.push_back({std::string(path), kAbsent, ValueText(decoder, *field)});
    return differences;
}

/// A recorded notification that has not come yet.
struct Expected {
    size_t turn;
    Bytes data;
    uint32_t number;
};

/// A notification that has come and has not been recognised as a recorded one.
struct Unrecognised {
    Arrived arrived;
    std::optional<size_t> turn; ///< The request that its receiver had sent last.
    bool isFollowed = false;    ///< By one that was recorded.
};

/// One recorded process: the client in its place, and what passes between the service and it.
struct Actor {
    explicit Actor(const std::string& service) : client(service) {}

    /// Waits for what comes next, for at most so long. False if nothing does.
    bool Receive(milliseconds longest)
    {
        auto arrived = client.Next(longest);
        if (arrived)
            unrecognised.push_back({std::move(*arrived), turn});
        return arrived.has_value();
    }

    /// Takes what has come, and what comes without a pause, for a few seconds at the most.
    void ReceiveAll()
    {
        constexpr milliseconds kMoment(50);
        const Clock::time_point end = Clock::now() + std::chrono::seconds(5);
        while (Receive(kMoment) && Clock::now() < end) {
        }
    }

    RemoteClient client;
    std::optional<size_t> turn; ///< The request that it has sent last.
    std::deque<Expected> expected;
    std::deque<Unrecognised> unrecognised;
};

class Replay {
public:
    Replay(Settings& settings, const Options& options, const Conversation& conversation)
        : settings_(settings), conversation_(conversation), decoder_(settings.Decoder()),
          filter_(Usage([&] { return Filter(decoder_, options.terms); })), speed_(SpeedOf(options.speed)),
          wait_(options.waitMs),
          progress_("replay", "of " + std::to_string(conversation.turns.size()) + " requests")
    {
        for (size_t i = 0; i < conversation.participants.size(); ++i)
            actors_.emplace_back(settings.service);
    }

    int Run()
    {
        const Clock::time_point begun = Clock::now();
        for (size_t i = 0; i < conversation_.turns.size(); ++i) {
            if (speed_ > 0)
                std::this_thread::sleep_until(begun + SinceBegin(conversation_.turns[i].request));
            Perform(i);
            progress_(i + 1, conversation_.turns.size(), i + 1);
        }
        for (Actor& actor : actors_)
            ReportTheRest(actor);
        Summarize();
        return differences_ == 0 ? kDone : kFailed;
    }

private:
    std::chrono::nanoseconds SinceBegin(const Event& event) const
    {
        const auto ns = static_cast<int64_t>(event.monotonicNs - conversation_.turns[0].request.monotonicNs);
        return std::chrono::nanoseconds(static_cast<int64_t>(static_cast<double>(ns) / speed_));
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
            actor.ReceiveAll(); // which is what earlier requests have led to
        actor.turn = index;
        if (turn.request.data.size() == turn.request.dataLen) {
            const Bytes data = RequestFor(turn, actor);
            constexpr uint32_t kDefaultMs = VESK_VIDEO_SYNC_TIMEOUT;
            const Outcome outcome =
                actor.client.Send(turn.request.number, data, turn.request.isSynchronous,
                                  turn.request.timeoutMs != 0 ? turn.request.timeoutMs : kDefaultMs);
            ++sent_;
            if (turn.end)
                Check(index, data, outcome);
        } else {
            ++skipped_;
        }
        for (const Event& event : turn.notifications) {
            if (event.HasMessage())
                actor.expected.push_back({index, event.data, event.number});
        }
        Await(actor);
    }

    /// The request with this run's numbers and the name of the client that sends it.
    Bytes RequestFor(const Turn& turn, const Actor& actor)
    {
        const Message recorded{Direction::kRequest, turn.request.number, turn.request.data};
        if (turn.request.number == VESK_VIDEO_MSG_CREATE_QUEUE)
            CreateQueue(turn, decoder_.Decode(recorded));
        Bytes data = numbers_.Translate(decoder_, recorded);
        VeskVideoInitInfo info{};
        if (turn.request.number == VESK_VIDEO_MSG_INIT &&
            data.size() == sizeof(VeskVideoMsgHead) + sizeof info) {
            std::memcpy(info.procName, actor.client.Name().c_str(), actor.client.Name().size());
            std::memcpy(info.taskName, kOwnTaskName, sizeof kOwnTaskName);
            std::memcpy(data.data() + sizeof(VeskVideoMsgHead), &info, sizeof info);
        }
        return data;
    }

    /// Stands for the queue that the application had created before it told the service.
    void CreateQueue(const Turn& turn, const Decoded& request)
    {
        const std::optional<uint64_t> recorded = NumberIn(request, kQueueIdentity);
        if (!recorded || !turn.end || !turn.end->HasMessage() ||
            decoder_.Decode(turn.end->Message()).result != VESK_VIDEO_OK)
            return;
        OsMemQueReq description{"", 1, 2000};
        std::snprintf(description.name, sizeof description.name, "replay_%u", ++queues_);
        uint32_t created = 0;
        if (const uint32_t result = OsShmAdvancedBuffCreateQueue(&description, &created); result != 0)
            throw Failure(kFailed, "a queue cannot be created: " + ResultText(result));
        numbers_.Learn(kQueueIdentity, *recorded, created);
    }

    void Check(size_t index, const Bytes& request, const Outcome& outcome)
    {
        const Turn& turn = conversation_.turns[index];
        const Decoded sent = decoder_.Decode({Direction::kRequest, turn.request.number, request});
        const uint32_t before = turn.end->kind == Kind::kDone && !turn.request.isSent
                                    ? 0 // the service's handler has no result
                                    : turn.end->platformResult;
        if (outcome.platformResult != before) {
            if (const Failure failure = NoAnswer(std::string(sent.name), outcome);
                failure.status == kNoService)
                throw Failure(failure);
            if (filter_.Matches(sent))
                Report(index, sent,
                       {{"platform result", ResultText(before), ResultText(outcome.platformResult)}});
            return;
        }
        if (!turn.end->HasMessage())
            return;
        const Decoded replayed = decoder_.Decode({Direction::kAnswer, turn.request.number, outcome.answer});
        numbers_.LearnAnswer(decoder_.Decode(turn.end->Message()), replayed);
        const Bytes expected = numbers_.Translate(decoder_, turn.end->Message());
        const Decoded recorded = decoder_.Decode({Direction::kAnswer, turn.request.number, expected});
        if (filter_.Matches(sent, &recorded) || filter_.Matches(sent, &replayed))
            Report(index, sent, Compare(decoder_, recorded, replayed));
    }

    Decoded Notification(const Expected& expected) const
    {
        return decoder_.Decode({Direction::kNotification, expected.number, expected.data});
    }

    /// Waits for the notifications that are due. What has come with other contents, or not at all, when the
    /// time is up is a difference.
    void Await(Actor& actor)
    {
        for (Expected& due : actor.expected)
            due.data = numbers_.Translate(decoder_, {Direction::kNotification, due.number, due.data});
        const Clock::time_point deadline = Clock::now() + wait_;
        for (;;) {
            std::erase_if(actor.expected, [&](const Expected& due) { return TakeArrived(actor, due, true); });
            const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
            if (actor.expected.empty() || left.count() <= 0)
                break;
            actor.Receive(left);
        }
        for (const Expected& due : actor.expected) {
            if (!TakeArrived(actor, due, false) && filter_.Matches(Notification(due)))
                Report(due.turn, Notification(due), {{"notification", "there", kAbsent}});
        }
        actor.expected.clear();
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
            const std::vector<Difference> differences = Compare(decoder_, recorded, replayed);
            if (isSame && !differences.empty())
                continue;
            if (filter_.Matches(recorded) || filter_.Matches(replayed))
                Report(due.turn, recorded, differences);
            for (auto earlier = actor.unrecognised.begin(); earlier != one; ++earlier)
                earlier->isFollowed = true;
            actor.unrecognised.erase(one);
            ++notifications_;
            return true;
        }
        return false;
    }

    /// Whatever has come that was not recorded: a difference, unless the recorded process may have left just
    /// before it came.
    void ReportTheRest(Actor& actor)
    {
        actor.ReceiveAll();
        for (const Unrecognised& one : actor.unrecognised) {
            const Decoded replayed = DecodeArrived(decoder_, one.arrived);
            if (!one.isFollowed && one.turn && SinceRequest(*one.turn, LastOf(*one.turn)) < wait_)
                ++late_;
            else if (filter_.Matches(replayed))
                Report(std::nullopt, replayed, {{"notification", kAbsent, "there"}});
        }
    }

    /// @p turn is the request that the message is, or followed.
    void Report(std::optional<size_t> turn, const Decoded& message,
                const std::vector<Difference>& differences)
    {
        if (!differences.empty())
            progress_.Erase();
        for (const Difference& difference : differences) {
            ++differences_;
            if (settings_.json)
                PrintObject(MembersOf(turn, message, difference));
            else
                PrintLine((turn ? Origin(*turn, message.direction) : "") + Heading(message) + ": " +
                          difference.field + " was " + difference.recorded + ", is " + difference.replayed);
        }
    }

    /// A request with its arguments in the header, a notification with all fields.
    std::string Heading(Decoded message) const
    {
        if (message.direction == Direction::kRequest)
            std::erase_if(message.fields, [](const Field& field) { return field.IsPayload(); });
        return Line(decoder_, message);
    }

    Members MembersOf(std::optional<size_t> turn, const Decoded& message, const Difference& difference) const
    {
        Members members{{"message", Heading(message)}};
        if (turn) {
            const Participant& participant =
                conversation_.participants[conversation_.turns[*turn].participant];
            members.emplace_back("request", *turn + 1);
            members.emplace_back("program", participant.program);
            members.emplace_back("process", static_cast<uint64_t>(participant.process));
        }
        members.emplace_back("field", difference.field);
        members.emplace_back("recorded", difference.recorded);
        members.emplace_back("replayed", difference.replayed);
        return members;
    }

    /// "request 12 of my-app[812]: "
    std::string Origin(size_t turn, Direction direction) const
    {
        const Participant& participant = conversation_.participants[conversation_.turns[turn].participant];
        return (direction == Direction::kNotification ? "after request " : "request ") +
               std::to_string(turn + 1) + " of " + participant.program + '[' +
               std::to_string(participant.process) + "]: ";
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
    const Decoder& decoder_;
    Filter filter_;
    double speed_;
    milliseconds wait_;
    Progress progress_;
    std::deque<Actor> actors_; ///< By participant.
    Numbers numbers_;          ///< From the recording to this run.
    uint32_t queues_ = 0;
    uint64_t sent_ = 0;
    uint64_t skipped_ = 0;
    uint64_t notifications_ = 0;
    uint64_t late_ = 0; ///< Notifications for which the recording was too short.
    uint64_t differences_ = 0;
};

} // namespace

CommandLine ReplayCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "replay",
        .summary = "Send recorded requests again and compare what comes back",
        .footer = "Example:\n"
                  "  veskctl trace -o tour.pcapng -- vesk-display-tour\n"
                  "  veskctl replay tour.pcapng\n"
                  "  veskctl replay tour.pcapng --speed original --match 'VO_*' --json",
        .options =
            {
                {.name = "FILE",
                 .place = &options->file,
                 .help = "Recording (pcapng); - is standard input",
                 .isRequired = true},
                {.name = "--speed",
                 .place = &options->speed,
                 .help = "Pauses between requests: original, fast (none), or a factor: 2 is twice as fast",
                 .showsDefault = true},
                {.name = "--match",
                 .place = &options->terms,
                 .help =
                     "Compare only messages of this name, pattern, number or FIELD=VALUE; may be repeated",
                 .isOneEach = true,
                 .names = Names::kMessage},
                {.name = "--wait",
                 .place = &options->waitMs,
                 .help = "Milliseconds that a notification may take to come",
                 .showsDefault = true},
            },
        .run =
            [options, &settings] {
                Progress progress("replay: reading", "messages");
                const Conversation conversation = ReadConversation(options->file, std::ref(progress));
                progress.Erase();
                return Replay(settings, *options, conversation).Run();
            },
    };
}

} // namespace vesk::ctl
