// The displays, and the output engines that drive them.
#pragma once

#include "service/request.h"

#include <array>
#include <map>

namespace vesk::service {

class Outputs {
public:
    explicit Outputs(Notifications& notifications) : notifications_(notifications) {}

    /// Announces every display to a client.
    void Announce(const std::string& procName);

    /// Closes the engines that a process has opened.
    void Release(pid_t process);

    Result GetCount(const Request&, uint32_t* count);
    Result GetPorts(const Request&, std::vector<VeskVideoVoPortInfo>* ports);
    Result Open(const Request&, uint32_t* outEngNo);
    Result SetParam(const Request&, const VeskVideoVoPortParam&);
    Result GetParam(const Request&, VeskVideoVoPortParam*);
    Result SetOffset(const Request&, const VeskVideoScreenOffset&);
    Result SetQueue(const Request&);
    Result Start(const Request&);
    Result Stop(const Request&);
    Result Close(const Request&);
    Result Enable(const Request&);
    Result Disable(const Request&);

private:
    struct Display {
        const char* name;
        uint32_t width;
        uint32_t height;
        uint32_t fr;
        bool isPlugged;
        bool isEnabled = true;
    };

    struct Engine {
        uint32_t port = 0;
        Sender owner;
        VeskVideoVoPortParam param{};
        VeskVideoScreenOffset offset{};
        uint32_t queHandle = 0;
        bool isStarted = false;
        bool hasShownFrame = false;
    };

    Display* FindDisplay(const Request&);
    Engine* FindEngine(const Request&);
    std::map<uint32_t, Engine>::iterator EngineOf(uint32_t port);
    VeskVideoVoPortInfo Describe(uint32_t port);
    void NotifyLink(uint32_t notifyId, uint32_t outEngNo, const Engine& engine);

    Notifications& notifications_;
    std::array<Display, 2> displays_{
        {{"HDMI-OUT-1", 3840, 2160, 60, true}, {"HDMI-OUT-2", 1920, 1080, 60, true}}};
    std::map<uint32_t, Engine> engines_;
    uint32_t lastEngine_ = 0;
};

} // namespace vesk::service
