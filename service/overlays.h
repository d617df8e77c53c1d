// Overlay channels.
#pragma once

#include "service/device_description.h"
#include "service/numbered.h"
#include "service/service_queue.h"

namespace vesk::service {

struct OverlayChannel : Owned {
    ServiceQueue queue;
    VeskVideoOverlayParam param{};
    bool hasParam = false;
    bool isEnabled = false;

    Result GetQueue(uint32_t* queHandle);
    Result SetParam(const VeskVideoOverlayParam&);
    Result Enable(Argument<"enable">);
};

class Overlays {
public:
    explicit Overlays(const DeviceLimits& limits) : channels(limits.overlays) {}

    void Release(HostProcess process) { channels.Release(process); }

    Numbered<OverlayChannel> channels;

    Result Create(const Sender&, Argument<"overlayChn">, uint32_t* layer);
};

} // namespace vesk::service
