// Starts further processes of this program.
#include "bench/process.h"
#include "vesk_video/vesk_video.h"

#include <cerrno>
#include <csignal>
#include <cstring>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vesk::bench {

namespace {

constexpr char kSelf[] = "/proc/self/exe";

std::string OwnPath()
{
    char path[4096];
    const ssize_t length = readlink(kSelf, path, sizeof path);
    if (length <= 0)
        Fail(std::string(kSelf) + ": " + strerror(errno));
    return {path, static_cast<size_t>(length)};
}

} // namespace

pid_t Start(const std::vector<std::string>& command, const std::vector<int>& kept, int output)
{
    const std::string self = OwnPath();
    std::vector<char*> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string& word : command)
        arguments.push_back(const_cast<char*>(word == "self" ? self.c_str() : word.c_str()));
    arguments.push_back(nullptr);
    const pid_t process = fork();
    if (process < 0)
        Fail(std::string("fork: ") + strerror(errno));
    if (process > 0)
        return process;
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (const int descriptor : kept)
        fcntl(descriptor, F_SETFD, 0);
    if (output >= 0)
        dup2(output, STDOUT_FILENO);
    execvp(arguments[0], arguments.data());
    dprintf(STDERR_FILENO, "%s: %s\n", arguments[0], strerror(errno));
    _exit(127);
}

ServiceProcess::ServiceProcess() : process_(Start({VESK_BENCH_SERVICE}, {}, STDERR_FILENO))
{
    uint32_t ports = 0;
    for (int tries = 0; VeskVideoGetVoCount(&ports) != 0; ++tries) {
        if (tries == 2500)
            Fail("the service does not start");
        usleep(2000);
    }
}

ServiceProcess::~ServiceProcess()
{
    kill(process_, SIGTERM);
    waitpid(process_, nullptr, 0);
}

OnCpu::OnCpu(int cpu)
{
    cpu_set_t set;
    CPU_ZERO(&set);
    CPU_SET(cpu, &set);
    if (sched_getaffinity(0, sizeof before_, &before_) != 0 || sched_setaffinity(0, sizeof set, &set) != 0)
        Fail("cannot run on CPU " + std::to_string(cpu) + ": " + strerror(errno));
}

OnCpu::~OnCpu()
{
    sched_setaffinity(0, sizeof before_, &before_);
}

std::vector<int> Cpus()
{
    cpu_set_t set;
    CPU_ZERO(&set);
    sched_getaffinity(0, sizeof set, &set);
    std::vector<int> cpus;
    for (int cpu = 0; cpu < CPU_SETSIZE; ++cpu) {
        if (CPU_ISSET(cpu, &set))
            cpus.push_back(cpu);
    }
    return cpus;
}

void Join(pid_t process)
{
    int status = 0;
    if (waitpid(process, &status, 0) != process || status != 0)
        Fail("process " + std::to_string(process) + " failed with wait status " + std::to_string(status));
}

Link MakeLink(const Way& way, int callers)
{
    Link link;
    if (!way.usesPair) {
        static int named = 0;
        link.server.push_back("server" + std::to_string(++named));
        link.callers.assign(static_cast<size_t>(callers), link.server.front());
        return link;
    }
    for (int i = 0; i < callers; ++i) {
        int pair[2];
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0)
            Fail(std::string("socketpair: ") + strerror(errno));
        link.callers.push_back(std::to_string(pair[0]));
        link.server.push_back(std::to_string(pair[1]));
    }
    return link;
}

pid_t StartSide(const Side& side, const std::vector<Address>& addresses,
                const std::vector<std::string>& prefix)
{
    std::vector<std::string> command = prefix;
    command.insert(command.end(), {"self", side.command, "--way", side.way.name, "--request",
                                   std::to_string(side.sizes.request), "--answer",
                                   std::to_string(side.sizes.answer), "--calls", std::to_string(side.calls)});
    std::vector<int> descriptors;
    for (const Address& address : addresses) {
        command.insert(command.end(), {"--address", address});
        if (side.way.usesPair)
            descriptors.push_back(std::stoi(address));
    }
    const pid_t process = Start(command, descriptors);
    for (const int descriptor : descriptors)
        close(descriptor); // so that each side sees the other one end
    return process;
}

Parties::Parties(const Way& way, Sizes sizes, int callers)
{
    const Link link = MakeLink(way, callers);
    server_ = StartSide({"serve", way, sizes}, link.server);
    for (const Address& address : link.callers)
        callers_.push_back(way.open(address, sizes));
}

Parties::~Parties()
{
    callers_.front()->EndServer();
    callers_.clear();
    waitpid(server_, nullptr, 0);
}

} // namespace vesk::bench
