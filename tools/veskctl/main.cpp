// veskctl: shows, sends and watches the messages between applications and the video service.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/program_text.h"

#include <cstdio>

namespace vesk::ctl {

namespace {

/// One row a subcommand, in the order in which the help lists them.
constexpr const Command* kCommands[] = {
    &kList,     &kDescribe,   &kCall, &kRun, &kMonitor, &kWait, &kTrace, &kDecode, &kReplay, &kDevice,
#ifdef VESK_HOST_PLATFORM
    &kServe,    &kWithDevice,
#endif
    &kComplete,
};

constexpr char kFooter[] =
    "Exit status: 0 done, 1 failed, 2 usage, 3 refused by the service, 4 no service, 5 timed "
    "out.\n'veskctl COMMAND --help' shows a command with examples.\n\n";

} // namespace

std::span<const Command* const> Commands()
{
    return kCommands;
}

void Declare(CLI::App& app, Settings& settings, Run& run)
{
    app.require_subcommand(1);
    app.fallthrough(); // the options below may also follow the subcommand
    app.footer(std::string(kFooter) + kEnvironmentHelp);
    app.set_version_flag("--version", kVersion);
    app.add_flag("--json", settings.json,
                 "One JSON document, or one object a line, instead of text for people");
    app.add_option("--peer", settings.peer, "Whose layout opaque records have: virtual (service) or unknown")
        ->check(CLI::IsMember({"virtual", "unknown"}))
        ->capture_default_str();
    app.add_option("--records", settings.recordFiles, "File that describes opaque records; see veskctl(1)")
        ->allow_extra_args(false);
    app.add_option("--service", settings.service, "Process and task of the service")->capture_default_str();
    Declare(app, settings, kCommands, [&run](const Run& chosen) { run = chosen; });
}

void Declare(CLI::App& app, Settings& settings, std::span<const Command* const> commands,
             const std::function<void(Run)>& chosen)
{
    for (const Command* command : commands) {
        CLI::App* subcommand = app.add_subcommand(command->name, command->summary);
        subcommand->footer(std::string("Example:\n") + command->example);
        if (*command->summary == '\0')
            subcommand->group("");
        subcommand->callback([chosen, toRun = command->add(*subcommand, settings)] { chosen(toRun); });
    }
}

const decoder::Decoder& Settings::Decoder()
{
    using Peer = decoder::Decoder::Peer;
    const Peer whose = peer == "virtual" ? Peer::kVirtualService : Peer::kUnknown;
    if (decoder_ == nullptr)
        decoder_ = Usage([&] { return std::make_shared<const decoder::Decoder>(whose, recordFiles); });
    return *decoder_;
}

namespace {

int Main(int argc, char** argv)
{
    Settings settings;
    Run run;
    CLI::App app("Shows, sends and watches the messages between applications and the video service.",
                 "veskctl");
    try {
        Declare(app, settings, run);
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? kDone : kUsage;
    }
    return run();
}

} // namespace

} // namespace vesk::ctl

int main(int argc, char** argv)
try {
    return vesk::ctl::Main(argc, argv);
} catch (const vesk::ctl::Failure& failure) {
    std::fprintf(stderr, "veskctl: %s\n", failure.what());
    return failure.status;
} catch (const std::exception& error) {
    std::fprintf(stderr, "veskctl: %s\n", error.what());
    return vesk::ctl::kFailed;
}
