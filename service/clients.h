// The clients that have announced themselves, and their notifications.
#pragma once

#include "service/watchers.h"

#include <map>
#include <memory>
#include <optional>

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
    Clients(const Identity& self, Watchers& watchers) : self_(self), watchers_(watchers) {}

    /// Reads the clients of an earlier run that are still alive.
    void Restore();

    /// Makes a process known by a name. Refuses that, and logs it: with VESK_SERVICE_ERR_BUSY when another
    /// living process has the name, with VESK_SERVICE_ERR_ROOM when this process or the service has as many
    /// names as it may.
    Result Add(const std::string& procName, const std::string& taskName, HostProcess process);
    /// Forgets a name that @p process has.
    void Remove(const std::string& procName, HostProcess process);
    /// Forgets all names of a process.
    void Forget(HostProcess process);
    bool IsKnown(const std::string& procName) const { return clients_.count(procName) != 0; }
    /// Keeps the record of a process that has a name; VESK_SERVICE_ERR_STATE when it has not.
    Result SetCallback(const std::string& procName, HostProcess process, const VeskVideoCallbackInfo&);
    void ForgetCallbacks();

    std::vector<std::string> Names() const;
    /// The process that has a name; 0 when it is not known.
    HostProcess ProcessOf(const std::string& procName) const;

    /// Sends a notification, given by its data block, if the client is still known; one that has ended is
    /// removed. Returns 0 when it was handed over.
    uint32_t Send(const std::string& procName, uint32_t notifyId, std::span<const std::byte> data);
    /// What a notification to a client holds while it waits to be sent.
    std::shared_ptr<const void> WaitOf(const std::string& procName) const
    {
        const auto known = clients_.find(procName);
        return known != clients_.end() ? known->second.waits : nullptr;
    }
    /// Counts and shows a notification that is not sent at all.
    void Drop(const std::string& procName, uint32_t notifyId, std::span<const std::byte> data);

    struct Client {
        std::string taskName;
        HostProcess process;
        uint64_t sent = 0; ///< Notifications.
        uint64_t dropped = 0;
        std::optional<VeskVideoCallbackInfo> callback{}; ///< Kept for those who look at the state.
        std::shared_ptr<const void> waits = std::make_shared<char>(); ///< Held by those not sent yet.

        size_t Waiting() const { return static_cast<size_t>(waits.use_count()) - 1; }
        bool IsAlive() const { return HostProcessIsAlive(process) != 0; }
    };
    using Map = std::map<std::string, Client>;
    const Map& All() const { return clients_; }

private:
    static constexpr size_t kMost = 256;
    static constexpr long kMostOfAProcess = 16;

    std::string FileName() const;
    void Save();

    const Identity& self_;
    Watchers& watchers_;
    Map clients_;
    bool isSaved_ = true; // the last time
};

} // namespace vesk::service
