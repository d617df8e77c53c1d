// The input ports with their cameras, and the input engines that read them.
#pragma once

#include "service/numbered.h"
#include "service/service_queue.h"

#include <array>
#include <map>
#include <set>

namespace vesk::service {

class Inputs {
public:
    struct Port {
        const char* name;
        uint32_t type;
        uint32_t width;
        uint32_t height;
        uint32_t fr;
        bool isPlugged;
        bool isEnabled = true;
        VeskVideoEptzParams eptz{};
        VeskVideoPtzfParams ptzf{};
        // The camera, where there is one.
        VeskServiceCameraState camera{};
        bool isTracking = false;
        std::map<uint32_t, VeskVideoPresetInfo> presets{};

        bool HasCamera() const { return type != kPcPort; }
    };

    struct Engine : Owned {
        uint32_t port = 0;
        VeskVideoViPortParam param{};
        std::set<uint32_t> streams;
        bool isStarted = false;
        ServiceQueue queue;
        uint32_t faceQueue = 0;
        uint32_t frozen = 0;
        Bytes frozenData;
        int32_t eptzMoveSpeed = 0;
        VeskVideoAppInParam appInParam{};
        VeskVideoVioCallbackParam vioCallback{};
    };

    explicit Inputs(Notifications& notifications) : notifications_(notifications) {}

    /// Announces every port to a client.
    void Announce(const std::string& procName);
    void Release(pid_t process) { engines.Release(process); }

    Numbered<Engine> engines{VESK_SERVICE_INPUTS};
    const Port& PortOf(const Engine& engine) const { return ports_[engine.port]; }

    /// The ports by their own numbers, and by the numbers of the engines that read them.
    struct ByPort {
        Inputs& inputs;
        Port* Find(uint64_t number) const { return inputs.FindPort(number); }
    };
    struct ByEngine {
        Inputs& inputs;
        Port* Find(uint64_t inEngNo) const
        {
            const Engine* engine = inputs.engines.Find(inEngNo);
            return engine != nullptr ? &inputs.ports_[engine->port] : nullptr;
        }
    };

    Result GetCount(const Request&, uint32_t* count);
    Result GetPorts(const Request&, std::vector<VeskVideoViPortInfo>* ports);
    Result Open(const Request&, uint32_t* inEngNo);
    Result Start(const Request&, Engine&);
    Result Connect(const Request&, Engine&);
    Result Disconnect(const Request&, Engine&);
    Result ModifyInput(const Request&, Engine&);
    Result GetQueue(const Request&, Engine&, uint32_t* queHandle);
    Result Freeze(const Request&, Engine&);
    Result Enable(const Request&);
    Result Disable(const Request&);

    Result ControlCamera(const Request&, Engine&, Bytes* answer);
    Result SetPreset(const Request&, Engine&, const VeskVideoPresetInfo&);
    Result GetPresetCount(const Request&, uint32_t* count);
    Result QueryPresets(const Request&, std::vector<VeskVideoPresetInfo>* presets);
    Result GetBoundary(const Request&, Engine&, VeskServiceBoundary*);

    Result Track(const Request&, Engine&);
    Result GetPtStatus(const Request&, Engine&, uint8_t* status);
    Result GetAfStatus(const Request&, Engine&, uint8_t* status);

    Result SetVirtualSource(const Request&);
    Result SetAppCapture(const Request&, Engine&, const VeskVideoAppInParam&);

private:
    static constexpr uint32_t kCameraPort = 1;
    static constexpr uint32_t kPcPort = 2;

    Port* FindPort(uint64_t number) { return number < ports_.size() ? &ports_[number] : nullptr; }
    VeskVideoViPortInfo Describe(uint32_t port);
    Result Move(Port& port, int32_t command);

    Notifications& notifications_;
    std::array<Port, VESK_SERVICE_INPUTS> ports_{
        {{"CAMERA", kCameraPort, 3840, 2160, 30, true},
         {"PC-IN", kPcPort, 0, 0, 0, false},
         {"NET-CAMERA", VESK_VIDEO_PORT_TYPE_NET_CAMERA, 1920, 1080, 25, true}}};
    std::map<uint32_t, std::string> virtualSources_;
};

} // namespace vesk::service
