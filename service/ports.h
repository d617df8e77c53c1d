// What input and output ports have in common: clients list, enable and open them.
#pragma once

#include "service/device_description.h"
#include "service/numbered.h"
#include "service/showing.h"

namespace vesk::service {

/// Base of a port; of its description, the mode and whether it is plugged are those of its cable now. Clients
/// see what the functions say, in place of which a port can have others.
template <class Description>
struct DescribedPort : Description {
    uint32_t number = 0;
    bool isEnabled = true;

    bool CountsAsPlugged() const { return this->isPlugged; }
    VeskControlMode& Mode() { return this->mode; }
    const VeskControlMode& Mode() const { return this->mode; }
};

/// What the engines of both directions have.
struct VideoEngine : Startable {
    VeskVideoVioCallbackParam vioCallback{};
};

/// Base of an @p Engine that serves an open port; the engine can have another CountsAsPlugged().
template <class Engine, class PortType>
struct PortEngine : VideoEngine {
    using Port = PortType;
    Port* port = nullptr;

    bool CountsAsPlugged() const { return port->CountsAsPlugged(); }
    bool IsRunning() const { return Shows() == Showing::kLive; }

    /// kLive while it runs, or else why not: kDisabled, kUnplugged or kStopped.
    Showing Shows() const
    {
        if (!port->isEnabled)
            return Showing::kDisabled;
        if (!static_cast<const Engine*>(this)->CountsAsPlugged())
            return Showing::kUnplugged;
        return this->isStarted ? Showing::kLive : Showing::kStopped;
    }
};

/// @p Info is the record that describes a port to clients, @p PlugState what @p plugNotification carries.
template <class EngineType, class Info, class PlugState, VeskVideoNotification plugNotification>
class Ports {
public:
    using Engine = EngineType;
    using Port = typename Engine::Port;
    using Param = decltype(Engine::param);

    /// Announces every port to a client.
    void Announce(const std::string& procName)
    {
        for (const Port& port : ports_) {
            NotifyPlugState(procName, port);
            if (port.CountsAsPlugged())
                NotifyPicture(procName, port);
        }
    }

    void Release(HostProcess process) { engines.Release(process); }

    Numbered<Engine> engines;
    const std::vector<Port>& All() const { return ports_; }
    Port* Find(uint64_t number) { return number < ports_.size() ? &ports_[number] : nullptr; }

    /// The engine that serves a port; null while it is not open.
    Engine* EngineOf(const Port& port)
    {
        for (auto& [number, engine] : engines.All()) {
            if (engine.port == &port)
                return &engine;
        }
        return nullptr;
    }

    Result GetCount(uint32_t* ports)
    {
        *ports = static_cast<uint32_t>(ports_.size());
        return kOk;
    }

    Result List(Argument<"count"> asked, std::vector<Info>* infos)
    {
        if (asked == 0 || asked > ports_.size())
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
        if (const Result result = engines.Create(sender, engineNo); result != kOk)
            return result;
        Engine& engine = *engines.Find(*engineNo);
        engine.port = &port;
        engine.param = defaults_;
        return kOk;
    }

    Result Start(Engine& engine)
    {
        if (!engine.port->isEnabled)
            return VESK_SERVICE_ERR_DISABLED;
        if (!engine.CountsAsPlugged())
            return VESK_SERVICE_ERR_UNPLUGGED;
        return engine.Startable::Start();
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

    /// Without a width, what is plugged in has the mode that the port has.
    Result Plug(Port& port, const VeskControlMode& mode)
    {
        const VeskControlMode chosen = mode.width != 0 ? mode : port.mode;
        if (port.isPlugged)
            return VESK_SERVICE_ERR_STATE;
        if (!IsPicture(chosen))
            return VESK_SERVICE_ERR_VALUE;
        Change(port, [&] {
            port.isPlugged = true;
            port.mode = chosen;
        });
        return kOk;
    }

    /// The port's engine stays as it is, without a picture.
    Result Unplug(Port& port)
    {
        if (!port.isPlugged)
            return VESK_SERVICE_ERR_STATE;
        Change(port, [&] { port.isPlugged = false; });
        return kOk;
    }

    Result SetMode(Port& port, const VeskControlMode& mode)
    {
        if (!port.CountsAsPlugged())
            return VESK_SERVICE_ERR_UNPLUGGED;
        if (!IsPicture(mode))
            return VESK_SERVICE_ERR_VALUE;
        NotifyMode(port, std::exchange(port.Mode(), mode));
        return kOk;
    }

protected:
    template <class Description>
    Ports(Notifications& notifications, const std::vector<Description>& described, const Param& defaults,
          NumberRange numbers)
        : engines(kMaxPorts, numbers), notifications_(&notifications), defaults_(defaults)
    {
        for (const Description& description : described) {
            ports_.push_back({{description}});
            ports_.back().number = static_cast<uint32_t>(ports_.size() - 1);
        }
    }
    Ports(Ports&&) noexcept = default;
    Ports& operator=(Ports&&) noexcept = default;
    ~Ports() = default;

    /// Has @p change change what a port has, and notifies what clients see of it.
    template <class Action>
    void Change(Port& port, Action change)
    {
        const bool wasPlugged = port.CountsAsPlugged();
        const VeskControlMode before = port.Mode();
        change();
        const bool isOther = port.CountsAsPlugged() != wasPlugged;
        if (isOther)
            NotifyPlugState(kEveryClient, port);
        if (isOther || !IsSame(before, port.Mode()))
            NotifyMode(port, before);
    }

    /// Notifies the mode of a port that counts as plugged.
    virtual void NotifyPicture(const std::string& procName, const Port&) = 0;
    /// Describes a port; its engine is null while it is not open.
    virtual Info Describe(const Port&, const Engine*) const = 0;

    /// A record with the fields that describe ports of either direction.
    template <class Described>
    static Described Begin(const Port& port)
    {
        Described described{};
        described.port = port.number;
        described.plugged = port.CountsAsPlugged() ? 1 : 0;
        described.enabled = port.isEnabled ? 1 : 0;
        described.width = port.Mode().width;
        described.height = port.Mode().height;
        described.fr = port.Mode().fr;
        port.name.copy(described.name, sizeof described.name - 1);
        return described;
    }

    Notifications* notifications_;

private:
    static bool IsSame(const VeskControlMode& a, const VeskControlMode& b)
    {
        return a.width == b.width && a.height == b.height && a.fr == b.fr;
    }

    void NotifyPlugState(const std::string& procName, const Port& port)
    {
        PlugState plug{};
        plug.port = port.number;
        plug.val = port.CountsAsPlugged() ? 1 : 0;
        notifications_->Add(procName, plugNotification, BytesOf(plug));
    }

    void NotifyMode(const Port& port, const VeskControlMode& before)
    {
        if (port.CountsAsPlugged())
            NotifyPicture(kEveryClient, port);
        if (!IsSame(before, port.Mode()))
            notifications_->Add(kEveryClient, VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE, {});
    }

    Param defaults_;
    std::vector<Port> ports_; // engines point to them
};

} // namespace vesk::service
