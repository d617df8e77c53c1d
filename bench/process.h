// Further processes of this program: servers, and clients that are observed.
#pragma once

#include "bench/way.h"

#include <sched.h>
#include <sys/types.h>

namespace vesk::bench {

/// Runs @p command, in which the word "self" stands for this program. The process inherits the descriptors
/// @p kept, and @p output as its standard output unless that is -1; it does not outlive this one.
pid_t Start(const std::vector<std::string>& command, const std::vector<int>& kept, int output = -1);

/// The virtual service in a process of its own.
class ServiceProcess {
public:
    ServiceProcess();
    ~ServiceProcess();
    ServiceProcess(const ServiceProcess&) = delete;
    ServiceProcess& operator=(const ServiceProcess&) = delete;

private:
    pid_t process_;
};

/// While it lives, this thread and the processes that it starts run on one CPU alone.
class OnCpu {
public:
    explicit OnCpu(int cpu);
    ~OnCpu();
    OnCpu(const OnCpu&) = delete;
    OnCpu& operator=(const OnCpu&) = delete;

private:
    cpu_set_t before_{};
};

/// The CPUs that this thread may run on.
std::vector<int> Cpus();

/// Waits for a process to end; throws when it has failed.
void Join(pid_t process);

/// How the callers reach a server, and the server its callers.
struct Link {
    std::vector<Address> callers, server;
};
Link MakeLink(const Way& way, int callers);

/// What one side of an exchange runs.
struct Side {
    const char* command; ///< "serve" or "call".
    const Way& way;
    Sizes sizes;
    int calls = 0; ///< That a caller makes.
};

/// Runs a side in a process of its own, which takes over its descriptors; @p prefix precedes its command.
pid_t StartSide(const Side& side, const std::vector<Address>& addresses,
                const std::vector<std::string>& prefix = {});

/// A server in a process of its own, and its callers in this one.
class Parties {
public:
    Parties(const Way& way, Sizes sizes, int callers = 1);
    ~Parties();
    Parties(const Parties&) = delete;
    Parties& operator=(const Parties&) = delete;

    Caller& operator[](size_t caller) { return *callers_[caller]; }

private:
    pid_t server_;
    std::vector<std::unique_ptr<Caller>> callers_;
};

} // namespace vesk::bench
