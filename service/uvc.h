// UVC streams.
#pragma once

#include "service/device_description.h"
#include "service/numbered.h"

#include <set>

namespace vesk::service {

struct UvcStream : Startable {
    VeskVideoUvcParam param{};
    VeskVideoUvcParamEx paramEx{};
    bool hasParam = false;
    uint32_t keyFrames = 0;

    Result SetParam(const VeskVideoUvcParam&);
    Result Start();
    Result ForceKeyFrame();
};

class Uvc {
public:
    explicit Uvc(const DeviceLimits& limits) : streams(limits.uvc) {}

    void Release(HostProcess process);

    Numbered<UvcStream> streams;

    Result Init(const Sender&);
    Result Deinit(const Sender&);
    Result Open(const Sender&, uint32_t* uvcStmNo);

    /// Processes that have initialised it.
    const std::set<HostProcess>& Users() const { return users_; }

private:
    std::set<HostProcess> users_;
};

} // namespace vesk::service
