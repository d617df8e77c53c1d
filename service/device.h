// Jobs and queries that belong to the device as a whole.
#pragma once

#include "service/device_description.h"
#include "service/request.h"
#include "service/scene.h"

#include <deque>
#include <optional>

namespace vesk::service {

class Device {
public:
    Device(Notifications& notifications, const DeviceDescription& device)
        : notifications_(&notifications), device_(&device)
    {
    }

    Result GetCapability(Argument<"capabilityType">, VeskVideoCapability*);
    Result SetAndroidObjects(Argument<"javaVm">, Argument<"javaContext">);
    Result SetAndroidProjection(Argument<"resultCode">, Argument<"projectionData">);
    Result TakeSnapshot(Service&, const Sender&, Argument<"value3">, Argument<"value2">,
                        const VeskVideoSnapshotParam&);
    Result SetWallpaper(const Sender&, const VeskVideoWallpaperParam&);
    Result SetAnnotation(const Sender&, Argument<"value1">, Argument<"value2">, Argument<"status">);
    Result VerifyImage(const Sender&, Argument<"filePath">, const VeskVideoVerifyImageReq&);

    struct Snapshot {
        uint32_t number; ///< From 1.
        Sender owner;
        uint64_t value2;
        uint64_t value3;
        VeskVideoSnapshotParam param;
        Scene scene; ///< What the display showed.
    };
    struct Annotation {
        Sender owner;
        uint64_t value1;
        uint64_t value2;
        uint64_t status;
    };
    struct Verification {
        Sender owner;
        uint64_t filePath;
        VeskVideoVerifyImageReq param;
    };

    /// What has been done and set.
    struct Jobs {
        uint32_t snapshots = 0;
        uint64_t wallpapers = 0;
        VeskVideoWallpaperParam wallpaper{}; ///< Zeros: none.
        uint64_t javaVm = 0;
        uint64_t javaContext = 0;
        uint64_t projectionResult = 0;
        uint64_t projectionData = 0;
        std::optional<Annotation> annotation{};
        std::optional<Verification> verification{}; ///< Asked for, and refused.
    };
    const Jobs& Done() const { return jobs_; }

    /// The last ones.
    const std::deque<Snapshot>& Snapshots() const { return snapshots_; }

private:
    Notifications* notifications_;
    const DeviceDescription* device_;
    Jobs jobs_;
    std::deque<Snapshot> snapshots_;
};

} // namespace vesk::service
