// The subcommand "with-device": runs a command with a virtual device of its own.
#include "base/descriptor.h"
#include "base/file.h"
#include "base/installed.h"
#include "tools/veskctl/client.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/own_directory.h"
#include "tools/veskctl/program.h"

#include <fcntl.h>
#include <paths.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>

namespace vesk::ctl {

namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

struct Options {
    std::string device;
    std::optional<uint64_t> numbers;
    std::string scenario;
    bool isStepped = false;
    std::string serviceProgram;
    std::vector<std::string> command;
};

/// What the service writes to its standard output and error.
class Log {
public:
    explicit Log(const std::string& directory)
        : file_(open((directory + "/service.log").c_str(), O_RDWR | O_CREAT | O_EXCL | O_APPEND | O_CLOEXEC,
                     0600))
    {
        if (file_ < 0)
            throw Failure(kFailed, "cannot write to " + directory + ": " + std::strerror(errno));
    }
    ~Log() { close(file_); }
    Log(const Log&) = delete;

    int File() const { return file_; }

    /// The last bytes of it, at most 64 KiB.
    std::string Text() const
    {
        constexpr off_t kMost = 65536;
        const off_t end = lseek(file_, 0, SEEK_END);
        std::string text(static_cast<size_t>(std::min(end, kMost)), '\0');
        const ssize_t got = pread(file_, text.data(), text.size(), std::max(off_t{0}, end - kMost));
        text.resize(static_cast<size_t>(std::max<ssize_t>(got, 0)));
        return text;
    }

    void Show() const
    {
        PrintError("the service's log:");
        PutLines(stderr, Text());
    }

private:
    int file_;
};

/// The socket at which the service tells that it serves, as sd_notify(3) describes.
class Readiness {
public:
    explicit Readiness(const std::string& directory)
        : directory_(open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)),
          socket_(socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)), path_(directory + "/notify")
    {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        if (path_.size() >= sizeof address.sun_path) // then through the descriptor of the directory
            path_ =
                "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(directory_.Get()) + "/notify";
        path_.copy(address.sun_path, sizeof address.sun_path - 1);
        if (bind(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            throw Failure(kFailed, "cannot make " + path_ + ": " + std::strerror(errno));
    }

    const std::string& Path() const { return path_; }
    int File() const { return socket_.Get(); }

    /// Whether the next of what has been told is that; false, too, if there is none.
    bool Take() const
    {
        char text[4096];
        const ssize_t got = recv(socket_.Get(), text, sizeof text, 0);
        const std::string_view lines(text, static_cast<size_t>(std::max<ssize_t>(got, 0)));
        return lines == "READY=1" || lines.starts_with("READY=1\n");
    }

private:
    Descriptor directory_;
    Descriptor socket_;
    std::string path_;
};

/// The service beside this program, of the build tree, or in PATH.
std::string FindService()
{
    const fs::path bin = ProgramFolder();
    for (const char* place : {"vesk-video-service", "../../service/vesk-video-service"}) {
        std::string path = (bin / place).lexically_normal();
        if (access(path.c_str(), X_OK) == 0)
            return path;
    }
    return "vesk-video-service";
}

/// The file itself; of standard input a copy, as the service is in another process group than the terminal's.
std::string ForService(const std::string& path, const std::string& directory)
{
    if (path != "-")
        return path;
    std::string copy = directory + "/standard-input.toml";
    if (!(std::ofstream(copy) << FileContents(path)).flush())
        throw Failure(kFailed, "cannot write " + copy + ": " + std::strerror(errno));
    return copy;
}

std::vector<std::string> ServiceCommand(const Settings& settings, const Options& options,
                                        const std::string& program, const std::string& directory)
{
    const ServiceName service = ParseService(settings.service);
    std::vector<std::string> command{program, "--process", service.process, "--task", service.task};
    if (!options.device.empty())
        command.insert(command.end(), {"--device", ForService(options.device, directory)});
    if (options.numbers)
        command.insert(command.end(), {"--numbers", std::to_string(*options.numbers)});
    if (options.isStepped)
        command.emplace_back("--step");
    if (!options.scenario.empty())
        command.insert(command.end(), {"--scenario", ForService(options.scenario, directory)});
    return command;
}

/// PATH with this program and the service first, so that the command finds the same.
std::string PathFor(const std::string& serviceProgram)
{
    std::string path = ProgramFolder();
    if (serviceProgram.find('/') != serviceProgram.npos) {
        const std::string folder = fs::absolute(serviceProgram).parent_path();
        if (folder != path)
            path += ':' + folder;
    }
    const char* before = std::getenv("PATH");
    return path + ':' + (before != nullptr ? before : _PATH_DEFPATH);
}

/// The virtual service, and what becomes of it.
class Service {
public:
    Service(const std::vector<std::string>& command, const AwaitedSignals& signals,
            const std::string& directory)
        : signals_(signals), log_(directory), readiness_(directory),
          program_(command, signals,
                   {.environment = {{"VESK_RUNTIME_DIR", directory}, {"NOTIFY_SOCKET", readiness_.Path()}},
                    .output = log_.File(),
                    .isHelper = true,
                    .atOurEnd = SIGTERM})
    {
    }

    /// Waits until it serves. Returns the signal that ended the wait, or 0. @throw Failure
    int AwaitServing()
    {
        const auto end = Clock::now() + 30s;
        while (!readiness_.Take()) {
            const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now());
            const std::optional<int> status = program_.Status();
            if (status || left <= 0ms) {
                log_.Show();
                throw Failure(kNoService, status ? "the service ended with status " + std::to_string(*status)
                                                 : "the service has not told NOTIFY_SOCKET within 30 s that "
                                                   "it serves");
            }
            if (signals_.IsReadable(readiness_.File(), left))
                continue;
            if (const int signal = signals_.Take(0ms).si_signo; signal != 0 && signal != SIGCHLD)
                return signal;
        }
        return 0;
    }

    /// Says once that it has ended, if it has.
    void Check()
    {
        const std::optional<int> status = program_.Status();
        if (!status || std::exchange(isKnownToHaveEnded_, true))
            return;
        PrintError("the service has ended before the command, with status " + std::to_string(*status));
    }

    /// Ends it. Says so and returns false if that is not in order.
    bool End()
    {
        Check();
        if (isKnownToHaveEnded_)
            return true;
        program_.Signal(SIGTERM);
        const auto end = std::chrono::steady_clock::now() + 5s;
        std::optional<int> status;
        while (!(status = program_.Status()) && std::chrono::steady_clock::now() < end)
            signals_.Take(20ms);
        if (status == kDone)
            return true;
        if (status)
            PrintError("the service ended with status " + std::to_string(*status));
        else
            PrintError("the service does not end; it is killed");
        return false;
    }

    void ShowLog() const { log_.Show(); }

private:
    const AwaitedSignals& signals_;
    Log log_;
    Readiness readiness_;
    Program program_;
    bool isKnownToHaveEnded_ = false;
};

/// Waits for the end of the command, which gets the signals that were sent to this process alone.
int Await(Program& command, Service& service, const AwaitedSignals& signals)
{
    while (true) {
        if (const std::optional<int> status = command.Status())
            return *status;
        service.Check();
        const siginfo_t info = signals.Take(1s);
        if (info.si_signo != 0 && info.si_signo != SIGCHLD && info.si_code != SI_KERNEL)
            command.Signal(info.si_signo);
    }
}

int RunWithDevice(Settings& settings, const Options& options)
{
    if (options.device == "-" && options.scenario == "-")
        throw Failure(kUsage, "standard input serves one of --device - and --scenario -");
    const std::string serviceProgram =
        options.serviceProgram.empty() ? FindService() : options.serviceProgram;
    const AwaitedSignals signals{SIGCHLD, SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    std::signal(SIGPIPE, SIG_IGN); // the directory must go, whoever reads what is said
    const OwnDirectory directory;
    std::optional<Service> service;
    try {
        service.emplace(ServiceCommand(settings, options, serviceProgram, directory.Path()), signals,
                        directory.Path());
    } catch (const Failure& failure) {
        throw Failure(kNoService, failure);
    }
    if (const int signal = service->AwaitServing(); signal != 0)
        return 128 + signal;
    int status = kFailed;
    {
        Program command(
            options.command, signals,
            {.environment = {{"VESK_RUNTIME_DIR", directory.Path()}, {"PATH", PathFor(serviceProgram)}},
             .atOurEnd = SIGKILL});
        status = Await(command, *service, signals);
    }
    const bool isInOrder = service->End();
    if (status != kDone || !isInOrder)
        service->ShowLog();
    return status;
}

} // namespace

CommandLine WithDeviceCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "with-device",
        .summary = "Run a command with a virtual device of its own",
        .footer = "Example:\n"
                  "  veskctl with-device vesk-display-tour\n"
                  "  veskctl with-device -- veskctl call GET_VO_PORT count=2",
        .options =
            {
                {.name = "--device",
                 .place = &options->device,
                 .help = "File that describes the device, in TOML, or the name of an installed one; - is "
                         "standard input"},
                {.name = "--numbers",
                 .place = &options->numbers,
                 .help = "Seed for the first number of each kind of thing, instead of 1001, 2001 ...",
                 .range = std::pair<uint64_t, uint64_t>(0, UINT32_MAX)},
                {.name = "--scenario",
                 .place = &options->scenario,
                 .help =
                     "File of steps that happen on the device, in TOML, or the name of an installed one; - "
                     "is standard input"},
                {.name = "--step",
                 .place = &options->isStepped,
                 .help = "The device's time moves only by 'veskctl device time MS'"},
                {.name = "--service-program",
                 .place = &options->serviceProgram,
                 .help = "Service to start; by default, vesk-video-service of this installation or in PATH"},
                {.name = "COMMAND",
                 .place = &options->command,
                 .help = "Command and its arguments",
                 .isRequired = true,
                 .names = Names::kProgram},
            },
        .run = [options, &settings] { return RunWithDevice(settings, *options); },
        .endsWithArguments = true,
    };
}

} // namespace vesk::ctl
