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

    /// What has been done and set.
    struct Jobs {
        uint32_t snapshots = 0;
        uint64_t wallpapers = 0;
        uint64_t javaVm = 0;
        uint64_t projectionResult = 0;
    };
    const Jobs& Done() const { return jobs_; }

private:
    Notifications* notifications_;
    const DeviceDescription* device_;
    Jobs jobs_;
};

} // namespace vesk::service
