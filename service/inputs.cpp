// The input ports with their cameras, and the input engines that read them.
#include "service/inputs.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <utility>

namespace vesk::service {

namespace {

constexpr uint32_t kNetCameraStream = 1; // the stream on which the network camera comes in

} // namespace

void Inputs::Announce(const std::string& procName)
{
    for (uint32_t number = 0; number < ports_.size(); ++number) {
        const Port& port = ports_[number];
        VeskVideoViPortPlugState plug{};
        plug.port = number;
        plug.val = port.isPlugged ? 1 : 0;
        notifications_.push_back(Notification::Of(procName, VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, plug));
        if (!port.isPlugged)
            continue;
        VeskVideoViPortPixelInfo pixels{};
        pixels.port = number;
        pixels.portType = port.type;
        pixels.stmNo = port.type == VESK_VIDEO_PORT_TYPE_NET_CAMERA ? kNetCameraStream : 0;
        pixels.Width = port.width;
        pixels.height = port.height;
        pixels.fr = port.fr;
        notifications_.push_back(Notification::Of(procName, VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, pixels));
    }
}

Result Inputs::GetCount(const Request&, uint32_t* count)
{
    *count = static_cast<uint32_t>(ports_.size());
    return kOk;
}

Result Inputs::GetPorts(const Request& request, std::vector<VeskVideoViPortInfo>* ports)
{
    if (request.head.ulParam1 == 0 || request.head.ulParam1 > ports_.size())
        return VESK_SERVICE_ERR_VALUE;
    for (uint32_t port = 0; port < request.head.ulParam1; ++port)
        ports->push_back(Describe(port));
    return kOk;
}

VeskVideoViPortInfo Inputs::Describe(uint32_t number)
{
    const Port& port = ports_[number];
    VeskServiceViPort described{};
    described.port = number;
    described.portType = port.type;
    described.plugged = port.isPlugged ? 1 : 0;
    described.enabled = port.isEnabled ? 1 : 0;
    described.width = port.width;
    described.height = port.height;
    described.fr = port.fr;
    std::strncpy(described.name, port.name, sizeof described.name - 1);
    for (const auto& [inEngNo, engine] : engines.All()) {
        if (engine.port != number)
            continue;
        described.inEngNo = inEngNo;
        described.started = engine.isStarted ? 1 : 0;
        described.streams = static_cast<uint32_t>(engine.streams.size());
        described.frozen = engine.frozen;
        described.frozenLength = static_cast<uint32_t>(engine.frozenData.size());
        described.faceQueue = engine.faceQueue;
        described.eptzMoveSpeed = engine.eptzMoveSpeed;
        described.appTaskHandle[0] = static_cast<uint32_t>(engine.appInParam.taskHandle);
        described.appTaskHandle[1] = static_cast<uint32_t>(engine.appInParam.taskHandle >> 32U);
        described.vioCallback = engine.vioCallback.serviceData[0];
    }
    return std::bit_cast<VeskVideoViPortInfo>(described);
}

Result Inputs::Open(const Request& request, uint32_t* inEngNo)
{
    const Port* port = FindPort(request.head.ulParam1);
    if (port == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    if (!port->isEnabled)
        return VESK_SERVICE_ERR_DISABLED;
    return OpenPort(engines, request, inEngNo);
}

Result Inputs::Start(const Request&, Engine& engine)
{
    if (!PortOf(engine).isEnabled)
        return VESK_SERVICE_ERR_DISABLED;
    if (!PortOf(engine).isPlugged)
        return VESK_SERVICE_ERR_UNPLUGGED;
    return std::exchange(engine.isStarted, true) ? Result{VESK_SERVICE_ERR_STATE} : kOk;
}

Result Inputs::Connect(const Request& request, Engine& engine)
{
    return engine.streams.insert(request.head.ulParam2).second ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

Result Inputs::Disconnect(const Request& request, Engine& engine)
{
    return engine.streams.erase(request.head.ulParam2) != 0 ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

Result Inputs::ModifyInput(const Request& request, Engine& engine)
{
    if (engine.streams.empty())
        return VESK_SERVICE_ERR_STATE;
    engine.streams = {request.head.ulParam2};
    return kOk;
}

Result Inputs::GetQueue(const Request& request, Engine& engine, uint32_t* queHandle)
{
    if (!engine.isStarted)
        return VESK_SERVICE_ERR_NOT_YET;
    *queHandle = engine.queue.Id("vi", request.head.ulParam1);
    return *queHandle != 0 ? kOk : Result{VESK_SERVICE_ERR_ROOM};
}

Result Inputs::Freeze(const Request& request, Engine& engine)
{
    engine.frozen = request.head.ulParam2;
    engine.frozenData.assign(request.payload.begin(), request.payload.end());
    return kOk;
}

Result Inputs::Enable(const Request& request)
{
    Port* port = FindPort(request.head.ulParam1);
    if (port == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    port->isEnabled = true;
    return kOk;
}

Result Inputs::Disable(const Request& request)
{
    Port* port = FindPort(request.head.ulParam1);
    if (port == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    port->isEnabled = false;
    StopPort(engines, request);
    return kOk;
}

Result Inputs::Move(Port& port, int32_t command)
{
    const auto step = [](int32_t& position, int32_t by) {
        position = std::clamp(position + by, -VESK_SERVICE_CAM_STEPS, +VESK_SERVICE_CAM_STEPS);
    };
    if (command < 0 || command > VESK_VIDEO_CAM_CTRL_MAX)
        return VESK_SERVICE_ERR_VALUE;
    if (command == VESK_SERVICE_CAM_LEFT || command == VESK_SERVICE_CAM_RIGHT)
        step(port.camera.pan, command == VESK_SERVICE_CAM_RIGHT ? 1 : -1);
    if (command == VESK_SERVICE_CAM_UP || command == VESK_SERVICE_CAM_DOWN)
        step(port.camera.tilt, command == VESK_SERVICE_CAM_UP ? 1 : -1);
    ++port.camera.commands;
    return kOk;
}

Result Inputs::ControlCamera(const Request& request, Engine& engine, Bytes* answer)
{
    Port& port = ports_[engine.port];
    const auto command = static_cast<int32_t>(request.head.ulParam2);
    if (!port.HasCamera())
        return VESK_SERVICE_ERR_STATE;
    if (command == VESK_VIDEO_CAM_CTRL_QUERY) {
        const auto bytes = std::as_bytes(std::span(&port.camera, 1));
        answer->assign(bytes.begin(), bytes.end());
        return kOk;
    }
    const Result result = Move(port, command);
    const VeskVideoCamCtrlResult ended{engine.port, command, result};
    notifications_.push_back(
        Notification::Of(request.sender.procName, VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, ended));
    return result;
}

Result Inputs::SetPreset(const Request&, Engine& engine, const VeskVideoPresetInfo& preset)
{
    Port& port = ports_[engine.port];
    if (!port.HasCamera())
        return VESK_SERVICE_ERR_STATE;
    if (preset.isValid == 0)
        return port.presets.erase(preset.presetId) != 0 ? kOk : Result{VESK_SERVICE_ERR_NUMBER};
    if (port.presets.size() >= VESK_SERVICE_MAX_PRESETS && port.presets.count(preset.presetId) == 0)
        return VESK_SERVICE_ERR_ROOM;
    port.presets[preset.presetId] = preset;
    return kOk;
}

Result Inputs::GetPresetCount(const Request&, uint32_t* count)
{
    for (const Port& port : ports_)
        *count += static_cast<uint32_t>(port.presets.size());
    return kOk;
}

// The selector is an engine's number, or 0 for all cameras; entries behind the last preset are not valid.
Result Inputs::QueryPresets(const Request& request, std::vector<VeskVideoPresetInfo>* presets)
{
    const uint32_t count = request.head.ulParam2;
    const Engine* engine = engines.Find(request.head.ulParam1);
    if (request.head.ulParam1 != 0 && engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    if (count == 0 || count > VESK_SERVICE_MAX_PRESET_QUERY)
        return VESK_SERVICE_ERR_VALUE;
    for (const Port& port : ports_) {
        if (engine != nullptr && &PortOf(*engine) != &port)
            continue;
        for (const auto& [presetId, preset] : port.presets)
            presets->push_back(preset);
    }
    presets->resize(count);
    return kOk;
}

Result Inputs::GetBoundary(const Request&, Engine& engine, VeskServiceBoundary* boundary)
{
    const VeskServiceCameraState& camera = PortOf(engine).camera;
    boundary->pan = camera.pan / VESK_SERVICE_CAM_STEPS;
    boundary->tilt = camera.tilt / VESK_SERVICE_CAM_STEPS;
    return kOk;
}

Result Inputs::Track(const Request&, Engine& engine)
{
    if (!engine.isStarted || !PortOf(engine).HasCamera())
        return VESK_SERVICE_ERR_STATE;
    ports_[engine.port].isTracking = true;
    return kOk;
}

// 1 while the camera tracks.
Result Inputs::GetPtStatus(const Request&, Engine& engine, uint8_t* status)
{
    *status = PortOf(engine).isTracking ? 1 : 0;
    return kOk;
}

// 1 while there is a picture to focus on.
Result Inputs::GetAfStatus(const Request&, Engine& engine, uint8_t* status)
{
    *status = engine.isStarted ? 1 : 0;
    return kOk;
}

Result Inputs::SetVirtualSource(const Request& request)
{
    if (FindPort(request.head.ulParam1) == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    virtualSources_[static_cast<uint32_t>(request.head.ulParam1)] =
        reinterpret_cast<const char*>(request.payload.data());
    return kOk;
}

Result Inputs::SetAppCapture(const Request&, Engine& engine, const VeskVideoAppInParam& param)
{
    if (param.taskHandle == 0)
        return VESK_SERVICE_ERR_VALUE;
    engine.appInParam = param;
    return kOk;
}

} // namespace vesk::service
