// The subcommands "monitor" and "wait": notifications as they arrive.
#include "decoder/filter.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"

namespace vesk::ctl {

using namespace decoder;

namespace {

struct Options {
    std::vector<std::string> terms;
    uint64_t count = 0;
    uint32_t timeoutMs = 0;
};

void Show(Settings& settings, const Decoded& notification, const Arrived& arrived, Clock::time_point begun)
{
    if (settings.json)
        return PrintLine(ArrivedJson(notification, arrived));
    const std::chrono::duration<double> elapsed = Clock::now() - begun;
    char time[32];
    std::snprintf(time, sizeof time, "%.6f ", elapsed.count());
    PrintLine(time + Line(settings.Decoder(), notification));
}

/// Shows notifications that match until there are @p count (0: without end), the time is up or the user
/// interrupts. Returns how many there were.
uint64_t Watch(Client& client, Settings& settings, const Filter& filter, uint64_t count, uint32_t timeoutMs)
{
    const Decoder& decoder = settings.Decoder();
    const Clock::time_point begun = Clock::now();
    std::optional<Clock::time_point> deadline;
    if (timeoutMs != 0)
        deadline = begun + std::chrono::milliseconds(timeoutMs);
    client.Announce();
    uint64_t shown = 0;
    while (count == 0 || shown < count) {
        const std::optional<Arrived> arrived = client.Next(deadline);
        if (!arrived)
            break;
        const Decoded notification = DecodeArrived(decoder, *arrived);
        if (!filter.Matches(notification))
            continue;
        Show(settings, notification, *arrived, begun);
        ++shown;
    }
    return shown;
}

int RunMonitor(Settings& settings, const Options& options)
{
    const Filter filter = Usage([&] { return Filter::OfNotifications(settings.Decoder(), options.terms); });
    Client client(settings.service, Client::Interrupt::kEndsWait);
    const uint64_t shown = Watch(client, settings, filter, options.count, options.timeoutMs);
    if (shown >= options.count || client.IsInterrupted())
        return kDone;
    throw Failure(kTimedOut, std::to_string(shown) + " such notifications within " +
                                 std::to_string(options.timeoutMs) + " ms, not " +
                                 std::to_string(options.count));
}

int RunWait(Settings& settings, const Options& options)
{
    const Filter filter = Usage([&] { return Filter::OfNotifications(settings.Decoder(), options.terms); });
    Client client(settings.service, Client::Interrupt::kEndsWait);
    if (Watch(client, settings, filter, 1, options.timeoutMs) == 1)
        return kDone;
    if (client.IsInterrupted())
        throw Failure(kFailed, "interrupted");
    throw Failure(kTimedOut, "no such notification within " + std::to_string(options.timeoutMs) + " ms");
}

} // namespace

CommandLine MonitorCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "monitor",
        .summary = "Show the notifications that the service sends to this client",
        .footer = "Example:\n"
                  "  veskctl monitor                      # until Ctrl-C\n"
                  "  veskctl monitor --match '*PLUG*' --match port=1 --count 2 --json",
        .options =
            {
                {.name = "--match",
                 .place = &options->terms,
                 .help = "Show only this notification, pattern or FIELD=VALUE; may be repeated",
                 .isOneEach = true,
                 .names = Names::kMessage},
                {.name = "--count",
                 .place = &options->count,
                 .help = "Stop after this many notifications",
                 .range = kCounts},
                {.name = "--timeout",
                 .place = &options->timeoutMs,
                 .help = "Stop after this many milliseconds"},
            },
        .run = [options, &settings] { return RunMonitor(settings, *options); },
    };
}

CommandLine WaitCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    options->timeoutMs = 5000;
    return {
        .name = "wait",
        .summary = "Wait for one notification",
        .footer = "Example:\n"
                  "  veskctl wait VO_PORT_PLUG_STATE port=1 val=1 --timeout 10000",
        .options =
            {
                {.name = "EVENT",
                 .place = &options->terms,
                 .help = "Name of a notification, and FIELD=VALUE that it must have",
                 .isRequired = true,
                 .names = Names::kNotification},
                {.name = "--timeout",
                 .place = &options->timeoutMs,
                 .help = "Milliseconds to wait; 0 is without limit",
                 .showsDefault = true},
            },
        .run = [options, &settings] { return RunWait(settings, *options); },
    };
}

} // namespace vesk::ctl
