// The displays, the output engines that drive them, and what they show.
#pragma once

#include "service/codecs.h"
#include "service/inputs.h"

#include <set>

namespace vesk::service {

struct Display : DescribedPort<PortDescription> {
    std::string defaultImage{};
    uint32_t imageParam2 = 0; ///< Given with it.
};

struct OutputEngine : PortEngine<OutputEngine, Display> {
    VeskVideoVoPortParam param{};
    VeskVideoScreenOffset offset{};
    VeskVideoVoMultiPicParam source{};
    uint32_t queHandle = 0;
    std::set<std::pair<bool, uint32_t>>
        gone; ///< Sources that are gone: whether it was a decoder, its number.

    bool IsGone(const VeskVideoSubPicParam& picture) const
    {
        return gone.count({picture.decFlag != 0, picture.inputId}) != 0;
    }
};

class Outputs : public Ports<OutputEngine, VeskVideoVoPortInfo, VeskVideoVoPortPlugState,
                             VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY> {
public:
    Outputs(Notifications& notifications, const DeviceDescription& device, Inputs& inputs, Codecs& codecs);

    /// Notes which sources of pictures are gone: another one that gets the number is none of them.
    void NoteGone();

    Result SetSource(Engine&, const VeskVideoVoMultiPicParam&);
    Result SetDisplayMode(const VeskVideoDisplayInfo&);
    Result SetDefaultImage(Display&, Argument<"imageParam2">, std::string_view path);
    Result SetSr(Argument<"enable">);
    Result AddFilterWindows(Argument<"filterParam">, std::span<const VeskVideoFilterWindow>);
    Result DeleteFilterWindows(Argument<"filterParam">, std::span<const VeskVideoFilterWindow>);
    Result DestroyWindow(Engine&, Argument<"winHandle">);

    struct FilterWindow {
        uint64_t filterParam;
        VeskVideoFilterWindow window;
    };
    const std::vector<FilterWindow>& FilterWindows() const { return filterWindows_; }
    const VeskVideoDisplayInfo& DisplayInfo() const { return displayInfo_; }
    bool IsSrEnabled() const { return isSrEnabled_; }

private:
    bool IsThere(const VeskVideoSubPicParam& picture) const;
    void NotifyPicture(const std::string& procName, const Display&) override;
    VeskVideoVoPortInfo Describe(const Display&, const Engine*) const override;

    Inputs* inputs_;
    Codecs* codecs_;
    VeskVideoDisplayInfo displayInfo_{};
    bool isSrEnabled_ = false;
    std::vector<FilterWindow> filterWindows_;
};

} // namespace vesk::service
