// The process in which files are read and written.
#include "pictures/media_process.h"

#include "base/error.h"
#include "base/text.h"

#include <dlfcn.h>
#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/wait.h>

extern "C" { // the header does not say so in all versions of the C library
#include <sys/pidfd.h>
}

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace vesk::pictures {

namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void ThrowErrno(const std::string& what, int error = errno)
{
    throw Error(what + ": " + std::strerror(error));
}

/// Leaves the numbers that the process knows its descriptors by to them.
Descriptor Above(int fd)
{
    Descriptor high(fcntl(fd, F_DUPFD_CLOEXEC, media::kFile + 1));
    if (!high.IsOpen())
        ThrowErrno("cannot start vesk-media");
    return high;
}

/// Memory that stays as large as it is, whatever the process does.
Descriptor SharedMemory(size_t size)
{
    const Descriptor memory(memfd_create("vesk-pixels", MFD_CLOEXEC | MFD_ALLOW_SEALING));
    if (!memory.IsOpen() || ftruncate(memory.Get(), static_cast<off_t>(size)) != 0 ||
        fcntl(memory.Get(), F_ADD_SEALS, F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_SEAL) != 0)
        ThrowErrno("cannot have memory for pixels");
    return Above(memory.Get());
}

/// How a process is started: with three descriptors, its own process group, so that a terminal's signals pass
/// it by, and with signals as they are at first.
class SpawnSettings {
public:
    SpawnSettings(int socket, int pixels, int file)
    {
        posix_spawn_file_actions_init(&actions);
        for (const int standard : {STDIN_FILENO, STDOUT_FILENO})
            posix_spawn_file_actions_addopen(&actions, standard, "/dev/null", O_RDWR, 0);
        posix_spawn_file_actions_adddup2(&actions, socket, media::kSocket);
        posix_spawn_file_actions_adddup2(&actions, pixels, media::kPixels);
        posix_spawn_file_actions_adddup2(&actions, file, media::kFile);
        posix_spawn_file_actions_addclosefrom_np(&actions, media::kFile + 1);
        posix_spawnattr_init(&attributes);
        posix_spawnattr_setflags(&attributes,
                                 POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
        sigset_t signals;
        sigemptyset(&signals);
        posix_spawnattr_setsigmask(&attributes, &signals);
        sigfillset(&signals);
        posix_spawnattr_setsigdefault(&attributes, &signals);
    }
    ~SpawnSettings()
    {
        posix_spawn_file_actions_destroy(&actions);
        posix_spawnattr_destroy(&attributes);
    }
    SpawnSettings(const SpawnSettings&) = delete;

    posix_spawn_file_actions_t actions;
    posix_spawnattr_t attributes;
};

pid_t Start(const std::string& program, const std::vector<std::string>& words, const SpawnSettings& settings)
{
    std::vector<char*> arguments{const_cast<char*>(program.c_str())};
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    pid_t process = 0;
    const int error = posix_spawn(&process, program.c_str(), &settings.actions, &settings.attributes,
                                  arguments.data(), environ);
    if (error != 0)
        ThrowErrno("cannot start " + Printable(program), error);
    return process;
}

/// True if something can be read within @p most.
bool IsReadable(int fd, std::chrono::milliseconds most)
{
    const auto end = Clock::now() + most;
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
        pollfd awaited{fd, POLLIN, 0};
        const int ready = poll(&awaited, 1, static_cast<int>(std::max<int64_t>(left, 0)));
        if (ready > 0)
            return true;
        if (left <= 0 || (ready < 0 && errno != EINTR))
            return false;
    }
}

/// Ends a process and returns its status as waitpid does; 0 if the host program took that itself.
int End(pid_t process, std::chrono::milliseconds grace)
{
    const Descriptor ended(pidfd_open(process, 0));
    if (!ended.IsOpen() || !IsReadable(ended.Get(), grace))
        kill(process, SIGKILL);
    int status = 0;
    while (waitpid(process, &status, 0) < 0)
        if (errno != EINTR)
            return 0;
    return status;
}

} // namespace

std::string MediaProgram()
{
    namespace fs = std::filesystem;
    const char* const named = std::getenv("VESK_MEDIA_PROGRAM");
    if (named != nullptr && *named != '\0')
        return named;
    Dl_info here{};
    if (dladdr(reinterpret_cast<const void*>(&MediaProgram), &here) == 0 || here.dli_fname == nullptr)
        throw Error("cannot find vesk-media");
    const fs::path folder = fs::path(here.dli_fname).parent_path();
    // Installed, and of a build tree.
    for (const char* place : {VESK_MEDIA_FROM_MODULES, "../../../pictures/media"}) {
        const fs::path path = (folder / place / "vesk-media").lexically_normal();
        std::error_code error;
        if (fs::exists(path, error))
            return path;
    }
    throw Error("vesk-media is not installed");
}

MediaProcess::MediaProcess(const std::string& program, const std::vector<std::string>& words, int file,
                           Size largest)
    : size_(media::PictureBytes(largest))
{
    int ends[2];
    if (socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0)
        ThrowErrno("cannot start vesk-media");
    socket_ = Descriptor(ends[0]);
    const Descriptor other(ends[1]);
    const Descriptor memory = SharedMemory(size_);
    const std::string path = program.empty() ? MediaProgram() : program;
    process_ = Start(path, words, SpawnSettings(Above(other.Get()).Get(), memory.Get(), Above(file).Get()));
    void* const mapped = mmap(nullptr, size_, PROT_READ | PROT_WRITE, MAP_SHARED, memory.Get(), 0);
    if (mapped == MAP_FAILED) {
        End(process_, {});
        ThrowErrno("cannot have memory for pixels");
    }
    memory_ = static_cast<std::byte*>(mapped);
}

MediaProcess::~MediaProcess()
{
    if (process_ != 0)
        End(process_, {});
    munmap(memory_, size_);
}

void MediaProcess::Send(const media::Order& order)
{
    while (send(socket_.Get(), &order, sizeof order, MSG_NOSIGNAL) < 0)
        if (errno != EINTR)
            ThrowEnd();
}

media::Answer MediaProcess::Receive(std::chrono::milliseconds most)
{
    if (!IsReadable(socket_.Get(), most))
        throw Error("takes too long");
    media::Answer answer{};
    ssize_t got = 0;
    while ((got = recv(socket_.Get(), &answer, sizeof answer, MSG_DONTWAIT)) < 0 && errno == EINTR)
        continue;
    if (got != sizeof answer)
        ThrowEnd();
    if (const std::string_view problem = TextIn(answer.problem); !problem.empty())
        throw Error(Printable(problem));
    return answer;
}

void MediaProcess::ThrowEnd()
{
    // A process that crashes closes its socket a little earlier than it can be waited for.
    const int status = process_ != 0 ? End(process_, std::chrono::milliseconds(500)) : 0;
    process_ = 0;
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGPROF)
        throw Error("takes too long");
    throw Error("vesk-media ended (" +
                (WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                                     : "status " + std::to_string(WEXITSTATUS(status))) +
                ')');
}

void MediaProcess::CopyTo(Picture& picture) const
{
    for (size_t y = 0; y < picture.size.height; y++)
        std::memcpy(&picture.pixels[y * picture.size.width],
                    memory_ + y * media::RowBytes(picture.size.width), picture.size.width * sizeof(uint32_t));
}

void MediaProcess::CopyFrom(const Picture& picture)
{
    for (size_t y = 0; y < picture.size.height; y++)
        std::memcpy(memory_ + y * media::RowBytes(picture.size.width),
                    &picture.pixels[y * picture.size.width], picture.size.width * sizeof(uint32_t));
}

} // namespace vesk::pictures
