// Jobs and queries that belong to the device as a whole.
#pragma once

#include "service/request.h"

namespace vesk::service {

class Device {
public:
    explicit Device(Notifications& notifications) : notifications_(notifications) {}

    Result GetCapability(const Request&, VeskServiceCapability*);
    Result SetAndroidObjects(const Request&);
    Result SetAndroidProjection(const Request&);
    Result TakeSnapshot(const Request&, const VeskVideoSnapshotParam&);
    Result SetWallpaper(const Request&, const VeskVideoWallpaperParam&);
    Result SetAnnotation(const Request&);
    Result VerifyImage(const Request&, const VeskVideoVerifyImageReq&);

private:
    Notifications& notifications_;
    uint64_t javaVm_ = 0;
    uint64_t projectionResult_ = 0;
    uint32_t snapshots_ = 0;
    uint64_t wallpapers_ = 0;
};

} // namespace vesk::service
