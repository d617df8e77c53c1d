// Jobs and queries that belong to the device as a whole.
#include "service/device.h"

#include <iterator>

namespace vesk::service {

Result Device::GetCapability(const Request& request, VeskServiceCapability* capability)
{
    constexpr uint32_t kValues[] = {VESK_SERVICE_INPUTS, VESK_SERVICE_OUTPUTS, VESK_SERVICE_MAX_ENCODERS,
                                    VESK_SERVICE_MAX_ENCODERS};
    const uint32_t type = request.head.ulParam2;
    if (type >= std::size(kValues))
        return VESK_SERVICE_ERR_VALUE;
    *capability = {type, kValues[type]};
    return kOk;
}

Result Device::SetAndroidObjects(const Request& request)
{
    if (request.head.ulParam1 == 0)
        return VESK_SERVICE_ERR_VALUE;
    javaVm_ = request.head.ulParam1;
    return kOk;
}

// A projection needs the objects before it.
Result Device::SetAndroidProjection(const Request& request)
{
    if (javaVm_ == 0)
        return VESK_SERVICE_ERR_STATE;
    projectionResult_ = request.head.ulParam1;
    return kOk;
}

Result Device::TakeSnapshot(const Request&, const VeskVideoSnapshotParam&)
{
    ++snapshots_;
    return kOk;
}

// Decoded at once; the notification carries the number of the wallpaper.
Result Device::SetWallpaper(const Request& request, const VeskVideoWallpaperParam&)
{
    notifications_.push_back(
        {request.sender.procName, VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY, {}, ++wallpapers_});
    return kOk;
}

Result Device::SetAnnotation(const Request& request)
{
    const uint32_t status = request.head.ulParam2;
    notifications_.push_back(Notification::Of(request.sender.procName,
                                              VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY, status));
    return kOk;
}

// The path is an address in the client's memory.
Result Device::VerifyImage(const Request&, const VeskVideoVerifyImageReq&)
{
    return VESK_SERVICE_ERR_UNREACHABLE;
}

} // namespace vesk::service
