// The displays, and the output engines that drive them.
#include "service/outputs.h"

#include "service/process.h"
#include "vesk_video/messages.h"
#include "vesk_video/notification.h"

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

void Outputs::Release(pid_t process)
{
    std::erase_if(engines_, [process](const auto& entry) { return entry.second.owner.process == process; });
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
    std::strncpy(described.name, display.name, sizeof described.name - 1);
    if (const auto found = EngineOf(port); found != engines_.end()) {
        const auto& [outEngNo, engine] = *found;
        described.outEngNo = outEngNo;
        described.started = engine.isStarted ? 1 : 0;
        described.xOffset = engine.offset.xOffset;
        described.yOffset = engine.offset.yOffset;
        described.queHandle = engine.queHandle;
    }
    return std::bit_cast<VeskVideoVoPortInfo>(described);
}

Result Outputs::Open(const Request& request, uint32_t* outEngNo)
{
    const Display* display = FindDisplay(request);
    if (display == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    if (!display->isEnabled)
        return VESK_SERVICE_ERR_DISABLED;
    if (const auto open = EngineOf(request.Param1()); open != engines_.end()) {
        if (IsAlive(open->second.owner.process))
            return VESK_SERVICE_ERR_BUSY;
        engines_.erase(open);
    }
    *outEngNo = ++lastEngine_;
    engines_[*outEngNo] = {.port = request.Param1(), .owner = request.sender};
    return kOk;
}

Result Outputs::SetParam(const Request& request, const VeskVideoVoPortParam& param)
{
    Engine* engine = FindEngine(request);
    if (engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    engine->param = param;
    return kOk;
}

Result Outputs::GetParam(const Request& request, VeskVideoVoPortParam* param)
{
    const Engine* engine = FindEngine(request);
    if (engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    *param = engine->param;
    return kOk;
}

Result Outputs::SetOffset(const Request& request, const VeskVideoScreenOffset& offset)
{
    Engine* engine = FindEngine(request);
    if (engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    engine->offset = offset;
    return kOk;
}

Result Outputs::SetQueue(const Request& request)
{
    Engine* engine = FindEngine(request);
    if (engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    engine->queHandle = request.head.ulParam2;
    return kOk;
}

Result Outputs::Start(const Request& request)
{
    Engine* engine = FindEngine(request);
    if (engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    if (!displays_[engine->port].isEnabled)
        return VESK_SERVICE_ERR_DISABLED;
    if (engine->isStarted)
        return VESK_SERVICE_ERR_STATE;
    engine->isStarted = true;
    if (!std::exchange(engine->hasShownFrame, true))
        NotifyLink(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, request.Param1(), *engine);
    return kOk;
}

Result Outputs::Stop(const Request& request)
{
    Engine* engine = FindEngine(request);
    if (engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    return std::exchange(engine->isStarted, false) ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

Result Outputs::Close(const Request& request)
{
    const Engine* engine = FindEngine(request);
    if (engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    NotifyLink(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, request.Param1(), *engine);
    engines_.erase(request.Param1());
    return kOk;
}

Result Outputs::Enable(const Request& request)
{
    Display* display = FindDisplay(request);
    if (display == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    display->isEnabled = true;
    return kOk;
}

Result Outputs::Disable(const Request& request)
{
    Display* display = FindDisplay(request);
    if (display == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    display->isEnabled = false;
    if (const auto open = EngineOf(request.Param1()); open != engines_.end())
        open->second.isStarted = false;
    return kOk;
}

Outputs::Display* Outputs::FindDisplay(const Request& request)
{
    return request.head.ulParam1 < displays_.size() ? &displays_[request.Param1()] : nullptr;
}

Outputs::Engine* Outputs::FindEngine(const Request& request)
{
    const auto found = engines_.find(request.Param1());
    return found != engines_.end() && request.head.ulParam1 == found->first ? &found->second : nullptr;
}

std::map<uint32_t, Outputs::Engine>::iterator Outputs::EngineOf(uint32_t port)
{
    return std::find_if(engines_.begin(), engines_.end(),
                        [port](const auto& entry) { return entry.second.port == port; });
}

void Outputs::NotifyLink(uint32_t notifyId, uint32_t outEngNo, const Engine& engine)
{
    VeskVideoDisplayLink link{};
    link.viPort = -1;
    std::strncpy(link.portName, displays_[engine.port].name, sizeof link.portName - 1);
    link.surfaceId = outEngNo;
    notifications_.push_back(Notification::Of(engine.owner.procName, notifyId, link));
}

} // namespace vesk::service
