// Programs that a subcommand runs.
#include "tools/veskctl/program.h"

#include "base/descriptor.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>

namespace vesk::ctl {

AwaitedSignals::AwaitedSignals(std::initializer_list<int> signals)
{
    sigemptyset(&awaited_);
    for (const int signal : signals) {
        sigaddset(&awaited_, signal);
        if (signal ==
            SIGCHLD) // ignored, as some daemons leave it, it would take the statuses of children along
            std::signal(signal, SIG_DFL);
    }
    sigprocmask(SIG_BLOCK, &awaited_, &before_);
}

siginfo_t AwaitedSignals::Take(std::chrono::milliseconds most) const
{
    const timespec pause{most.count() / 1000, most.count() % 1000 * 1000000};
    siginfo_t info{};
    if (sigtimedwait(&awaited_, &info, &pause) < 0)
        info = {};
    return info;
}

bool AwaitedSignals::IsReadable(int file, std::chrono::milliseconds most) const
{
    const Descriptor signals(signalfd(-1, &awaited_, SFD_CLOEXEC));
    pollfd awaited[] = {{file, POLLIN, 0}, {signals.Get(), POLLIN, 0}};
    poll(awaited, std::size(awaited), static_cast<int>(most.count()));
    return awaited[0].revents != 0;
}

namespace {

/// Has @p signal sent to this child when the thread that forked it ends, the only one of its parent.
void EndWith(pid_t parent, int signal)
{
    prctl(PR_SET_PDEATHSIG, signal);
    if (getppid() != parent) // it has ended meanwhile
        _exit(1);
}

void BeHelper()
{
    setpgid(0, 0);
    dup2(open("/dev/null", O_RDONLY | O_CLOEXEC), STDIN_FILENO);
}

} // namespace

Program::Program(const std::vector<std::string>& words, const AwaitedSignals& signals, const Options& options)
{
    std::vector<char*> arguments;
    arguments.reserve(words.size() + 1);
    for (const std::string& word : words)
        arguments.push_back(const_cast<char*>(word.c_str()));
    arguments.push_back(nullptr);
    const pid_t self = getpid();
    int failure[2]; // carries errno if the program cannot be executed
    if (pipe2(failure, O_CLOEXEC) != 0 || (process_ = fork()) < 0)
        throw Failure(kFailed, std::string("cannot start a process: ") + std::strerror(errno));
    if (process_ == 0) {
        sigprocmask(SIG_SETMASK, &signals.Before(), nullptr);
        std::signal(SIGPIPE, SIG_DFL);
        if (options.atOurEnd != 0)
            EndWith(self, options.atOurEnd);
        if (options.isHelper)
            BeHelper();
        if (options.output >= 0) {
            dup2(options.output, STDOUT_FILENO);
            dup2(options.output, STDERR_FILENO);
        }
        for (const auto& [name, value] : options.environment)
            setenv(name.c_str(), value.c_str(), 1);
        execvp(arguments[0], arguments.data());
        const int error = errno;
        (void)!write(failure[1], &error, sizeof error);
        _exit(1);
    }
    close(failure[1]);
    int error = 0;
    const ssize_t got = read(failure[0], &error, sizeof error);
    close(failure[0]);
    if (got == sizeof error) {
        waitpid(process_, nullptr, 0);
        throw Failure(error == ENOENT ? kNotFound : kNotExecutable,
                      "cannot start '" + words[0] + "': " + std::strerror(error));
    }
}

Program::~Program()
{
    if (Status())
        return;
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

void Program::Signal(int signal) const
{
    if (!status_)
        kill(process_, signal);
}

std::optional<int> Program::Status()
{
    int status = 0;
    if (!status_ && waitpid(process_, &status, WNOHANG) == process_)
        status_ = WIFSIGNALED(status) ? 128 + WTERMSIG(status) : WEXITSTATUS(status);
    return status_;
}

} // namespace vesk::ctl
