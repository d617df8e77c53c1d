// Overlay channels.
#pragma once

#include "service/device_description.h"
#include "service/numbered.h"
#include "service/service_queue.h"

namespace vesk::service {

struct OverlayChannel : Owned {
    ServiceQueue queue;
    uint32_t value = 0; ///< Given when it was created.
    VeskVideoOverlayParam param{};
    bool hasParam = false;
    bool isEnabled = false;

    Result GetQueue(uint32_t* queHandle);
    Result Enable(Argument<"enable">);
};

class Overlays {
public:
    explicit Overlays(const DeviceDescription& device)
        : channels(device.limits.overlays), outputs_(device.outputs.size())
    {
    }

    void Release(HostProcess process) { channels.Release(process); }

    Numbered<OverlayChannel> channels;

    Result Create(const Sender&, Argument<"value">, Argument<"overlayChn">, uint32_t* layer);
    Result SetParam(OverlayChannel&, const VeskVideoOverlayParam&);

private:
    size_t outputs_;
};

} // namespace vesk::service
