// The subcommand "replay": has recorded requests made again and says what has become different.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/comparison.h"
#include "tools/veskctl/progress.h"

namespace vesk::ctl {

using namespace decoder;
using namespace recording;
namespace {

struct Options {
    std::string file;
    std::optional<std::string> other;
    std::string speed = "fast";
    std::vector<std::string> terms;
    uint32_t waitMs = 1000;
};

/// How many times as fast as it was recorded; 0: without any pause.
double SpeedOf(const std::string& text)
{
    if (text == "fast")
        return 0;
    if (text == "original")
        return 1;
    char* end = nullptr;
    const double factor = std::strtod(text.c_str(), &end);
    if (*end != '\0' || !(factor > 0 && factor <= 1e6))
        throw Failure(kUsage, "--speed " + text + ": expected original, fast, or a factor such as 2 or 0.5");
    return factor;
}

int Run(Settings& settings, const Options& options)
{
    const double speed = SpeedOf(options.speed);
    const milliseconds wait(options.waitMs);
    const Filter filter = Usage([&] { return Filter(settings.Decoder(), options.terms); });
    if (options.file == "-" && options.other == "-")
        throw Failure(kUsage, "--with -: FILE is standard input already");
    Progress progress("replay: reading", "messages");
    const Conversation conversation = ReadConversation(options.file, std::ref(progress));
    std::optional<Conversation> other;
    if (options.other)
        other = ReadConversation(*options.other, std::ref(progress));
    progress.Erase();
    const std::unique_ptr<Rerun> rerun =
        other ? RerunInRecording(settings.Decoder(), conversation, *other, wait)
              : RerunAtService(settings.service, settings.Decoder(), conversation, speed, wait);
    return Compare(settings, conversation, *rerun, filter, wait);
}

} // namespace

CommandLine ReplayCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "replay",
        .summary = "Send recorded requests again and compare what comes back",
        .footer = "Example:\n"
                  "  veskctl trace -o tour.pcapng -- vesk-display-tour\n"
                  "  veskctl replay tour.pcapng\n"
                  "  veskctl replay tour.pcapng --speed original --match 'VO_*' --json\n"
                  "  veskctl replay device.pcapng --with virtual.pcapng",
        .options =
            {
                {.name = "FILE",
                 .place = &options->file,
                 .help = "Recording (pcapng); - is standard input",
                 .isRequired = true},
                {.name = "--with",
                 .place = &options->other,
                 .help = "Compare with another recording instead of sending anything"},
                {.name = "--speed",
                 .place = &options->speed,
                 .help = "Pauses between requests: original, fast (none), or a factor: 2 is twice as fast",
                 .showsDefault = true,
                 .excludes = "--with"},
                {.name = "--match",
                 .place = &options->terms,
                 .help =
                     "Compare only messages of this name, pattern, number or FIELD=VALUE; may be repeated",
                 .isOneEach = true,
                 .names = Names::kMessage},
                {.name = "--wait",
                 .place = &options->waitMs,
                 .help = "Milliseconds that a notification may take to come",
                 .showsDefault = true},
            },
        .run = [options, &settings] { return Run(settings, *options); },
    };
}

} // namespace vesk::ctl
