// The subcommand "device watch": the messages of all applications as the virtual service sees them.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/program_text.h"
#include "tools/veskctl/transcript.h"
#include "tools/veskctl/watch.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace vesk::ctl {

namespace {

struct Options {
    std::string file;
    TranscriptOptions shown;
    uint64_t count = 0;
    std::optional<uint64_t> readyFile;
};

template <class OneClock>
uint64_t Now()
{
    return static_cast<uint64_t>(std::chrono::nanoseconds(OneClock::now().time_since_epoch()).count());
}

/// What a recording says besides messages.
recording::Event Note(const Settings& settings, const std::string& text)
{
    recording::Event note;
    note.program = settings.service;
    note.realtimeNs = Now<std::chrono::system_clock>();
    note.monotonicNs = Now<Clock>();
    note.comment = text;
    return note;
}

void SayLost(const Settings& settings, recording::Output* output, uint64_t lost)
{
    const std::string text = std::to_string(lost) + " messages lost";
    if (output != nullptr)
        output->Append(Note(settings, text));
    else
        PrintLine(settings.json ? "{\"lost\":" + std::to_string(lost) + '}' : "-- " + text);
}

/// In a recording, too: Wireshark takes what a program says on standard error for a failure.
void SayEnded(const Settings& settings, recording::Output* output)
{
    const std::string text = "the service " + settings.service + " has ended";
    if (output != nullptr)
        output->Append(Note(settings, text));
    else
        PrintError(text);
}

/// Tells the one who has started this program that no message is missed from now on.
void SayReady(int file)
{
    if (write(file, "\n", 1) != 1)
        throw Failure(kUsage, "--ready-fd " + std::to_string(file) + ": " + std::strerror(errno));
}

int RunWatch(Settings& settings, const Options& options)
{
    RequireNoSession(settings, "watch");
    std::optional<recording::Output> recorded;
    if (!options.file.empty())
        recorded.emplace(options.file, kVersion, "veskctl device watch: " + settings.service);
    recording::Output* const output = recorded ? &*recorded : nullptr;
    Transcript transcript(settings, options.shown, output != nullptr ? nullptr : stdout, output);
    Client client(settings.service, Client::Interrupt::kEndsWait);
    Watch watch(client, settings);
    if (options.readyFile)
        SayReady(static_cast<int>(*options.readyFile));
    const auto show = [&](recording::Event&& event) { transcript.Add(std::move(event)); };
    const auto sayLost = [&](uint64_t lost) { SayLost(settings, output, lost); };
    bool isServed = true;
    while ((options.count == 0 || transcript.Shown() < options.count) &&
           (output == nullptr || output->IsRead())) {
        const bool isSilent = !watch.Next(Clock::now() + std::chrono::seconds(1), show, sayLost);
        if (client.IsInterrupted() || (isSilent && !(isServed = watch.Renew())))
            break;
        Flush();
    }
    if (options.count == 0) {
        isServed = isServed && watch.Finish(show, sayLost);
        transcript.Finish();
    }
    transcript.Summarize(output != nullptr ? stderr : stdout);
    Flush();
    if (!isServed)
        SayEnded(settings, output);
    else if (options.count != 0)
        watch.Stop();
    return isServed || options.count == 0 ? kDone : kNoService; // without a number, all has been shown
}

} // namespace

CommandLine DeviceWatchCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    CommandLine line{.name = "watch",
                     .summary = "Show the messages of all applications as they pass",
                     .footer = "Example:\n"
                               "  veskctl device watch                                  # until Ctrl-C\n"
                               "  veskctl device watch --match 'VO_*' --slow 5 --summary   # until Ctrl-C\n"
                               "  veskctl device watch -o - | wireshark -k -i -",
                     .options = TranscriptOptionsOf(options->shown),
                     .run = [options, &settings] { return RunWatch(settings, *options); }};
    line.options.push_back(
        {.name = "-o,--output",
         .place = &options->file,
         .help = "Record messages to this file (pcapng) instead of showing them; - is standard output"});
    line.options.push_back({.name = "--count",
                            .place = &options->count,
                            .help = "Stop after this many messages",
                            .range = kCounts});
    line.options.push_back({.name = "--ready-fd",
                            .place = &options->readyFile,
                            .help = "Write a line feed to this descriptor once messages are seen",
                            .range = std::pair<uint64_t, uint64_t>(1, 1023)});
    return line;
}

} // namespace vesk::ctl
