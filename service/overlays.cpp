// Overlay channels.
#include "service/overlays.h"

#include "service/record_check.h"

#include <bit>

namespace vesk::service {

Result OverlayChannel::GetQueue(uint32_t* queHandle)
{
    *queHandle = queue.Id("overlay", number);
    return *queHandle != 0 ? kOk : Result{VESK_SERVICE_ERR_ROOM};
}

Result OverlayChannel::Enable(Argument<"enable"> enable)
{
    if (!hasParam)
        return VESK_SERVICE_ERR_STATE;
    isEnabled = enable != 0;
    return kOk;
}

// The client chooses the channel's number; the answer is the number of its layer, from 1.
Result Overlays::Create(const Sender& sender, Argument<"value"> value, Argument<"overlayChn"> overlayChn,
                        uint32_t* layer)
{
    if (overlayChn > UINT32_MAX)
        return VESK_SERVICE_ERR_NUMBER;
    if (const OverlayChannel* present = channels.Find(overlayChn);
        present != nullptr && channels.Reclaim(*present) != kOk)
        return VESK_SERVICE_ERR_BUSY;
    if (const Result result = channels.CreateAt(static_cast<uint32_t>(overlayChn), sender); result != kOk)
        return result;
    channels.Find(overlayChn)->value = static_cast<uint32_t>(value);
    *layer = static_cast<uint32_t>(channels.All().size());
    return kOk;
}

Result Overlays::SetParam(OverlayChannel& channel, const VeskVideoOverlayParam& param)
{
    const auto described = std::bit_cast<VeskServiceOverlay>(param);
    const std::string name = "overlay channel " + std::to_string(channel.number);
    Result result = CheckOutput(described.display, outputs_, name);
    if (result == kOk)
        result = CheckRect(described.window, "window", name);
    if (result == kOk)
        result = CheckOpacity(described.opacity, name);
    if (result == kOk)
        result = CheckText(described.picture, "picture", name);
    if (result != kOk)
        return result;
    channel.param = param;
    channel.hasParam = true;
    return kOk;
}

} // namespace vesk::service
