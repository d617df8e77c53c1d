// The subcommand "device watch": the messages of all applications as the virtual service sees them.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/transcript.h"
#include "tools/veskctl/watch.h"

namespace vesk::ctl {

namespace {

struct Options {
    TranscriptOptions shown;
    uint64_t count = 0;
};

void SayLost(const Settings& settings, uint64_t lost)
{
    PrintLine(settings.json ? "{\"lost\":" + std::to_string(lost) + '}'
                            : "-- " + std::to_string(lost) + " messages lost");
}

int RunWatch(Settings& settings, const Options& options)
{
    Transcript transcript(settings, options.shown, stdout);
    Client client(settings.service, Client::Interrupt::kEndsWait);
    Watch watch(client, settings);
    while (options.count == 0 || transcript.Shown() < options.count) {
        if (!watch.Next(
                std::nullopt, [&](recording::Event&& event) { transcript.Add(std::move(event)); },
                [&](uint64_t lost) { SayLost(settings, lost); }))
            break;
        std::fflush(stdout);
    }
    if (options.count == 0)
        transcript.Finish();
    transcript.Summarize(stdout);
    std::fflush(stdout);
    watch.Stop();
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
