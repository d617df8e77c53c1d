// The subcommand "serve": stands in for the service and answers as it did in a recording.
#include "base/envelope.h"
#include "tools/recording/conversation.h"
#include "tools/recording/numbers.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/progress.h"
#include "vesk_host/message.h"
#include "vesk_service/control_list.h"
#include "vesk_service/virtual_service.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>
#include <mutex>
#include <thread>

namespace vesk::ctl {

using namespace decoder;
using namespace recording;

namespace {

struct Options {
    std::string file;
    bool isStrict = false;
    bool endsWithLast = false;
};

/// An application, which takes the part of a recorded process.
struct Application {
    size_t part = 0;
    size_t position = 0; ///< Of the part's turns, the one that comes next.
    /// Of turns with equal requests, whether of its own part or not: how many it has been through, and the
    /// last of them.
    struct Progress {
        size_t seen = 0;
        std::optional<size_t> last;
    };
    std::map<std::pair<const std::vector<size_t>*, bool>, Progress> progress;
    std::string procName; ///< Where its notifications go.
    std::string taskName;
    Numbers toRecorded;
    Numbers toLive;
};

class Server {
public:
    Server(Settings& settings, const Options& options, const Conversation& conversation)
        : settings_(settings), service_(ParseService(settings.service)), options_(options),
          conversation_(conversation), decoder_(settings.Decoder()),
          turnsOf_(conversation.participants.size()), taken_(conversation.participants.size()),
          isUsed_(conversation.turns.size())
    {
        for (size_t i = 0; i < conversation.turns.size(); ++i) {
            const Turn& turn = conversation.turns[i];
            turnsOf_[turn.participant].push_back(i);
            turnsWith_[{turn.request.number, Comparable(turn.request.number, turn.request.data)}].push_back(
                i);
        }
    }

    void Handle(OsMsgEnvelope& message)
    {
        const HostProcess process = HostMsgSender(&message);
        const auto* data = static_cast<const std::byte*>(message.data);
        const Bytes live(data, data + message.dataLen);
        if (messages::IsControl(message.msgId) &&
            !turnsWith_.contains({message.msgId, Comparable(message.msgId, live)}))
            return Refuse(message); // of one who waits or wants to steer, and takes no part
        Application& application = ApplicationOf(process, message);
        const Bytes recorded =
            application.toRecorded.Translate(decoder_, {Direction::kRequest, message.msgId, live});
        ++requests_;
        if (message.msgId == VESK_VIDEO_MSG_INIT)
            TakeNames(application, live);
        if (const std::optional<size_t> turn = Choose(application, message.msgId, recorded))
            Perform(application, *turn, message, live);
        else
            RefuseUnknown(message, live, process);
        if (message.msgId == VESK_VIDEO_MSG_EXIT) {
            const std::lock_guard guard(lock_);
            applications_.erase(process);
        }
    }

    /// True once there were applications and all have left, or ended.
    bool HasNoMore()
    {
        const std::lock_guard guard(lock_);
        return hasBegun_ && std::all_of(applications_.begin(), applications_.end(), [](const auto& entry) {
                   return HostProcessIsAlive(entry.first) == 0;
               });
    }

    int Finish() const
    {
        const auto unused = static_cast<uint64_t>(std::count(isUsed_.begin(), isUsed_.end(), false));
        if (settings_.json) {
            PrintObject({{"requests", requests_},
                         {"notRecorded", unknown_},
                         {"outOfOrder", misplaced_},
                         {"recorded", isUsed_.size()},
                         {"unused", unused}});
        } else {
            std::string text = "veskctl: requests served: " + std::to_string(requests_) +
                               ", not in the recording: " + std::to_string(unknown_);
            if (options_.isStrict)
                text += ", out of order: " + std::to_string(misplaced_);
            PrintLine(text + "; recorded but not asked for: " + std::to_string(unused) + " of " +
                      std::to_string(isUsed_.size()));
        }
        return unknown_ == 0 && misplaced_ == 0 ? kDone : kFailed;
    }

private:
    Application& ApplicationOf(HostProcess process, const OsMsgEnvelope& message)
    {
        const std::lock_guard guard(lock_);
        hasBegun_ = true;
        const auto [entry, isNew] = applications_.try_emplace(process);
        Application& application = entry->second;
        if (isNew) {
            application.procName = TextIn(message.sendProcName);
            application.taskName = TextIn(message.sendTaskName);
            application.part = PartFor(application.procName);
            ++taken_[application.part];
        }
        return application;
    }

    /// Of the recorded processes of this name, or of all if there is none, the one least often taken.
    size_t PartFor(const std::string& name) const
    {
        const auto& participants = conversation_.participants;
        const bool isKnown = std::any_of(participants.begin(), participants.end(),
                                         [&](const Participant& one) { return one.procName == name; });
        size_t best = participants.size();
        for (size_t i = 0; i < participants.size(); ++i) {
            if (!turnsOf_[i].empty() && (!isKnown || participants[i].procName == name) &&
                (best == participants.size() || taken_[i] < taken_[best]))
                best = i;
        }
        return best == participants.size() ? 0 : best;
    }

    static void TakeNames(Application& application, BytesView data)
    {
        VeskVideoInitInfo info;
        if (data.size() != sizeof(VeskVideoMsgHead) + sizeof info)
            return;
        std::memcpy(&info, data.data() + sizeof(VeskVideoMsgHead), sizeof info);
        application.procName = TextIn(info.procName);
        application.taskName = TextIn(info.taskName);
    }

    /// The recorded request that equals this one: the next of the application's own part, else its last one
    /// again, else the same among those of other processes.
    std::optional<size_t> Choose(Application& application, uint32_t number, const Bytes& data) const
    {
        const auto same = turnsWith_.find({number, Comparable(number, data)});
        if (same == turnsWith_.end())
            return std::nullopt;
        const std::vector<size_t>& turns = same->second;
        for (const bool isOwn : {true, false}) {
            Application::Progress& progress = application.progress[{&turns, isOwn}];
            while (progress.seen < turns.size()) {
                const size_t turn = turns[progress.seen++];
                if ((conversation_.turns[turn].participant == application.part) == isOwn)
                    return progress.last = turn;
            }
            if (progress.last)
                return progress.last;
        }
        return std::nullopt;
    }

    void Perform(Application& application, size_t index, OsMsgEnvelope& message, const Bytes& live)
    {
        const Turn& turn = conversation_.turns[index];
        if (options_.isStrict)
            CheckOrder(application, index, live);
        isUsed_[index] = true;
        const Decoded recorded = decoder_.Decode(turn.request.Message());
        const Decoded now = decoder_.Decode({Direction::kRequest, turn.request.number, live});
        application.toRecorded.Learn(now, recorded);
        application.toLive.Learn(recorded, now);
        // If none was recorded, the application sees a failure, as it did then.
        if (message.type == OS_MSG_SYNCHRONOUS && turn.end && turn.end->HasMessage()) {
            const Bytes answer = application.toLive.Translate(decoder_, turn.end->Message());
            HostMsgReply(&message, answer.data(), static_cast<uint32_t>(answer.size()));
        }
        for (const Event& notification : turn.notifications) {
            if (notification.HasMessage())
                Notify(application, notification);
        }
    }

    void Notify(const Application& application, const Event& notification)
    {
        const Bytes data = application.toLive.Translate(decoder_, notification.Message());
        OsMsgEnvelope envelope = MakeEnvelope(notification.number, {service_.process, service_.task},
                                              {application.procName, application.taskName}, data);
        OsMsgAsynSend(&envelope);
    }

    void CheckOrder(Application& application, size_t index, const Bytes& live)
    {
        const std::vector<size_t>& turns = turnsOf_[application.part];
        const size_t position = application.position;
        if (position < turns.size() && turns[position] == index) {
            ++application.position;
            return;
        }
        ++misplaced_;
        const Event& request = conversation_.turns[index].request;
        std::string due = "no more requests";
        if (position < turns.size())
            due = RequestLine(conversation_.turns[turns[position]].request.number,
                              conversation_.turns[turns[position]].request.data);
        Complain("out of order", request.number, live, application.procName,
                 "; next in the recording: " + due);
        if (const auto at = std::find(turns.begin(), turns.end(), index); at != turns.end())
            application.position = std::max(position, static_cast<size_t>(at - turns.begin()) + 1);
    }

    void RefuseUnknown(OsMsgEnvelope& message, const Bytes& live, HostProcess process)
    {
        ++unknown_;
        Complain("not in the recording", message.msgId, live,
                 std::string(TextIn(message.sendProcName)) + '[' +
                     std::to_string(HostProcessNumber(process)) + "]",
                 "");
        Refuse(message);
    }

    static void Refuse(OsMsgEnvelope& message)
    {
        if (message.type != OS_MSG_SYNCHRONOUS)
            return;
        VeskVideoMsgHead head{};
        head.msgId = static_cast<uint16_t>(message.msgId);
        head.uwSubMsgID = VESK_SERVICE_ERR_REQUEST;
        HostMsgReply(&message, &head, sizeof head);
    }

    std::string RequestLine(uint32_t number, BytesView data) const
    {
        return Line(decoder_, decoder_.Decode({Direction::kRequest, number, data}));
    }

    void Complain(const char* what, uint32_t number, const Bytes& live, const std::string& sender,
                  const std::string& more) const
    {
        if (settings_.json)
            return PrintObject({{"problem", what},
                                {"sender", sender},
                                {"request", decoder_.Decode({Direction::kRequest, number, live})}});
        PrintError(std::string(what) + ": " + RequestLine(number, live) + " from " + sender + more);
    }

    Settings& settings_;
    const ServiceName service_;
    const Options& options_;
    const Conversation& conversation_;
    const Decoder& decoder_;
    std::vector<std::vector<size_t>> turnsOf_; ///< By participant.
    std::vector<unsigned> taken_;              ///< By participant: how many applications had its part.
    std::vector<bool> isUsed_;                 ///< By turn.
    std::map<std::pair<uint32_t, Bytes>, std::vector<size_t>> turnsWith_; ///< By number and contents.
    std::mutex lock_; ///< Guards what the thread that waits for the end also looks at.
    std::map<HostProcess, Application> applications_; ///< By process.
    bool hasBegun_ = false;
    uint64_t requests_ = 0;
    uint64_t unknown_ = 0;
    uint64_t misplaced_ = 0;
};

Server* g_server = nullptr;

uint32_t HandleMessage(OsMsgEnvelope* message)
{
    try {
        g_server->Handle(*message);
    } catch (const std::exception& error) { // out of memory, for example: the sender sees a failure
        PrintError("message " + std::to_string(message->msgId) + ": " + error.what());
    }
    return 0;
}

int RunServe(Settings& settings, const Options& options)
{
    Progress progress("serve: reading", "messages");
    const Conversation conversation = ReadConversation(options.file, std::ref(progress));
    progress.Erase();
    Server server(settings, options, conversation);
    g_server = &server;

    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);

    const ServiceName service = ParseService(settings.service);
    if (HostMsgSetProcName(service.process.c_str()) != 0)
        throw Failure(kUsage, "--service " + settings.service +
                                  ": expected PROCESS/TASK, of at most 15 characters each");
    constexpr uint32_t kQueueDepth = 1024;
    if (const uint32_t result = OsMsgRegTask(service.task.c_str(), kQueueDepth, HandleMessage); result != 0)
        throw Failure(kFailed, settings.service + " cannot be served: " + ResultText(result));
    if (!settings.json)
        PrintLine("veskctl: serving " + settings.service + " as recorded in " + options.file + ": " +
                  std::to_string(conversation.turns.size()) + " requests");
    std::thread waiter([&] {
        constexpr timespec kPause{0, 100000000};
        while (sigtimedwait(&signals, nullptr, &kPause) < 0) {
            if (options.endsWithLast && server.HasNoMore())
                break;
        }
        HostMsgEndTask(service.task.c_str());
    });
    OsMsgTaskRoutineByName(service.task.c_str());
    waiter.join();
    return server.Finish();
}

} // namespace

CommandLine ServeCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "serve",
        .summary = "Stand in for the service and answer as it did in a recording",
        .footer = "Example:\n"
                  "  veskctl trace -o tour.pcapng -- vesk-display-tour\n"
                  "  veskctl serve tour.pcapng --once & veskctl wait-service; vesk-display-tour; wait $!\n"
                  "  veskctl serve tour.pcapng --strict                 # until Ctrl-C",
        .options =
            {
                {.name = "FILE",
                 .place = &options->file,
                 .help = "Recording (pcapng); - is standard input",
                 .isRequired = true},
                {.name = "--strict",
                 .place = &options->isStrict,
                 .help = "Report requests that do not come in the recorded order, too"},
                {.name = "--once",
                 .place = &options->endsWithLast,
                 .help = "End when the last application has left"},
            },
        .run = [options, &settings] { return RunServe(settings, *options); },
    };
}

} // namespace vesk::ctl
