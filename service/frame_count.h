// Frames that come at a rate.
#pragma once

#include <cstdint>

namespace vesk::service {

/// Counts frames as time passes. A frame counts when its time is over; one that an end breaks off does not.
class FrameCount {
public:
    /// From now on, frames come at another rate, or end with 0.
    void SetRate(uint64_t nowMs, uint32_t perSecond)
    {
        thousandths_ = perSecond != 0 ? Thousandths(nowMs) : Frames(nowMs) * 1000;
        sinceMs_ = nowMs;
        perSecond_ = perSecond;
    }

    uint64_t Frames(uint64_t nowMs) const { return Thousandths(nowMs) / 1000; }

private:
    uint64_t Thousandths(uint64_t nowMs) const { return thousandths_ + (nowMs - sinceMs_) * perSecond_; }

    uint64_t thousandths_ = 0; // of a frame, until the rate was set
    uint64_t sinceMs_ = 0;
    uint32_t perSecond_ = 0;
};

} // namespace vesk::service
