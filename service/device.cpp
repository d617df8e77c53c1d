// Jobs and queries that belong to the device as a whole.
#include "service/device.h"

#include "service/record_check.h"
#include "service/service.h"

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

Result Device::SetAndroidObjects(Argument<"javaVm"> javaVm, Argument<"javaContext"> javaContext)
{
    if (javaVm == 0)
        return VESK_SERVICE_ERR_VALUE;
    jobs_.javaVm = javaVm;
    jobs_.javaContext = javaContext;
    return kOk;
}

// The objects must have been set before.
Result Device::SetAndroidProjection(Argument<"resultCode"> resultCode,
                                    Argument<"projectionData"> projectionData)
{
    if (jobs_.javaVm == 0)
        return VESK_SERVICE_ERR_STATE;
    jobs_.projectionResult = resultCode;
    jobs_.projectionData = projectionData;
    return kOk;
}

Result Device::TakeSnapshot(Service& service, const Sender& sender, Argument<"value3"> value3,
                            Argument<"value2"> value2, const VeskVideoSnapshotParam& param)
{
    constexpr size_t kMost = 16;
    const auto described = std::bit_cast<VeskServiceSnapshot>(param);
    const std::string name = "snapshot " + std::to_string(jobs_.snapshots + 1);
    Result result = CheckOutput(described.voPort, device_->outputs.size(), name);
    if (result == kOk)
        result = CheckText(described.path, "path", name);
    if (result != kOk)
        return result;
    snapshots_.push_back({jobs_.snapshots + 1, sender, value2, value3, param,
                          SceneOf(service, *service.outputs.Find(described.voPort))});
    ++jobs_.snapshots;
    if (snapshots_.size() > kMost)
        snapshots_.pop_front();
    return kOk;
}

// Decoded at once; the notification carries the number of the wallpaper. One without a path takes it away.
Result Device::SetWallpaper(const Sender& sender, const VeskVideoWallpaperParam& param)
{
    const auto described = std::bit_cast<VeskServiceWallpaper>(param);
    if (const Result result = CheckText(described.path, "path", "the wallpaper"); result != kOk)
        return result;
    jobs_.wallpaper = *described.path != '\0' ? param : VeskVideoWallpaperParam{};
    notifications_->Add(sender.procName, VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY, {}, ++jobs_.wallpapers);
    return kOk;
}

Result Device::SetAnnotation(const Sender& sender, Argument<"value1"> value1, Argument<"value2"> value2,
                             Argument<"status"> status)
{
    jobs_.annotation = Annotation{sender, value1, value2, status};
    notifications_->Add(sender.procName, VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY,
                        BytesOf(static_cast<uint32_t>(status)));
    return kOk;
}

// The path is an address in the client's memory. What was asked for is kept nevertheless, to be seen.
Result Device::VerifyImage(const Sender& sender, Argument<"filePath"> filePath,
                           const VeskVideoVerifyImageReq& param)
{
    jobs_.verification = Verification{sender, filePath, param};
    return VESK_SERVICE_ERR_UNREACHABLE;
}

} // namespace vesk::service
