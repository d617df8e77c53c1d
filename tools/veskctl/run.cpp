// The subcommand "run": many calls in one process, from a file, standard input or a prompt.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/prompt.h"
#include "tools/veskctl/script.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include <unistd.h>

namespace vesk::ctl {

using namespace decoder;

namespace {

struct Options {
    std::string file;
    bool keepsGoing = false;
    Session::Options session;
};

/// A failure of a line, after where the line is. A line that cannot be understood is a usage error.
Failure AtLine(const std::string& file, size_t line, const Error& error)
{
    const auto* failure = dynamic_cast<const Failure*>(&error);
    const std::string place = file + ':' + std::to_string(line) + ": ";
    std::vector<std::string> others = error.others;
    for (std::string& other : others)
        other.insert(0, place);
    return {failure != nullptr ? failure->status : kUsage, Error(place + error.what(), std::move(others))};
}

/// Executes all lines, or those before the first that fails. Returns the status of the first that failed.
int RunScript(Settings& settings, const Options& options, std::istream& input, const std::string& name)
{
    Session session(settings, Client::Interrupt::kEndsWait, options.session);
    size_t number = 0;
    int status = kDone;
    const auto attempt = [&](const auto& step) {
        try {
            step();
        } catch (const Error& error) {
            const Failure failure = AtLine(name, number, error);
            if (!options.keepsGoing || session.IsInterrupted())
                throw Failure(failure);
            PrintError(failure);
            status = status == kDone ? failure.status : status;
        }
    };
    for (std::string line; std::getline(input, line);) {
        ++number;
        attempt([&] { session.Execute(line); });
    }
    if (input.bad())
        throw Error(name + ": " + std::strerror(errno));
    attempt([&] { session.Finish(); });
    session.ShowArrived();
    return status;
}

void RunAtTerminal(Settings& settings, const Options& options)
{
    Session session(settings, Client::Interrupt::kEndsProgram, options.session);
    RunPrompt([&](const std::string& line) {
        try {
            if (line == "help")
                PutLines(stdout, LineHelp());
            else
                session.Execute(line);
        } catch (const Error& error) {
            PrintError(error);
        }
    });
}

int RunRun(Settings& settings, const Options& options)
{
    if (options.file.empty() && isatty(STDIN_FILENO) != 0) {
        RunAtTerminal(settings, options);
        return kDone;
    }
    if (options.file.empty() || options.file == "-")
        return RunScript(settings, options, std::cin, "-");
    std::ifstream file(options.file);
    if (!file)
        throw Failure(kUsage, options.file + ": " + std::strerror(errno));
    return RunScript(settings, options, file, options.file);
}

} // namespace

CommandLine RunCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "run",
        .summary = "Make many calls as one client: a script, or a prompt",
        .footer = "Example:\n"
                  "cat > first-frame <<'END'\n" // not indented, so that it can be pasted
                  "$engine = OPEN_VO_PORT voPort=0\n"
                  "SET_DEFAULT_IMAGE imageParam1=0 imageParam2=0 text=/image.png\n"
                  "VO_START outEngNo=$engine\n"
                  "wait DISPLAY_FIRST_FRAME portName=HDMI-OUT-1\n"
                  "expect STATE VO_START outEngNo=$engine\n"
                  "END\n"
                  "  veskctl run first-frame\n"
                  "  echo GET_VO_COUNT | veskctl run -\n\nLines:\n" +
                  LineHelp(),
        .options =
            {
                {.name = "FILE",
                 .place = &options->file,
                 .help = "File of lines; - is standard input. By default, a prompt at a terminal"},
                {.name = "-k,--keep-going",
                 .place = &options->keepsGoing,
                 .help = "Go on after a line that fails"},
                {.name = "-q,--quiet",
                 .place = &options->session.isQuiet,
                 .help = "Of notifications, show only those that a line waits for"},
                {.name = "--update",
                 .place = &options->session.isUpdating,
                 .help = "Write pictures that a line expects and that are missing or differ"},
                {.name = "--timeout",
                 .place = &options->session.timeoutMs,
                 .help = "Milliseconds to wait for each answer or notification",
                 .showsDefault = true,
                 .range = kTimeouts},
            },
        .run = [options, &settings] { return RunRun(settings, *options); },
    };
}

} // namespace vesk::ctl
