// The input ports with their cameras, and the input engines that read them.
#pragma once

#include "service/ports.h"
#include "service/service_queue.h"
#include "service/timeline.h"

#include <map>
#include <set>

namespace vesk::service {

/// Bytes of a client whose meaning nobody describes: how many there are, and the first of them.
struct Excerpt {
    static constexpr size_t kMost = 256;

    size_t length = 0;
    Bytes first;

    Excerpt() = default;
    explicit Excerpt(BytesView bytes) : length(bytes.size())
    {
        const BytesView kept = bytes.first(std::min(length, kMost));
        first.assign(kept.begin(), kept.end());
    }
};

/// What a camera was told by commands of one number.
struct CameraCommand {
    uint64_t count = 0;
    Excerpt data{}; ///< Of the last one.
};

struct InputPort : DescribedPort<InputDescription> {
    VeskVideoEptzParams eptz{};
    VeskVideoPtzfParams ptzf{};
    // A file that takes the place of what is plugged in, which stays as it is below.
    std::string virtualSource{}; ///< Its path; empty for none.
    VeskControlMode virtualMode{};
    // The camera, where there is one.
    VeskServiceCameraState camera{};
    std::map<int32_t, CameraCommand> commands{}; ///< Those executed, by number.
    int32_t lastCommand = 0;
    bool isTracking = false;
    std::map<uint32_t, VeskVideoPresetInfo> presets{};

    bool HasCamera() const { return type != kPc; }
    bool CountsAsPlugged() const { return isPlugged || !virtualSource.empty(); }
    VeskControlMode& Mode() { return virtualSource.empty() ? mode : virtualMode; }
    const VeskControlMode& Mode() const { return virtualSource.empty() ? mode : virtualMode; }
};

struct InputEngine : PortEngine<InputEngine, InputPort> {
    VeskVideoViPortParam param{};
    std::set<uint64_t> streams;
    ServiceQueue queue;
    uint32_t faceQueue = 0;
    uint32_t frozen = 0;
    uint64_t frozenAtMs = 0; ///< Since when it is frozen, in the model's time.
    Excerpt frozenData;
    int32_t eptzMoveSpeed = 0;
    VeskVideoAppInParam appInParam{};
    VeskControlMode appMode{}; ///< Of the picture that it stands for.

    /// True if its picture comes from an application, whatever its port has.
    bool IsAppCapture() const { return appInParam.taskHandle != 0; }
    bool CountsAsPlugged() const { return IsAppCapture() || port->CountsAsPlugged(); }
    /// What it delivers, or would if it ran; not 0 while it runs.
    const VeskControlMode& Picture() const { return IsAppCapture() ? appMode : port->Mode(); }
};

class Inputs : public Ports<InputEngine, VeskVideoViPortInfo, VeskVideoViPortPlugState,
                            VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY> {
public:
    Inputs(Notifications& notifications, const DeviceDescription& device);

    Result Connect(Engine&, Argument<"stmNo">);
    Result Disconnect(Engine&, Argument<"stmNo">);
    Result ModifyInput(Engine&, Argument<"stmNo">);
    /// The first engine that is connected to a stream; null if none is.
    const Engine* ConnectedTo(uint32_t stmNo);
    Result GetQueue(Engine&, uint32_t* queHandle);
    Result Freeze(Engine&, Timeline&, Argument<"flag">, std::span<const std::byte> data);

    Result ControlCamera(Engine&, const Sender&, Argument<"cmdType">, std::span<const std::byte>,
                         Bytes* answer);
    Result SetPreset(Engine&, const VeskVideoPresetInfo&);
    Result GetPresetCount(uint32_t* count);
    Result QueryPresets(Argument<"presetSelector">, Argument<"presetCount">,
                        std::vector<VeskVideoPresetInfo>* presets);
    Result GetBoundary(Engine&, VeskVideoBoundaryState*);

    Result SetEptz(Port&, const VeskVideoEptzParams&);
    Result SetPtzf(Port&, const VeskVideoPtzfParams&);
    Result GetEptz(Engine&, VeskVideoEptzParams*);
    Result GetPtzf(Engine&, VeskVideoPtzfParams*);
    Result Track(Engine&);
    Result GetPtStatus(Engine&, uint8_t* status);
    Result GetAfStatus(Engine&, uint8_t* status);

    /// An empty path takes the source away.
    Result SetVirtualSource(Port&, std::string_view path);
    Result SetAppCapture(Engine&, const VeskVideoAppInParam&);

private:
    void NotifyPicture(const std::string& procName, const Port&) override;
    VeskVideoViPortInfo Describe(const Port&, const Engine*) const override;

    DeviceLimits limits_;
};

} // namespace vesk::service
