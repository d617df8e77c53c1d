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

Run AddDecode(CLI::App& app, Settings& settings)
{
    auto options = std::make_shared<Options>();
    app.add_option("FILE", options->file, "Recording (pcapng)")->required();
    AddTranscriptOptions(app, options->shown);
    return [options, &settings] { return RunDecode(settings, *options); };
}

} // namespace

const Command kDecode{"decode", "Print a recording of messages",
                      "  veskctl decode tour.pcapng\n"
                      "  veskctl decode tour.pcapng --match 'VO_*' --match result=BUSY --slow 5 --json",
                      AddDecode, Words::kNone};

} // namespace vesk::ctl
