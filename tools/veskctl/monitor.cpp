// The subcommands "monitor" and "wait": notifications as they arrive.
#include "decoder/filter.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"

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
        return PrintLine(Dump(ArrivedJson(notification, arrived)));
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
    Watch(client, settings, filter, options.count, options.timeoutMs);
    return kDone;
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

Run AddMonitor(CLI::App& app, Settings& settings)
{
    auto options = std::make_shared<Options>();
    app.add_option("--match", options->terms,
                   "Only this notification, pattern or FIELD=VALUE; may be repeated")
        ->allow_extra_args(false);
    app.add_option("--count", options->count, "End after so many notifications");
    app.add_option("--timeout", options->timeoutMs, "End after so many milliseconds");
    return [options, &settings] { return RunMonitor(settings, *options); };
}

Run AddWait(CLI::App& app, Settings& settings)
{
    auto options = std::make_shared<Options>();
    options->timeoutMs = 5000;
    app.add_option("EVENT", options->terms, "Notification to wait for, and FIELD=VALUE that it must have")
        ->required();
    app.add_option("--timeout", options->timeoutMs, "Milliseconds to wait; 0: without limit")
        ->capture_default_str();
    return [options, &settings] { return RunWait(settings, *options); };
}

} // namespace

const Command kMonitor{"monitor", "Show the notifications that the service sends to this client",
                       "  veskctl monitor                      # until Ctrl-C\n"
                       "  veskctl monitor --match '*PLUG*' --match port=1 --count 2 --json",
                       AddMonitor, Words::kNone};

const Command kWait{"wait", "Wait for one notification",
                    "  veskctl wait VO_PORT_PLUG_STATE port=1 val=1 --timeout 10000", AddWait,
                    Words::kNotification};

} // namespace vesk::ctl
