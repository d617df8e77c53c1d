// The subcommand "decode": prints a recording, or messages of it into another.
#include "tools/recording/reader.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/program.h"
#include "tools/veskctl/program_text.h"
#include "tools/veskctl/progress.h"
#include "tools/veskctl/transcript.h"

#include <csignal>
#include <filesystem>

namespace vesk::ctl {

namespace {

struct Options {
    std::string file;
    std::string output;
    bool isFollowed = false;
    TranscriptOptions shown;
};

int RunDecode(Settings& settings, const Options& options)
{
    std::error_code ignored;
    if (std::filesystem::equivalent(options.file, options.output, ignored))
        throw Failure(kUsage, "--output " + options.output + ": this is the recording that is read");
    std::optional<recording::Output> output;
    if (!options.output.empty())
        output.emplace(options.output, kVersion, "veskctl decode: " + options.file);
    Transcript transcript(settings, options.shown, output ? nullptr : stdout, output ? &*output : nullptr);
    const auto finish = [&] {
        transcript.Finish();
        transcript.Summarize(output ? stderr : stdout);
        Flush();
    };
    std::optional<AwaitedSignals> signals;
    std::function<bool()> awaitMore;
    if (options.isFollowed) {
        signals.emplace(std::initializer_list<int>{SIGINT, SIGTERM});
        awaitMore = [&] {
            return (!output || output->IsRead()) &&
                   signals->Take(std::chrono::milliseconds(100)).si_signo == 0;
        };
    }
    if (options.isFollowed || options.file == "-") // messages show as they come
        std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
    try {
        Progress progress("decode", "messages",
                          output || !IsScreen(stdout)); // where lines show that it lives
        recording::ReadFile(
            options.file, [&](recording::Event&& event) { transcript.Add(std::move(event)); },
            std::ref(progress), awaitMore);
    } catch (const Error&) { // what came before is shown
        finish();
        throw;
    }
    finish();
    return kDone;
}

} // namespace

CommandLine DecodeCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    CommandLine line{
        .name = "decode",
        .summary = "Print a recording of messages",
        .footer = "Example:\n"
                  "  veskctl trace -o tour.pcapng -- vesk-display-tour\n"
                  "  veskctl decode tour.pcapng\n"
                  "  veskctl decode tour.pcapng --match 'VO_*' --match result=BUSY --slow 5 --json\n"
                  "  veskctl device watch -o - | tee watched.pcapng | veskctl decode -",
        .options =
            {
                {.name = "FILE",
                 .place = &options->file,
                 .help = "Recording (pcapng); - is standard input",
                 .isRequired = true},
                {.name = "-f,--follow",
                 .place = &options->isFollowed,
                 .help = "Go on as the recording grows, until Ctrl-C"},
                {.name = "-o,--output",
                 .place = &options->output,
                 .help = "Record these messages to another file (pcapng) instead of printing them; - is "
                         "standard output"},
            },
        .run = [options, &settings] { return RunDecode(settings, *options); },
    };
    for (Option& option : TranscriptOptionsOf(options->shown))
        line.options.push_back(std::move(option));
    return line;
}

} // namespace vesk::ctl
