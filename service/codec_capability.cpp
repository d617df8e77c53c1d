// What the codecs of the device can do, as applications are told.
#include "service/codecs.h"

namespace vesk::service {

namespace {

template <class Codec>
void Describe(Codec& codec, const CodecDescription& described, const PictureBounds& pictures)
{
    codec.support = 1;
    codec.maxWidth = pictures.maxWidth;
    codec.minWidth = pictures.minWidth;
    codec.maxHeight = pictures.maxHeight;
    codec.minHeight = pictures.minHeight;
    codec.isSvc = described.isSvc ? 1 : 0;
    for (const uint32_t profile : described.profiles)
        codec.profiles[profile] = 1;
    for (const uint32_t fec : described.fecs)
        codec.fecs[fec] = 1;
}

} // namespace

Result Codecs::GetEncodeCapability(VeskVideoEncodeCapability* capability)
{
    capability->maxChannel = device_->limits.encoders;
    for (const EncodeDescription& described : device_->encode) {
        VeskVideoEncCodecCapability& codec = capability->codec[described.number];
        Describe(codec, described, device_->pictures);
        codec.blocksPs = device_->limits.blocksAtSpeed;
        codec.blockspf = BlocksOf(device_->pictures.maxWidth, device_->pictures.maxHeight);
        codec.maxBandWidth = described.maxBandWidth;
        codec.h264MaxLevel = described.h264MaxLevel;
        codec.h265MaxLevel = described.h265MaxLevel;
    }
    return kOk;
}

Result Codecs::GetDecodeCapability(VeskVideoDecodeCapability* capability)
{
    capability->maxChannel = device_->limits.decoders;
    for (const DecodeDescription& described : device_->decode) {
        VeskVideoDecCodecCapability& codec = capability->codec[described.number];
        Describe(codec, described, device_->pictures);
        codec.blocksPs = BlocksOf(device_->pictures.maxWidth, device_->pictures.maxHeight) *
                         device_->pictures.maxFrameRate;
        codec.isTile = described.isTile ? 1 : 0;
    }
    return kOk;
}

} // namespace vesk::service
