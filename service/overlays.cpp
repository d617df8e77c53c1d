// Overlay channels.
#include "service/overlays.h"

namespace vesk::service {

Result OverlayChannel::GetQueue(uint32_t* queHandle)
{
    *queHandle = queue.Id("overlay", number);
    return *queHandle != 0 ? kOk : Result{VESK_SERVICE_ERR_ROOM};
}

Result OverlayChannel::SetParam(const VeskVideoOverlayParam& value)
{
    param = value;
    hasParam = true;
    return kOk;
}

Result OverlayChannel::Enable(Argument<"enable"> enable)
{
    if (!hasParam)
        return VESK_SERVICE_ERR_STATE;
    isEnabled = enable != 0;
    return kOk;
}

// The client chooses the channel's number; the answer is the number of its layer, from 1.
Result Overlays::Create(const Sender& sender, Argument<"overlayChn"> overlayChn, uint32_t* layer)
{
    if (overlayChn > UINT32_MAX)
        return VESK_SERVICE_ERR_NUMBER;
    if (const OverlayChannel* present = channels.Find(overlayChn);
        present != nullptr && channels.Reclaim(*present) != kOk)
        return VESK_SERVICE_ERR_BUSY;
    const Result result = channels.CreateAt(static_cast<uint32_t>(overlayChn), sender);
    *layer = static_cast<uint32_t>(channels.All().size());
    return result;
}

} // namespace vesk::service
