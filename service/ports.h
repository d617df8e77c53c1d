// What input and output ports have in common: clients list, enable and open them.
#pragma once

#include "service/numbered.h"

#include <array>
#include <cstring>

namespace vesk::service {

/// Base of a port.
struct Port {
    uint32_t number;
    const char* name;
    uint32_t width;
    uint32_t height;
    uint32_t fr;
    bool isPlugged;
    bool isEnabled = true;
};

/// Base of the engine that serves an open port.
template <class PortType>
struct PortEngine : Startable {
    using Port = PortType;
    Port* port = nullptr;
};

/// @p Info is the record that describes a port to clients, @p PlugState what @p plugNotification carries.
template <class EngineType, size_t count, class Info, class PlugState, VeskVideoNotification plugNotification>
class Ports {
public:
    using Engine = EngineType;
    using Port = typename Engine::Port;

    /// Announces every port to a client.
    void Announce(const std::string& procName)
    {
        for (const Port& port : ports_) {
            PlugState plug{};
            plug.port = port.number;
            plug.val = port.isPlugged ? 1 : 0;
            notifications_.Add(procName, plugNotification, BytesOf(plug));
            AnnouncePicture(procName, port);
        }
    }

    void Release(pid_t process) { engines.Release(process); }

    Numbered<Engine> engines{count};
    Port* Find(uint64_t number) { return number < count ? &ports_[number] : nullptr; }

    Result GetCount(uint32_t* ports)
    {
        *ports = count;
        return kOk;
    }

    Result List(Argument<"count"> asked, std::vector<Info>* infos)
    {
        if (asked == 0 || asked > count)
            return VESK_SERVICE_ERR_VALUE;
        for (const Port& port : std::span(ports_).first(asked))
            infos->push_back(Describe(port, EngineOf(port)));
        return kOk;
    }

    Result Open(Port& port, const Sender& sender, uint32_t* engineNo)
    {
        if (!port.isEnabled)
            return VESK_SERVICE_ERR_DISABLED;
        if (const Engine* present = EngineOf(port); present != nullptr && engines.Reclaim(*present) != kOk)
            return VESK_SERVICE_ERR_BUSY;
        const Result result = engines.Create(sender, engineNo);
        if (result == kOk)
            engines.Find(*engineNo)->port = &port;
        return result;
    }

    Result Enable(Port& port)
    {
        port.isEnabled = true;
        return kOk;
    }

    /// Stops the port's engine too.
    Result Disable(Port& port)
    {
        port.isEnabled = false;
        if (Engine* engine = EngineOf(port); engine != nullptr)
            engine->isStarted = false;
        return kOk;
    }

protected:
    friend class State;

    Ports(Notifications& notifications, std::array<Port, count> ports)
        : notifications_(notifications), ports_(std::move(ports))
    {
    }
    ~Ports() = default;

    const std::array<Port, count>& All() const { return ports_; }

    /// Announces what follows the plug state.
    virtual void AnnouncePicture(const std::string& procName, const Port&) = 0;
    /// Describes a port; its engine is null while it is not open.
    virtual Info Describe(const Port&, const Engine*) const = 0;

    /// A record with the fields that describe ports of either direction.
    template <class Described>
    static Described Begin(const Port& port)
    {
        Described described{};
        described.port = port.number;
        described.plugged = port.isPlugged ? 1 : 0;
        described.enabled = port.isEnabled ? 1 : 0;
        described.width = port.width;
        described.height = port.height;
        described.fr = port.fr;
        std::strncpy(described.name, port.name, sizeof described.name - 1);
        return described;
    }

    Notifications& notifications_;

private:
    Engine* EngineOf(const Port& port)
    {
        for (auto& [number, engine] : engines.All()) {
            if (engine.port == &port)
                return &engine;
        }
        return nullptr;
    }

    std::array<Port, count> ports_;
};

} // namespace vesk::service
