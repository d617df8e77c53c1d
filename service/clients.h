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

/**
 * The clients, by process name. They are also kept in a file of the runtime directory, so that a service that
 * is started again can notify those that still run.
 */
class Clients {
public:
    explicit Clients(const Identity& self) : self_(self) {}

    /// Reads the clients of an earlier run that are still alive.
    void Restore();

    Result Add(const std::string& procName, const std::string& taskName, pid_t process);
    void Remove(const std::string& procName);
    bool IsKnown(const std::string& procName) const { return clients_.count(procName) != 0; }

    /// Sends one notification; a client that has ended is removed.
    void Notify(const Notification& notification);
    void NotifyAll(uint32_t notifyId);

private:
    struct Client {
        std::string taskName;
        pid_t process;
    };

    std::string FileName() const;
    void Save() const;

    const Identity& self_;
    std::map<std::string, Client> clients_;
};

} // namespace vesk::service
