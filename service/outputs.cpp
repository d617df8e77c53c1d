// The displays, the output engines that drive them, and what they show.
#include "service/outputs.h"

#include "service/record_check.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace vesk::service {

Outputs::Outputs(Notifications& notifications, const DeviceDescription& device, Inputs& inputs,
                 Codecs& codecs)
    : Ports(notifications, device.outputs, device.defaults.output,
            RangeOf(Numbering::kOutputEngines, device.numbers)),
      inputs_(&inputs), codecs_(&codecs)
{
}

void Outputs::NotifyPicture(const std::string& procName, const Display& display)
{
    VeskVideoVoPortDdcInfo ddc{};
    ddc.port = display.number;
    ddc.Width = display.mode.width;
    ddc.height = display.mode.height;
    ddc.fr = display.mode.fr;
    notifications_->Add(procName, VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, BytesOf(ddc));
}

VeskVideoVoPortInfo Outputs::Describe(const Display& display, const Engine* engine) const
{
    auto described = Begin<VeskServiceVoPort>(display);
    described.displayMode = displayInfo_.displayMode;
    described.displayFps = displayInfo_.fps;
    described.srEnabled = isSrEnabled_ ? 1 : 0;
    described.filterWindows = static_cast<uint32_t>(filterWindows_.size());
    display.defaultImage.copy(described.defaultImage, sizeof described.defaultImage - 1);
    if (engine != nullptr) {
        described.outEngNo = engine->number;
        described.started = engine->isStarted ? 1 : 0;
        described.xOffset = engine->offset.xOffset;
        described.yOffset = engine->offset.yOffset;
        described.queHandle = engine->queHandle;
        described.pictures = engine->source.picNum;
    }
    return std::bit_cast<VeskVideoVoPortInfo>(described);
}

bool Outputs::IsThere(const VeskVideoSubPicParam& picture) const
{
    return picture.decFlag != 0 ? codecs_->decoders.Find(picture.inputId) != nullptr
                                : inputs_->engines.Find(picture.inputId) != nullptr;
}

void Outputs::NoteGone()
{
    for (auto& [number, engine] : engines.All()) {
        for (const VeskVideoSubPicParam& picture : std::span(engine.source.subPic, engine.source.picNum)) {
            if (!IsThere(picture))
                engine.gone.emplace(picture.decFlag != 0, picture.inputId);
        }
    }
}

// Every picture must come from an existing input engine or decoder.
Result Outputs::SetSource(Engine& engine, const VeskVideoVoMultiPicParam& source)
{
    if (source.picNum > VESK_VIDEO_MAX_SUBPIC_NUM)
        return VESK_SERVICE_ERR_VALUE;
    for (const VeskVideoSubPicParam& picture : std::span(source.subPic, source.picNum)) {
        if (!IsThere(picture))
            return VESK_SERVICE_ERR_NUMBER;
        const auto view = std::bit_cast<VeskServiceSubPic>(picture);
        const std::string owner = "picture " + std::to_string(&picture - source.subPic) +
                                  " of output engine " + std::to_string(engine.number);
        for (const Result result : {CheckRect(view.window, "window", owner),
                                    CheckRect(view.crop, "crop", owner), CheckOpacity(view.opacity, owner)}) {
            if (result != kOk)
                return result;
        }
    }
    engine.source = source;
    engine.gone.clear();
    return kOk;
}

Result Outputs::SetDisplayMode(const VeskVideoDisplayInfo& info)
{
    if (info.displayMode > VESK_VIDEO_DISPLAY_MODE_MAX)
        return VESK_SERVICE_ERR_VALUE;
    displayInfo_ = info;
    return kOk;
}

Result Outputs::SetDefaultImage(Display& display, Argument<"imageParam2"> imageParam2, std::string_view path)
{
    display.defaultImage = path;
    display.imageParam2 = static_cast<uint32_t>(imageParam2);
    return kOk;
}

Result Outputs::SetSr(Argument<"enable"> enable)
{
    isSrEnabled_ = enable != 0;
    return kOk;
}

Result Outputs::AddFilterWindows(Argument<"filterParam"> filterParam,
                                 std::span<const VeskVideoFilterWindow> windows)
{
    constexpr size_t kMost = 1024;
    if (filterWindows_.size() + windows.size() > kMost)
        return VESK_SERVICE_ERR_ROOM;
    filterWindows_.reserve(filterWindows_.size() + windows.size()); // all are added or none
    for (const VeskVideoFilterWindow& window : windows)
        filterWindows_.push_back({filterParam, window});
    return kOk;
}

// Deletes either all of the windows or, when one of them does not exist, none.
Result Outputs::DeleteFilterWindows(Argument<"filterParam"> filterParam,
                                    std::span<const VeskVideoFilterWindow> windows)
{
    std::vector<FilterWindow> left = filterWindows_;
    for (const VeskVideoFilterWindow& window : windows) {
        const auto same = std::find_if(left.begin(), left.end(), [&](const FilterWindow& other) {
            return other.filterParam == filterParam &&
                   std::memcmp(&window, &other.window, sizeof window) == 0;
        });
        if (same == left.end())
            return VESK_SERVICE_ERR_NUMBER;
        left.erase(same);
    }
    filterWindows_ = std::move(left);
    return kOk;
}

// Removes the pictures that are shown in the window.
Result Outputs::DestroyWindow(Engine& engine, Argument<"winHandle"> winHandle)
{
    auto* const begin = engine.source.subPic;
    auto* const end = begin + engine.source.picNum;
    const auto* const left = std::remove_if(begin, end, [winHandle](const VeskVideoSubPicParam& picture) {
        return picture.winHandle == winHandle;
    });
    if (left == end)
        return VESK_SERVICE_ERR_NUMBER;
    engine.source.picNum = static_cast<uint32_t>(left - begin);
    return kOk;
}

} // namespace vesk::service
