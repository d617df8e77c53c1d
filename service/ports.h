// What input and output ports have in common: clients list, enable and open them.
#pragma once

#include "service/device_description.h"
#include "service/numbered.h"

namespace vesk::service {

/// Base of a port; of its description, the mode and whether it is plugged are what they are now.
template <class Description>
struct DescribedPort : Description {
    uint32_t number = 0;
    bool isEnabled = true;
};

/// What the engines of both directions have.
struct VideoEngine : Startable {
    VeskVideoVioCallbackParam vioCallback{};
};

/// Base of the engine that serves an open port.
template <class PortType>
struct PortEngine : VideoEngine {
    using Port = PortType;
    Port* port = nullptr;

    bool IsRunning() const { return this->isStarted && port->isPlugged && port->isEnabled; }
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
            if (port.isPlugged)
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
        if (!engine.port->isPlugged)
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
        port.isPlugged = true;
        NotifyPlugState(kEveryClient, port);
        SwitchTo(port, chosen);
        return kOk;
    }

    /// The port's engine stays as it is, without a picture.
    Result Unplug(Port& port)
    {
        if (!std::exchange(port.isPlugged, false))
            return VESK_SERVICE_ERR_STATE;
        NotifyPlugState(kEveryClient, port);
        return kOk;
    }

    Result SetMode(Port& port, const VeskControlMode& mode)
    {
        if (!port.isPlugged)
            return VESK_SERVICE_ERR_UNPLUGGED;
        if (!IsPicture(mode))
            return VESK_SERVICE_ERR_VALUE;
        SwitchTo(port, mode);
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

    /// Notifies the mode of a port that is plugged in.
    virtual void NotifyPicture(const std::string& procName, const Port&) = 0;
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
        described.width = port.mode.width;
        described.height = port.mode.height;
        described.fr = port.mode.fr;
        port.name.copy(described.name, sizeof described.name - 1);
        return described;
    }

    Notifications* notifications_;

private:
    static bool IsPicture(const VeskControlMode& mode)
    {
        const auto isIn = [](uint32_t value, uint32_t most) { return value >= 1 && value <= most; };
        return isIn(mode.width, kMaxPixels) && isIn(mode.height, kMaxPixels) && isIn(mode.fr, kMaxFrameRate);
    }

    void NotifyPlugState(const std::string& procName, const Port& port)
    {
        PlugState plug{};
        plug.port = port.number;
        plug.val = port.isPlugged ? 1 : 0;
        notifications_->Add(procName, plugNotification, BytesOf(plug));
    }

    void SwitchTo(Port& port, const VeskControlMode& mode)
    {
        const VeskControlMode before = std::exchange(port.mode, mode);
        NotifyPicture(kEveryClient, port);
        if (before.width != mode.width || before.height != mode.height || before.fr != mode.fr)
            notifications_->Add(kEveryClient, VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE, {});
    }

    Param defaults_;
    std::vector<Port> ports_; // engines point to them
};

} // namespace vesk::service
