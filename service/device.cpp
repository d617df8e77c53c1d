// Jobs and queries that belong to the device as a whole.
#include "service/device.h"

#include <bit>
#include <iterator>

namespace vesk::service {

Result Device::GetCapability(Argument<"capabilityType"> type, VeskVideoCapability* capability)
{
    const uint32_t values[] = {static_cast<uint32_t>(device_->inputs.size()),
                               static_cast<uint32_t>(device_->outputs.size()), device_->limits.encoders,
                               device_->limits.decoders};
    if (type >= std::size(values))
        return VESK_SERVICE_ERR_VALUE;
    *capability =
        std::bit_cast<VeskVideoCapability>(VeskServiceCapability{static_cast<uint32_t>(type), values[type]});
    return kOk;
}

Result Device::SetAndroidObjects(Argument<"javaVm"> javaVm)
{
    if (javaVm == 0)
        return VESK_SERVICE_ERR_VALUE;
    jobs_.javaVm = javaVm;
    return kOk;
}

// The objects must have been set before.
Result Device::SetAndroidProjection(Argument<"resultCode"> resultCode)
{
    if (jobs_.javaVm == 0)
        return VESK_SERVICE_ERR_STATE;
    jobs_.projectionResult = resultCode;
    return kOk;
}

Result Device::TakeSnapshot(const VeskVideoSnapshotParam&)
{
    ++jobs_.snapshots;
    return kOk;
}

// Decoded at once; the notification carries the number of the wallpaper.
Result Device::SetWallpaper(const Sender& sender, const VeskVideoWallpaperParam&)
{
    notifications_->Add(sender.procName, VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY, {}, ++jobs_.wallpapers);
    return kOk;
}

Result Device::SetAnnotation(const Sender& sender, Argument<"status"> status)
{
    notifications_->Add(sender.procName, VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY,
                        BytesOf(static_cast<uint32_t>(status)));
    return kOk;
}

// The path is an address in the client's memory.
Result Device::VerifyImage(const VeskVideoVerifyImageReq&)
{
    return VESK_SERVICE_ERR_UNREACHABLE;
}

} // namespace vesk::service
