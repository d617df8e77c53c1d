// The input ports with their cameras, and the input engines that read them.
#pragma once

#include "service/ports.h"
#include "service/service_queue.h"

#include <map>
#include <set>

namespace vesk::service {

struct InputPort : DescribedPort<InputDescription> {
    VeskVideoEptzParams eptz{};
    VeskVideoPtzfParams ptzf{};
    // The camera, where there is one.
    VeskServiceCameraState camera{};
    bool isTracking = false;
    std::map<uint32_t, VeskVideoPresetInfo> presets{};

    bool HasCamera() const { return type != kPc; }
};

struct InputEngine : PortEngine<InputPort> {
    VeskVideoViPortParam param{};
    std::set<uint64_t> streams;
    ServiceQueue queue;
    uint32_t faceQueue = 0;
    uint32_t frozen = 0;
    Bytes frozenData;
    int32_t eptzMoveSpeed = 0;
    VeskVideoAppInParam appInParam{};
};

class Inputs : public Ports<InputEngine, VeskVideoViPortInfo, VeskVideoViPortPlugState,
                            VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY> {
public:
    Inputs(Notifications& notifications, const DeviceDescription& device);

    Result Connect(Engine&, Argument<"stmNo">);
    Result Disconnect(Engine&, Argument<"stmNo">);
    Result ModifyInput(Engine&, Argument<"stmNo">);
    Result GetQueue(Engine&, uint32_t* queHandle);
    Result Freeze(Engine&, Argument<"flag">, std::span<const std::byte> data);

    Result ControlCamera(Engine&, const Sender&, Argument<"cmdType">, std::span<const std::byte>,
                         Bytes* answer);
    Result SetPreset(Engine&, const VeskVideoPresetInfo&);
    Result GetPresetCount(uint32_t* count);
    Result QueryPresets(Argument<"presetSelector">, Argument<"presetCount">,
                        std::vector<VeskVideoPresetInfo>* presets);
    Result GetBoundary(Engine&, VeskVideoBoundaryState*);

    Result GetEptz(Engine&, VeskVideoEptzParams*);
    Result GetPtzf(Engine&, VeskVideoPtzfParams*);
    Result Track(Engine&);
    Result GetPtStatus(Engine&, uint8_t* status);
    Result GetAfStatus(Engine&, uint8_t* status);

    Result SetVirtualSource(Port&, std::string_view path);
    Result SetAppCapture(Engine&, const VeskVideoAppInParam&);

    /// Paths of virtual sources, by port.
    const std::map<uint32_t, std::string>& VirtualSources() const { return virtualSources_; }

private:
    void NotifyPicture(const std::string& procName, const Port&) override;
    VeskVideoViPortInfo Describe(const Port&, const Engine*) const override;

    DeviceLimits limits_;
    std::map<uint32_t, std::string> virtualSources_;
};

} // namespace vesk::service
