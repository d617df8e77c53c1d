// The input ports with their cameras, and the input engines that read them.
#include "service/inputs.h"

#include "base/error.h"
#include "service/log.h"
#include "service/picture_file.h"
#include "service/record_check.h"

#include <algorithm>
#include <bit>

namespace vesk::service {

namespace {

constexpr uint32_t kNetCameraStream = 1;             // the stream that carries the network camera's picture
constexpr uint32_t kMinZoom = 100, kMaxZoom = 10000; // per cent

void Move(VeskServiceCameraState& camera, int32_t command)
{
    const auto step = [](int32_t& position, int32_t by) {
        position = std::clamp(position + by, -VESK_SERVICE_CAM_STEPS, +VESK_SERVICE_CAM_STEPS);
    };
    if (command == VESK_SERVICE_CAM_LEFT || command == VESK_SERVICE_CAM_RIGHT)
        step(camera.pan, command == VESK_SERVICE_CAM_RIGHT ? 1 : -1);
    if (command == VESK_SERVICE_CAM_UP || command == VESK_SERVICE_CAM_DOWN)
        step(camera.tilt, command == VESK_SERVICE_CAM_UP ? 1 : -1);
    ++camera.commands;
}

Result Execute(InputPort& port, int32_t command, BytesView data)
{
    if (!port.CountsAsPlugged())
        return VESK_SERVICE_ERR_UNPLUGGED;
    if (command < 0 || command > VESK_VIDEO_CAM_CTRL_MAX)
        return VESK_SERVICE_ERR_VALUE;
    Excerpt kept(data);
    CameraCommand& executed = port.commands[command];
    ++executed.count;
    executed.data = std::move(kept);
    port.lastCommand = command;
    Move(port.camera, command);
    return kOk;
}

} // namespace

Inputs::Inputs(Notifications& notifications, const DeviceDescription& device)
    : Ports(notifications, device.inputs, device.defaults.input,
            RangeOf(Numbering::kInputEngines, device.numbers)),
      limits_(device.limits)
{
}

void Inputs::NotifyPicture(const std::string& procName, const Port& port)
{
    VeskVideoViPortPixelInfo pixels{};
    pixels.port = port.number;
    pixels.portType = port.type;
    pixels.stmNo = port.type == kNetCamera ? kNetCameraStream : 0;
    pixels.Width = port.Mode().width;
    pixels.height = port.Mode().height;
    pixels.fr = port.Mode().fr;
    notifications_->Add(procName, VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, BytesOf(pixels));
}

VeskVideoViPortInfo Inputs::Describe(const Port& port, const Engine* engine) const
{
    auto described = Begin<VeskServiceViPort>(port);
    described.portType = port.type;
    if (engine != nullptr) {
        described.inEngNo = engine->number;
        described.started = engine->isStarted ? 1 : 0;
        described.streams = static_cast<uint32_t>(engine->streams.size());
        described.frozen = engine->frozen;
        described.frozenLength = static_cast<uint32_t>(engine->frozenData.length);
        described.faceQueue = engine->faceQueue;
        described.eptzMoveSpeed = engine->eptzMoveSpeed;
        described.appTaskHandle[0] = static_cast<uint32_t>(engine->appInParam.taskHandle);
        described.appTaskHandle[1] = static_cast<uint32_t>(engine->appInParam.taskHandle >> 32U);
        described.vioCallback = engine->vioCallback.serviceData[0];
    }
    return std::bit_cast<VeskVideoViPortInfo>(described);
}

Result Inputs::Connect(Engine& engine, Argument<"stmNo"> stmNo)
{
    if (engine.streams.size() >= limits_.streams && engine.streams.count(stmNo) == 0)
        return VESK_SERVICE_ERR_ROOM;
    return engine.streams.insert(stmNo).second ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

Result Inputs::Disconnect(Engine& engine, Argument<"stmNo"> stmNo)
{
    return engine.streams.erase(stmNo) != 0 ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

Result Inputs::ModifyInput(Engine& engine, Argument<"stmNo"> stmNo)
{
    if (engine.streams.empty())
        return VESK_SERVICE_ERR_STATE;
    engine.streams = {stmNo};
    return kOk;
}

const InputEngine* Inputs::ConnectedTo(uint32_t stmNo)
{
    for (const auto& [number, engine] : engines.All()) {
        if (engine.streams.count(stmNo) != 0)
            return &engine;
    }
    return nullptr;
}

Result Inputs::GetQueue(Engine& engine, uint32_t* queHandle)
{
    if (!engine.isStarted)
        return VESK_SERVICE_ERR_NOT_YET;
    *queHandle = engine.queue.Id("vi", engine.number);
    return *queHandle != 0 ? kOk : Result{VESK_SERVICE_ERR_ROOM};
}

// A picture that is frozen already stays what it is.
Result Inputs::Freeze(Engine& engine, Timeline& timeline, Argument<"flag"> flag,
                      std::span<const std::byte> data)
{
    engine.frozenData = Excerpt(data);
    if (engine.frozen == 0)
        engine.frozenAtMs = timeline.Now();
    engine.frozen = static_cast<uint32_t>(flag);
    return kOk;
}

// How a command ended is notified too.
Result Inputs::ControlCamera(Engine& engine, const Sender& sender, Argument<"cmdType"> cmdType,
                             std::span<const std::byte> data, Bytes* answer)
{
    Port& port = *engine.port;
    const auto command = static_cast<int32_t>(cmdType);
    if (!port.HasCamera())
        return VESK_SERVICE_ERR_STATE;
    if (command == VESK_VIDEO_CAM_CTRL_QUERY) {
        const auto bytes = BytesOf(port.camera);
        answer->assign(bytes.begin(), bytes.end());
        return kOk;
    }
    const Result result = Execute(port, command, data);
    const VeskVideoCamCtrlResult ended{port.number, command, result};
    notifications_->Add(sender.procName, VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, BytesOf(ended));
    return result;
}

Result Inputs::SetPreset(Engine& engine, const VeskVideoPresetInfo& preset)
{
    Port& port = *engine.port;
    if (!port.HasCamera())
        return VESK_SERVICE_ERR_STATE;
    if (preset.isValid == 0)
        return port.presets.erase(preset.presetId) != 0 ? kOk : Result{VESK_SERVICE_ERR_NUMBER};
    if (port.presets.size() >= limits_.presets && port.presets.count(preset.presetId) == 0)
        return VESK_SERVICE_ERR_ROOM;
    port.presets[preset.presetId] = preset;
    return kOk;
}

Result Inputs::GetPresetCount(uint32_t* count)
{
    for (const Port& port : All())
        *count += static_cast<uint32_t>(port.presets.size());
    return kOk;
}

// The selector is an engine's number, or 0 for all cameras; entries after the last preset are not valid.
Result Inputs::QueryPresets(Argument<"presetSelector"> selector, Argument<"presetCount"> count,
                            std::vector<VeskVideoPresetInfo>* presets)
{
    const Engine* engine = engines.Find(selector);
    if (selector != 0 && engine == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    if (count == 0 || count > limits_.presetQuery)
        return VESK_SERVICE_ERR_VALUE;
    for (const Port& port : All()) {
        if (engine != nullptr && engine->port != &port)
            continue;
        for (const auto& [presetId, preset] : port.presets)
            presets->push_back(preset);
    }
    presets->resize(count);
    return kOk;
}

Result Inputs::GetBoundary(Engine& engine, VeskVideoBoundaryState* boundary)
{
    const VeskServiceCameraState& camera = engine.port->camera;
    *boundary = std::bit_cast<VeskVideoBoundaryState>(
        VeskServiceBoundary{camera.pan / VESK_SERVICE_CAM_STEPS, camera.tilt / VESK_SERVICE_CAM_STEPS});
    return kOk;
}

Result Inputs::SetEptz(Port& port, const VeskVideoEptzParams& params)
{
    const auto crop = std::bit_cast<VeskServiceEptz>(params).crop;
    if (const Result result = CheckRect(crop, "crop", "port " + std::to_string(port.number)); result != kOk)
        return result;
    port.eptz = params;
    return kOk;
}

Result Inputs::SetPtzf(Port& port, const VeskVideoPtzfParams& params)
{
    const auto ptzf = std::bit_cast<VeskServicePtzf>(params);
    if (ptzf.zoom != 0 && (ptzf.zoom < kMinZoom || ptzf.zoom > kMaxZoom)) {
        LOG(kError, "port %u: a zoom of %u %% is refused; expected %u to %u", port.number, ptzf.zoom,
            kMinZoom, kMaxZoom);
        return VESK_SERVICE_ERR_VALUE;
    }
    port.ptzf = params;
    return kOk;
}

Result Inputs::GetEptz(Engine& engine, VeskVideoEptzParams* params)
{
    *params = engine.port->eptz;
    return kOk;
}

Result Inputs::GetPtzf(Engine& engine, VeskVideoPtzfParams* params)
{
    *params = engine.port->ptzf;
    return kOk;
}

Result Inputs::Track(Engine& engine)
{
    if (!engine.isStarted || !engine.port->HasCamera())
        return VESK_SERVICE_ERR_STATE;
    if (!engine.port->CountsAsPlugged())
        return VESK_SERVICE_ERR_UNPLUGGED;
    engine.port->isTracking = true;
    return kOk;
}

// 1 while the camera tracks, which it goes on with when it is plugged in again.
Result Inputs::GetPtStatus(Engine& engine, uint8_t* status)
{
    *status = engine.port->isTracking && engine.port->CountsAsPlugged() ? 1 : 0;
    return kOk;
}

// 1 while there is a picture to focus on.
Result Inputs::GetAfStatus(Engine& engine, uint8_t* status)
{
    *status = engine.IsRunning() ? 1 : 0;
    return kOk;
}

Result Inputs::SetVirtualSource(Port& port, std::string_view path)
try {
    std::string source(path);
    const VeskControlMode mode = source.empty() ? VeskControlMode{} : ModeOfFile(source, port.mode);
    Change(port, [&] {
        port.virtualSource.swap(source);
        port.virtualMode = mode;
    });
    return kOk;
} catch (const Error& error) {
    LOG(kError, "port %u: the virtual source is refused: %s", port.number, error.what());
    return VESK_SERVICE_ERR_VALUE;
}

Result Inputs::SetAppCapture(Engine& engine, const VeskVideoAppInParam& param)
{
    if (param.taskHandle == 0)
        return VESK_SERVICE_ERR_VALUE;
    const auto appIn = std::bit_cast<VeskServiceAppIn>(param);
    const bool isOfPort = (appIn.width | appIn.height | appIn.fr) == 0;
    const VeskControlMode mode =
        isOfPort ? engine.port->Mode() : VeskControlMode{appIn.width, appIn.height, appIn.fr};
    if (!IsPicture(mode)) {
        LOG(kError, "input engine %u: a captured picture of %ux%u@%u is refused; expected %s%s",
            engine.number, mode.width, mode.height, mode.fr, kPictureRange,
            isOfPort ? ", as the port has none" : "");
        return VESK_SERVICE_ERR_VALUE;
    }
    engine.appInParam = param;
    engine.appMode = mode;
    return kOk;
}

} // namespace vesk::service
