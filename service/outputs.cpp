// The displays, and the output engines that drive them.
#include "service/outputs.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace vesk::service {

void Outputs::Announce(const std::string& procName)
{
    for (uint32_t port = 0; port < displays_.size(); ++port) {
        const Display& display = displays_[port];
        VeskVideoVoPortPlugState plug{};
        plug.port = port;
        plug.val = display.isPlugged ? 1 : 0;
        notifications_.push_back(Notification::Of(procName, VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY, plug));
        VeskVideoVoPortDdcInfo ddc{};
        ddc.port = port;
        ddc.Width = display.width;
        ddc.height = display.height;
        ddc.fr = display.fr;
        notifications_.push_back(Notification::Of(procName, VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, ddc));
    }
}

Result Outputs::GetCount(const Request&, uint32_t* count)
{
    *count = static_cast<uint32_t>(displays_.size());
    return kOk;
}

Result Outputs::GetPorts(const Request& request, std::vector<VeskVideoVoPortInfo>* ports)
{
    if (request.head.ulParam1 == 0 || request.head.ulParam1 > displays_.size())
        return VESK_SERVICE_ERR_VALUE;
    for (uint32_t port = 0; port < request.head.ulParam1; ++port)
        ports->push_back(Describe(port));
    return kOk;
}

VeskVideoVoPortInfo Outputs::Describe(uint32_t port)
{
    const Display& display = displays_[port];
    VeskServiceVoPort described{};
    described.port = port;
    described.plugged = display.isPlugged ? 1 : 0;
    described.enabled = display.isEnabled ? 1 : 0;
    described.width = display.width;
    described.height = display.height;
    described.fr = display.fr;
    described.displayMode = displayInfo_.displayMode;
    described.displayFps = displayInfo_.fps;
    described.srEnabled = isSrEnabled_ ? 1 : 0;
    described.filterWindows = static_cast<uint32_t>(filterWindows_.size());
    std::strncpy(described.name, display.name, sizeof described.name - 1);
    display.defaultImage.copy(described.defaultImage, sizeof described.defaultImage - 1);
    for (const auto& [outEngNo, engine] : engines.All()) {
        if (engine.port != port)
            continue;
        described.outEngNo = outEngNo;
        described.started = engine.isStarted ? 1 : 0;
        described.xOffset = engine.offset.xOffset;
        described.yOffset = engine.offset.yOffset;
        described.queHandle = engine.queHandle;
        described.pictures = engine.source.picNum;
    }
    return std::bit_cast<VeskVideoVoPortInfo>(described);
}

Result Outputs::Open(const Request& request, uint32_t* outEngNo)
{
    const Display* display = FindDisplay(request.head.ulParam1);
    if (display == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    if (!display->isEnabled)
        return VESK_SERVICE_ERR_DISABLED;
    return OpenPort(engines, request, outEngNo);
}

Result Outputs::Start(const Request& request, Engine& engine)
{
    if (!displays_[engine.port].isEnabled)
        return VESK_SERVICE_ERR_DISABLED;
    if (std::exchange(engine.isStarted, true))
        return VESK_SERVICE_ERR_STATE;
    if (!std::exchange(engine.hasShownFrame, true))
        NotifyLink(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, request.head.ulParam1, engine);
    return kOk;
}

Result Outputs::Close(const Request& request, Engine& engine)
{
    NotifyLink(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, request.head.ulParam1, engine);
    engines.Erase(request.head.ulParam1);
    return kOk;
}

Result Outputs::Enable(const Request& request)
{
    Display* display = FindDisplay(request.head.ulParam1);
    if (display == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    display->isEnabled = true;
    return kOk;
}

Result Outputs::Disable(const Request& request)
{
    Display* display = FindDisplay(request.head.ulParam1);
    if (display == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    display->isEnabled = false;
    StopPort(engines, request);
    return kOk;
}

// Every picture must come from an input engine or a decoder that is there.
Result Outputs::SetSource(const Request&, Engine& engine, const VeskVideoVoMultiPicParam& source)
{
    if (source.picNum > VESK_VIDEO_MAX_SUBPIC_NUM)
        return VESK_SERVICE_ERR_VALUE;
    for (const VeskVideoSubPicParam& picture : std::span(source.subPic, source.picNum)) {
        const bool isThere = picture.decFlag != 0 ? codecs_.decoders.Find(picture.inputId) != nullptr
                                                  : inputs_.engines.Find(picture.inputId) != nullptr;
        if (!isThere)
            return VESK_SERVICE_ERR_NUMBER;
    }
    engine.source = source;
    return kOk;
}

Result Outputs::SetDisplayMode(const Request&, const VeskVideoDisplayInfo& info)
{
    if (info.displayMode > VESK_VIDEO_DISPLAY_MODE_MAX)
        return VESK_SERVICE_ERR_VALUE;
    displayInfo_ = info;
    return kOk;
}

// The first parameter is the display's number.
Result Outputs::SetDefaultImage(const Request& request)
{
    Display* display = FindDisplay(request.head.ulParam1);
    if (display == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    display->defaultImage = reinterpret_cast<const char*>(request.payload.data());
    return kOk;
}

Result Outputs::SetSr(const Request& request)
{
    isSrEnabled_ = request.head.ulParam1 != 0;
    return kOk;
}

Result Outputs::AddFilterWindows(const Request& request, std::span<const VeskVideoFilterWindow> windows)
{
    constexpr size_t kMost = 1024;
    if (filterWindows_.size() + windows.size() > kMost)
        return VESK_SERVICE_ERR_ROOM;
    for (const VeskVideoFilterWindow& window : windows)
        filterWindows_.push_back({request.head.ulParam1, window});
    return kOk;
}

// All of them must be there; otherwise none is taken away.
Result Outputs::DeleteFilterWindows(const Request& request, std::span<const VeskVideoFilterWindow> windows)
{
    std::vector<FilterWindow> left = filterWindows_;
    for (const VeskVideoFilterWindow& window : windows) {
        const auto same = std::find_if(left.begin(), left.end(), [&](const FilterWindow& other) {
            return other.filterParam == request.head.ulParam1 &&
                   std::memcmp(&window, &other.window, sizeof window) == 0;
        });
        if (same == left.end())
            return VESK_SERVICE_ERR_NUMBER;
        left.erase(same);
    }
    filterWindows_ = std::move(left);
    return kOk;
}

// Takes the pictures of that window away; the engine's number is the second parameter here.
Result Outputs::DestroyWindow(const Request& request)
{
    Engine* engine = engines.Find(request.head.ulParam2);
    if (engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    auto* const begin = engine->source.subPic;
    auto* const end = begin + engine->source.picNum;
    const auto* const left = std::remove_if(begin, end, [&request](const VeskVideoSubPicParam& picture) {
        return picture.winHandle == request.head.ulParam1;
    });
    if (left == end)
        return VESK_SERVICE_ERR_NUMBER;
    engine->source.picNum = static_cast<uint32_t>(left - begin);
    return kOk;
}

// The link is that of the first picture, where there is one.
void Outputs::NotifyLink(uint32_t notifyId, uint64_t outEngNo, const Engine& engine)
{
    VeskVideoDisplayLink link{};
    link.viPort = -1;
    link.surfaceId = static_cast<uint32_t>(outEngNo);
    const char* name = displays_[engine.port].name;
    if (engine.source.picNum != 0) {
        const VeskVideoSubPicParam& picture = engine.source.subPic[0];
        link.isDec = picture.decFlag != 0 ? 1 : 0;
        if (const Inputs::Engine* input = inputs_.engines.Find(picture.inputId);
            link.isDec == 0 && input != nullptr) {
            link.viPort = static_cast<int32_t>(input->port);
            name = inputs_.PortOf(*input).name;
        }
    }
    std::strncpy(link.portName, name, sizeof link.portName - 1);
    notifications_.push_back(Notification::Of(engine.owner.procName, notifyId, link));
}

} // namespace vesk::service
