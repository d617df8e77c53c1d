// The subcommand "trace": runs an application under the tracer and shows or records its messages.
#include "base/installed.h"
#include "tools/recording/reader.h"
#include "tools/recording/writer.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/program.h"
#include "tools/veskctl/program_text.h"
#include "tools/veskctl/transcript.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <ctime>
#include <filesystem>

namespace vesk::ctl {

namespace {

struct Options {
    std::string file;
    std::vector<std::string> application;
    TranscriptOptions shown;

    bool IsStream() const { return file == "-"; }
    /// Whether messages are taken from the tracer as they pass.
    bool IsLive() const { return file.empty() || IsStream(); }
    /// What the recording says about itself.
    std::string Comment() const
    {
        std::string command = "veskctl trace:";
        for (const std::string& word : application)
            command += ' ' + word;
        return command;
    }
};

/// The tracer of this installation, or of the build tree.
std::string TracerPath()
{
    namespace fs = std::filesystem;
    const fs::path bin = ProgramFolder();
    for (const char* directory : {kLibrariesFromBin, "../tracer"}) {
        std::error_code error;
        const fs::path path = fs::weakly_canonical(bin / directory / "libvesk_trace.so", error);
        if (error || !fs::exists(path, error))
            continue;
        if (path.string().find_first_of(": ") != std::string::npos)
            throw Failure(kFailed, path.string() + ": cannot be preloaded from a path with a colon or space");
        return path;
    }
    throw Failure(kFailed, "libvesk_trace.so is neither installed nor built beside " + bin.string());
}

/// The file that the tracer appends to: the user's, or one in memory that is read as it grows.
class RecordingFile {
public:
    explicit RecordingFile(const Options& options)
    {
        path_ = options.IsLive() ? "messages" : std::filesystem::absolute(options.file).string();
        file_ = options.IsLive() ? memfd_create("messages", MFD_CLOEXEC)
                                 : open(path_.c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
        const int error = file_ < 0 ? errno : recording::AppendSection(file_, kVersion, options.Comment());
        if (error != 0)
            throw Failure(kFailed, "cannot write " + path_ + ": " + std::strerror(error));
        if (options.IsLive())
            path_ = "/proc/" + std::to_string(getpid()) + "/fd/" + std::to_string(file_);
    }

    ~RecordingFile() { close(file_); }
    RecordingFile(const RecordingFile&) = delete;

    const std::string& Path() const { return path_; }

    /// Whether not all of it could be read or passed on.
    bool HasFailed() const { return hasFailed_; }

    /// Takes what has arrived since the last call, and forgets it.
    void Drain(const std::function<void(recording::Event&&)>& onEvent)
    {
        std::byte bytes[65536];
        try {
            for (ssize_t got = 0; (got = pread(file_, bytes, sizeof bytes, offset_)) > 0;) {
                offset_ += got;
                reader_.Feed(BytesView(bytes).first(static_cast<size_t>(got)));
                while (std::optional<recording::Event> event = reader_.Next())
                    onEvent(std::move(*event));
            }
        } catch (const Error& error) {
            PrintError(error);
            hasFailed_ = true;
        }
        constexpr off_t kPage = 4096;
        if (const off_t end = offset_ / kPage * kPage; end > forgotten_) {
            fallocate(file_, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, forgotten_, end - forgotten_);
            forgotten_ = end;
        }
    }

private:
    std::string path_;
    int file_ = -1;
    off_t offset_ = 0;
    off_t forgotten_ = 0;
    bool hasFailed_ = false;
    recording::Reader reader_;
};

/// What the application gets in its environment.
Program::Options TracerOptions(const Options& options, const std::string& file)
{
    std::string preload = TracerPath();
    if (const char* others = std::getenv("LD_PRELOAD"); others != nullptr && *others != '\0')
        preload += ':' + std::string(others);
    return {.environment = {{"LD_PRELOAD", preload}, {"VESK_TRACE_FILE", file}},
            .output = options.IsStream() ? STDERR_FILENO : -1}; // the recording has standard output to itself
}

int RunTrace(Settings& settings, const Options& options)
{
    // Like the application's own messages to its user, these leave its standard output alone.
    Transcript transcript(settings, options.shown, options.file.empty() ? stderr : nullptr);
    std::optional<recording::Output> output;
    if (options.IsStream())
        output.emplace(options.file, kVersion, options.Comment());
    const auto onEvent = [&](recording::Event&& event) {
        if (output)
            output->Append(event);
        transcript.Add(std::move(event));
    };
    RecordingFile file(options);
    const AwaitedSignals signals{SIGCHLD, SIGTERM, SIGHUP};
    Program application(options.application, signals, TracerOptions(options, file.Path()));
    // The terminal sends these to both; it is the application's to decide.
    std::signal(SIGINT, SIG_IGN);
    std::signal(SIGQUIT, SIG_IGN);
    std::optional<int> status;
    while (!status) {
        const int signal = signals.Take(std::chrono::milliseconds(20)).si_signo;
        if (signal == SIGTERM || signal == SIGHUP)
            application.Signal(signal);
        status = application.Status();
        if (options.IsLive())
            file.Drain(onEvent);
    }
    if (!options.IsLive() && options.shown.hasSummary) {
        try {
            recording::ReadFile(options.file, onEvent);
        } catch (const Error& error) {
            PrintError(error);
        }
    }
    transcript.Finish();
    transcript.Summarize(stderr);
    return *status == kDone && file.HasFailed() ? kFailed : *status;
}

} // namespace

CommandLine TraceCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    CommandLine line{
        .name = "trace",
        .summary = "Run an application and show or record its messages",
        .footer = "Example:\n"
                  "  veskctl trace -- vesk-display-tour my-tour      # messages on standard error\n"
                  "  veskctl trace --match 'VO_*' --slow 5 --summary -- vesk-display-tour\n"
                  "  veskctl trace -o tour.pcapng -- vesk-display-tour\n"
                  "  veskctl trace -o - -- vesk-display-tour | veskctl decode -",
        .options =
            {
                {.name = "-o,--output",
                 .place = &options->file,
                 .help =
                     "Record to this file (pcapng) instead of showing messages; - is standard output, and "
                     "the application's own goes to standard error"},
                {.name = "APP",
                 .place = &options->application,
                 .help = "Application and its arguments, after --",
                 .isRequired = true,
                 .names = Names::kProgram},
            },
        .run = [options, &settings] { return RunTrace(settings, *options); },
    };
    for (Option& option : TranscriptOptionsOf(options->shown))
        line.options.push_back(std::move(option));
    return line;
}

} // namespace vesk::ctl
