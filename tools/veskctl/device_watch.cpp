// The subcommand "device watch": the messages of all applications as the virtual service sees them.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/program_text.h"
#include "tools/veskctl/transcript.h"
#include "tools/veskctl/watch.h"

namespace vesk::ctl {

namespace {

struct Options {
    std::string file;
    TranscriptOptions shown;
    uint64_t count = 0;
};

std::string LossText(uint64_t lost)
{
    return std::to_string(lost) + " messages lost";
}

void SayLost(const Settings& settings, uint64_t lost)
{
    PrintLine(settings.json ? "{\"lost\":" + std::to_string(lost) + '}' : "-- " + LossText(lost));
}

/// What a recording says about messages that were lost.
recording::Event Loss(const Settings& settings, uint64_t lost, const recording::Event& next)
{
    recording::Event note;
    note.program = ParseService(settings.service).process;
    note.realtimeNs = next.realtimeNs;
    note.monotonicNs = next.monotonicNs;
    note.comment = LossText(lost);
    return note;
}

int RunWatch(Settings& settings, const Options& options)
{
    std::optional<recording::Output> output;
    if (!options.file.empty())
        output.emplace(options.file, kVersion, "veskctl device watch: " + settings.service);
    Transcript transcript(settings, options.shown, output ? nullptr : stdout, output ? &*output : nullptr);
    Client client(settings.service, Client::Interrupt::kEndsWait);
    Watch watch(client, settings);
    const auto sayLost = [&](uint64_t lost, const recording::Event& next) {
        if (output)
            output->Append(Loss(settings, lost, next));
        else
            SayLost(settings, lost);
    };
    bool isServed = true;
    while ((options.count == 0 || transcript.Shown() < options.count) && (!output || output->IsRead())) {
        const bool isSilent = !watch.Next(
            Clock::now() + std::chrono::seconds(1),
            [&](recording::Event&& event) { transcript.Add(std::move(event)); }, sayLost);
        if (isSilent && (client.IsInterrupted() || !(isServed = watch.Renew())))
            break;
        std::fflush(stdout);
    }
    if (options.count == 0)
        transcript.Finish();
    transcript.Summarize(output ? stderr : stdout);
    std::fflush(stdout);
    if (isServed)
        watch.Stop();
    else
        PrintError("the service " + settings.service + " has ended");
    return isServed || options.count == 0 ? kDone : kNoService;
}

} // namespace

CommandLine DeviceWatchCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    CommandLine line{.name = "watch",
                     .summary = "Show the messages of all applications as they pass",
                     .footer = "Example:\n"
                               "  veskctl device watch                     # until Ctrl-C\n"
                               "  veskctl device watch --match 'VO_*' --slow 5 --summary\n"
                               "  veskctl device watch -o - | wireshark -k -i -",
                     .options = TranscriptOptionsOf(options->shown),
                     .run = [options, &settings] { return RunWatch(settings, *options); }};
    line.options.push_back(
        {.name = "-o,--output",
         .place = &options->file,
         .help = "Record messages to this file (pcapng) instead of showing them; - is standard output"});
    line.options.push_back(
        {.name = "--count", .place = &options->count, .help = "Stop after this many messages"});
    return line;
}

} // namespace vesk::ctl
