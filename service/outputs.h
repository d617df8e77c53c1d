// The displays, the output engines that drive them, and what they show.
#pragma once

#include "service/codecs.h"
#include "service/inputs.h"

namespace vesk::service {

struct Display : Port {
    std::string defaultImage{};
};

struct OutputEngine : PortEngine<Display> {
    VeskVideoVoPortParam param{};
    VeskVideoScreenOffset offset{};
    VeskVideoVoMultiPicParam source{};
    uint32_t queHandle = 0;
    bool hasShownFrame = false;
};

class Outputs : public Ports<OutputEngine, VESK_SERVICE_OUTPUTS, VeskVideoVoPortInfo,
                             VeskVideoVoPortPlugState, VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY> {
public:
    Outputs(Notifications& notifications, Inputs& inputs, Codecs& codecs);

    Result Start(Engine&);
    Result Close(Engine&);

    Result SetSource(Engine&, const VeskVideoVoMultiPicParam&);
    Result SetDisplayMode(const VeskVideoDisplayInfo&);
    Result SetDefaultImage(Display&, std::string_view path);
    Result SetSr(Argument<"enable">);
    Result AddFilterWindows(Argument<"filterParam">, std::span<const VeskVideoFilterWindow>);
    Result DeleteFilterWindows(Argument<"filterParam">, std::span<const VeskVideoFilterWindow>);
    Result DestroyWindow(Engine&, Argument<"winHandle">);

private:
    friend class State;

    struct FilterWindow {
        uint64_t filterParam;
        VeskVideoFilterWindow window;
    };

    void AnnouncePicture(const std::string& procName, const Display&) override;
    VeskVideoVoPortInfo Describe(const Display&, const Engine*) const override;
    void NotifyLink(uint32_t notifyId, const Engine&);

    Inputs& inputs_;
    Codecs& codecs_;
    VeskVideoDisplayInfo displayInfo_{};
    bool isSrEnabled_ = false;
    std::vector<FilterWindow> filterWindows_;
};

} // namespace vesk::service
