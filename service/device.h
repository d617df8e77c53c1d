// Jobs and queries that belong to the device as a whole.
#pragma once

#include "service/device_description.h"
#include "service/request.h"

namespace vesk::service {

class Device {
public:
    Device(Notifications& notifications, const DeviceDescription& device)
        : notifications_(&notifications), device_(&device)
    {
    }

    Result GetCapability(Argument<"capabilityType">, VeskVideoCapability*);
    Result SetAndroidObjects(Argument<"javaVm">);
    Result SetAndroidProjection(Argument<"resultCode">);
    Result TakeSnapshot(const VeskVideoSnapshotParam&);
    Result SetWallpaper(const Sender&, const VeskVideoWallpaperParam&);
    Result SetAnnotation(const Sender&, Argument<"status">);
    Result VerifyImage(const VeskVideoVerifyImageReq&);

private:
    friend class State;

    Notifications* notifications_;
    const DeviceDescription* device_;
    uint64_t javaVm_ = 0;
    uint64_t projectionResult_ = 0;
    uint32_t snapshots_ = 0;
    uint64_t wallpapers_ = 0;
};

} // namespace vesk::service
