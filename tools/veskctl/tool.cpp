// The whole tool: its options and subcommands.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/program_text.h"

namespace vesk::ctl {

namespace {

constexpr char kFooter[] =
    "Exit status: 0 done, 1 failed, 2 usage, 3 refused by the service, 4 no service, 5 timed "
    "out.\n'veskctl COMMAND --help' shows a command with examples.\n\n";

} // namespace

CommandLine DescribeTool(Settings& settings)
{
    return {
        .name = "veskctl",
        .summary = "Shows, sends and watches the messages between applications and the video service.",
        .footer = std::string(kFooter) + kEnvironmentHelp,
        .options =
            {
                {.name = "--json",
                 .place = &settings.json,
                 .help = "One JSON document, or one object a line, instead of text for people"},
                {.name = "--all",
                 .place = &settings.showsAllZeros,
                 .help = "Also show padding and opaque bytes that are 0"},
                {.name = "--peer",
                 .place = &settings.peer,
                 .help = "Whose layout opaque records have: virtual (service) or unknown",
                 .showsDefault = true,
                 .choices = {"virtual", "unknown"}},
                {.name = "--records",
                 .place = &settings.recordFiles,
                 .help = "File that describes opaque records; see veskctl(1)",
                 .isOneEach = true},
                {.name = "--service",
                 .place = &settings.service,
                 .help = "Process and task of the service",
                 .showsDefault = true},
            },
        .commands =
            {
                ListCommand(settings),
                DescribeCommand(settings),
                CallCommand(settings),
                CheckCommand(settings),
                RunCommand(settings),
                MonitorCommand(settings),
                WaitCommand(settings),
                WaitServiceCommand(settings),
                TraceCommand(settings),
                DecodeCommand(settings),
                ReplayCommand(settings),
                DeviceCommand(settings),
                WebCommand(settings),
#ifdef VESK_HOST_PLATFORM
                ServeCommand(settings),
                WithDeviceCommand(settings),
#endif
                CompletionCommand(settings),
                CompleteCommand(settings),
            },
        .version = kVersion,
    };
}

const decoder::Decoder& Settings::Decoder()
{
    using Peer = decoder::Decoder::Peer;
    const Peer whose = peer == "virtual" ? Peer::kVirtualService : Peer::kUnknown;
    using Zeros = decoder::Decoder::Zeros;
    const Zeros zeros = showsAllZeros ? Zeros::kAll : Zeros::kWithoutFillers;
    if (decoder_ == nullptr)
        decoder_ = Usage([&] { return std::make_shared<const decoder::Decoder>(whose, recordFiles, zeros); });
    return *decoder_;
}

} // namespace vesk::ctl
