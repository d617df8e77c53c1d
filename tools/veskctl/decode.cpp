// The subcommand "decode": prints a recording.
#include "tools/recording/reader.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/transcript.h"

namespace vesk::ctl {

namespace {

struct Options {
    std::string file;
    TranscriptOptions shown;
};

int RunDecode(Settings& settings, const Options& options)
{
    Transcript transcript(settings, options.shown, stdout);
    const auto finish = [&] {
        transcript.Finish();
        transcript.Summarize(stdout);
        std::fflush(stdout);
    };
    try {
        recording::ReadFile(options.file,
                            [&](recording::Event&& event) { transcript.Add(std::move(event)); });
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
                  "  veskctl decode tour.pcapng\n"
                  "  veskctl decode tour.pcapng --match 'VO_*' --match result=BUSY --slow 5 --json",
        .options =
            {{.name = "FILE", .place = &options->file, .help = "Recording (pcapng)", .isRequired = true}},
        .run = [options, &settings] { return RunDecode(settings, *options); },
    };
    for (Option& option : TranscriptOptionsOf(options->shown))
        line.options.push_back(std::move(option));
    return line;
}

} // namespace vesk::ctl
