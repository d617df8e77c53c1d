// The subcommand "run": many calls in one process, from a file, standard input or a prompt.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/prompt.h"
#include "tools/veskctl/script.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include <unistd.h>

namespace vesk::ctl {

using namespace tools;

namespace {

struct Options {
    std::string file;
    uint32_t timeoutMs = VESK_VIDEO_SYNC_TIMEOUT;
};

/// Does @p step and puts where it is in the file before whatever it throws. A line that cannot be understood
/// is a usage error.
template <class Function>
void At(const std::string& place, const Function& step)
{
    try {
        step();
    } catch (const Failure& failure) {
        throw Failure(failure.status, place + ": " + failure.what());
    } catch (const Error& error) {
        throw Failure(kUsage, place + ": " + error.what());
    }
}

void RunScript(Settings& settings, const Options& options, std::istream& input, const std::string& name)
{
    Session session(settings, Client::Interrupt::kEndsWait, options.timeoutMs);
    size_t number = 0;
    std::string line;
    while (std::getline(input, line)) {
        ++number;
        At(name + ':' + std::to_string(number), [&] { session.Execute(line); });
    }
    if (input.bad())
        throw Error(name + ": " + std::strerror(errno));
    At(name + ':' + std::to_string(number), [&] { session.Finish(); });
    session.ShowArrived();
}

void RunAtTerminal(Settings& settings, const Options& options)
{
    Session session(settings, Client::Interrupt::kEndsProgram, options.timeoutMs);
    RunPrompt([&](const std::string& line) {
        try {
            if (line == "help")
                std::fputs(kLineHelp, stdout);
            else
                session.Execute(line);
        } catch (const Error& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
    });
}

int RunRun(Settings& settings, const Options& options)
{
    if (options.file.empty() && isatty(STDIN_FILENO) != 0) {
        RunAtTerminal(settings, options);
    } else if (options.file.empty() || options.file == "-") {
        RunScript(settings, options, std::cin, "-");
    } else {
        std::ifstream file(options.file);
        if (!file)
            throw Failure(kUsage, options.file + ": " + std::strerror(errno));
        RunScript(settings, options, file, options.file);
    }
    return kDone;
}

Run Add(CLI::App& app, Settings& settings)
{
    auto options = std::make_shared<Options>();
    app.add_option("FILE", options->file, "File with a call a line; - is standard input, nothing a prompt");
    app.add_option("--timeout", options->timeoutMs, "Milliseconds to wait for each answer or notification")
        ->capture_default_str();
    return [options, &settings] { return RunRun(settings, *options); };
}

const std::string s_example = std::string("  veskctl run script.vesk\n"
                                          "  veskctl run - <<'END'\n"
                                          "  $engine = OPEN_VO_PORT voPort=0\n"
                                          "  SET_VO_PARAM outEngNo=$engine param0=1920 param1=1080\n"
                                          "  VO_START outEngNo=$engine\n"
                                          "  wait DISPLAY_FIRST_FRAME portName=HDMI-OUT-1\n"
                                          "  expect STATE VO_START outEngNo=$engine\n"
                                          "  END\n\nLines:\n") +
                              kLineHelp;

} // namespace

const Command kRun{"run", "Make many calls as one client: a script, or a prompt", s_example.c_str(), Add,
                   Words::kNone};

} // namespace vesk::ctl
