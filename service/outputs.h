// The displays, the output engines that drive them, and what they show.
#pragma once

#include "service/codecs.h"
#include "service/inputs.h"

#include <array>

namespace vesk::service {

class Outputs {
public:
    struct Engine : Owned {
        uint32_t port = 0;
        VeskVideoVoPortParam param{};
        VeskVideoScreenOffset offset{};
        VeskVideoVoMultiPicParam source{};
        uint32_t queHandle = 0;
        bool isStarted = false;
        bool hasShownFrame = false;
    };

    Outputs(Notifications& notifications, Inputs& inputs, Codecs& codecs)
        : notifications_(notifications), inputs_(inputs), codecs_(codecs)
    {
    }

    /// Announces every display to a client.
    void Announce(const std::string& procName);
    void Release(pid_t process) { engines.Release(process); }

    Numbered<Engine> engines{VESK_SERVICE_OUTPUTS};

    Result GetCount(const Request&, uint32_t* count);
    Result GetPorts(const Request&, std::vector<VeskVideoVoPortInfo>* ports);
    Result Open(const Request&, uint32_t* outEngNo);
    Result Start(const Request&, Engine&);
    Result Close(const Request&, Engine&);
    Result Enable(const Request&);
    Result Disable(const Request&);

    Result SetSource(const Request&, Engine&, const VeskVideoVoMultiPicParam&);
    Result SetDisplayMode(const Request&, const VeskVideoDisplayInfo&);
    Result SetDefaultImage(const Request&);
    Result SetSr(const Request&);
    Result AddFilterWindows(const Request&, std::span<const VeskVideoFilterWindow>);
    Result DeleteFilterWindows(const Request&, std::span<const VeskVideoFilterWindow>);
    Result DestroyWindow(const Request&);

private:
    struct Display {
        const char* name;
        uint32_t width;
        uint32_t height;
        uint32_t fr;
        bool isPlugged;
        bool isEnabled = true;
        std::string defaultImage{};
    };

    struct FilterWindow {
        uint64_t filterParam;
        VeskVideoFilterWindow window;
    };

    Display* FindDisplay(uint64_t number) { return number < displays_.size() ? &displays_[number] : nullptr; }
    VeskVideoVoPortInfo Describe(uint32_t port);
    void NotifyLink(uint32_t notifyId, uint64_t outEngNo, const Engine& engine);

    Notifications& notifications_;
    Inputs& inputs_;
    Codecs& codecs_;
    std::array<Display, VESK_SERVICE_OUTPUTS> displays_{
        {{"HDMI-OUT-1", 3840, 2160, 60, true}, {"HDMI-OUT-2", 1920, 1080, 60, true}}};
    VeskVideoDisplayInfo displayInfo_{};
    bool isSrEnabled_ = false;
    std::vector<FilterWindow> filterWindows_;
};

} // namespace vesk::service
