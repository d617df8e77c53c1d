// The clients that have announced themselves, and their notifications.
#pragma once

#include "service/request.h"

#include <map>

namespace vesk::service {

/// The service's process and task name.
struct Identity {
    std::string procName;
    std::string taskName;
};

/// True when a text can be the name of a client's process or task: 1 to 15 characters, none of control.
bool IsClientName(std::string_view name);

/**
 * The clients, by process name. They are also kept in a file of the runtime directory, so that a service that
 * is started again can notify those that still run.
 */
class Clients {
public:
    explicit Clients(const Identity& self) : self_(self) {}

    /// Reads the clients of an earlier run that are still alive.
    void Restore();

    /// Makes a process known by a name, or refuses that with VESK_SERVICE_ERR_BUSY when another one that
    /// lives has it, which is logged.
    Result Add(const std::string& procName, const std::string& taskName, pid_t process);
    /// Forgets a name that @p process has.
    void Remove(const std::string& procName, pid_t process);
    bool IsKnown(const std::string& procName) const { return clients_.count(procName) != 0; }

    /// Sends one notification; a client that has ended is removed. One that there is no memory for is dropped
    /// and logged.
    void Notify(const Notification& notification);
    void NotifyAll(uint32_t notifyId);

private:
    friend class State;

    struct Client {
        std::string taskName;
        pid_t process;
        uint64_t start;    // of the process
        uint64_t sent = 0; // notifications
        uint64_t dropped = 0;

        bool IsAlive() const;
    };
    using Map = std::map<std::string, Client>;

    static constexpr size_t kMost = 256;

    void Notify(Map::iterator client, const Notification& notification);
    std::string FileName() const;
    void Save();

    const Identity& self_;
    Map clients_;
    bool isSaved_ = true; // the last time
};

} // namespace vesk::service
