// The subcommand "device watch": the messages of all applications as the virtual service sees them.
#include "base/text.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/transcript.h"
#include "vesk_service/control_list.h"

#include <cstring>

namespace vesk::ctl {

using namespace decoder;
using recording::Event;
using recording::Kind;

namespace {

struct Options {
    TranscriptOptions shown;
    uint64_t count = 0;
};

/// Events of a recording as the application would have made it.
class Watched {
public:
    Watched(Transcript& transcript, ServiceName service)
        : transcript_(transcript), service_(std::move(service))
    {
    }

    /// How many messages were lost between the one before and this.
    uint64_t TakeLost(const VeskControlMessage& seen) { return seen.lost - std::exchange(lost_, seen.lost); }

    void Add(const VeskControlMessage& seen, BytesView bytes)
    {
        Event event = Begin(seen);
        event.data.assign(bytes.begin(), bytes.end());
        switch (seen.kind) {
        case VESK_CONTROL_SAW_REQUEST:
            event.kind = Kind::kRequest;
            break;
        case VESK_CONTROL_SAW_ANSWER:
            event.kind = Kind::kAnswer;
            break;
        case VESK_CONTROL_SAW_NO_ANSWER:
            event.kind = Kind::kDone;
            break;
        case VESK_CONTROL_SAW_NOTIFICATION:
            AddNotification(event, seen);
            break;
        default:
            event.comment = "a message of the unknown kind " + std::to_string(seen.kind);
        }
        transcript_.Add(std::move(event));
    }

private:
    Event Begin(const VeskControlMessage& seen) const
    {
        Event event;
        event.isSent = true;
        event.isSynchronous = seen.isSynchronous != 0;
        event.process = seen.process;
        event.program = TextIn(seen.procName);
        event.exchange = seen.exchange;
        event.realtimeNs = seen.realtimeNs;
        event.monotonicNs = seen.monotonicNs;
        event.durationNs = seen.durationNs;
        event.platformResult = seen.platformResult;
        event.number = seen.number;
        event.dataLen = seen.dataLen;
        event.sendProcName = event.program;
        event.sendTaskName = TextIn(seen.taskName);
        event.recvProcName = service_.process;
        event.recvTaskName = service_.task;
        return event;
    }

    /// Begins the exchange of a notification and makes @p event its end.
    void AddNotification(Event& event, const VeskControlMessage& seen)
    {
        event.kind = Kind::kNotification;
        event.isSent = seen.platformResult != 0; // then it is still the service's
        event.exchange = ++lastNotification_;
        std::swap(event.sendProcName, event.recvProcName);
        std::swap(event.sendTaskName, event.recvTaskName);
        transcript_.Add(Event(event));
        event.kind = Kind::kDone;
    }

    Transcript& transcript_;
    ServiceName service_;
    uint64_t lost_ = 0;
    uint64_t lastNotification_ = uint64_t{1} << 52U; ///< Not to be taken for an exchange of the service.
};

void Switch(Client& client, Settings& settings, bool isOn)
{
    const Prepared request =
        Prepare(settings.Decoder(), "VESK_CONTROL_WATCH", {{"enable", isOn ? "1" : "0"}});
    RequireOk(Perform(client, settings.Decoder(), request, VESK_VIDEO_SYNC_TIMEOUT));
}

void SayLost(const Settings& settings, uint64_t lost)
{
    if (lost != 0)
        PrintLine(settings.json ? "{\"lost\":" + std::to_string(lost) + '}'
                                : "-- " + std::to_string(lost) + " messages lost");
}

int RunWatch(Settings& settings, const Options& options)
{
    Transcript transcript(settings, options.shown, stdout);
    Client client(settings.service, Client::Interrupt::kEndsWait);
    Watched watched(transcript, ParseService(settings.service));
    Switch(client, settings, true);
    while (options.count == 0 || transcript.Shown() < options.count) {
        const std::optional<Arrived> arrived = client.Next(std::nullopt);
        if (!arrived)
            break;
        VeskControlMessage seen;
        const BytesView data = BytesView(arrived->data);
        if (arrived->number != VESK_CONTROL_ON_MESSAGE ||
            data.size() < sizeof(VeskVideoMsgHead) + sizeof seen)
            continue;
        std::memcpy(&seen, data.data() + sizeof(VeskVideoMsgHead), sizeof seen);
        SayLost(settings, watched.TakeLost(seen));
        watched.Add(seen, data.subspan(sizeof(VeskVideoMsgHead) + sizeof seen));
        std::fflush(stdout);
    }
    if (options.count == 0)
        transcript.Finish();
    transcript.Summarize(stdout);
    std::fflush(stdout);
    Switch(client, settings, false);
    return kDone;
}

} // namespace

CommandLine DeviceWatchCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    CommandLine line{.name = "watch",
                     .summary = "Show the messages of all applications as they pass",
                     .footer = "Example:\n"
                               "  veskctl device watch                     # until Ctrl-C\n"
                               "  veskctl device watch --match 'VO_*' --slow 5 --summary",
                     .options = TranscriptOptionsOf(options->shown),
                     .run = [options, &settings] { return RunWatch(settings, *options); }};
    line.options.push_back(
        {.name = "--count", .place = &options->count, .help = "Stop after this many messages"});
    return line;
}

} // namespace vesk::ctl
