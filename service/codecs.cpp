// Encoder and decoder channels, and the loops between them.
#include "service/codecs.h"

#include <algorithm>

namespace vesk::service {

namespace {

constexpr uint32_t kBlock = 16; // pixels of a macroblock's side

uint32_t BlocksOf(const PictureBounds& pictures)
{
    return pictures.maxWidth / kBlock * (pictures.maxHeight / kBlock);
}

template <class Codec>
void Describe(Codec& codec, const CodecDescription& described, const PictureBounds& pictures)
{
    codec.support = 1;
    codec.blocksPs = BlocksOf(pictures) * pictures.maxFrameRate;
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

Result Channel::Start()
{
    const Result result = hasParam ? Startable::Start() : Result{VESK_SERVICE_ERR_STATE};
    statistics.starts += result == kOk ? 1 : 0;
    return result;
}

Result Channel::Stop()
{
    const Result result = Startable::Stop();
    statistics.stops += result == kOk ? 1 : 0;
    return result;
}

VeskServiceCodecStatus EncoderChannel::Status() const
{
    const bool hasFec = fec.lossRate > 0 || fec.constLostNum != 0;
    return {isStarted ? 1U : 0U, param.w, param.h, param.fr, queId, keyFrames, hasFec ? 1U : 0U};
}

VeskServiceCodecStatus DecoderChannel::Status() const
{
    return {isStarted ? 1U : 0U, param.w, param.h, 0, queId, 0, antiJitter};
}

Result EncoderChannel::SetParamEx(const VeskVideoEncParamEx& value)
{
    paramEx = value;
    ++statistics.changes;
    return kOk;
}

Result EncoderChannel::ForceKeyFrame()
{
    if (!isStarted)
        return VESK_SERVICE_ERR_STATE;
    ++keyFrames;
    return kOk;
}

Codecs::Codecs(Notifications& notifications, const DeviceDescription& device)
    : encoders(device.limits.encoders), decoders(device.limits.decoders), loops(device.limits.loops),
      notifications_(&notifications), device_(&device)
{
}

void Codecs::Release(HostProcess process)
{
    encoders.Release(process);
    decoders.Release(process);
    loops.Release(process);
}

Result Codecs::CreateEncoder(const Sender& sender, uint32_t* encStmNo)
{
    const Result result = encoders.Create(sender, encStmNo);
    if (result == kOk) {
        EncoderChannel& encoder = *encoders.Find(*encStmNo);
        encoder.param = device_->defaults.encoder;
        encoder.paramEx = device_->defaults.encoderEx;
    } else {
        notifications_->Add(sender.procName, VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT, {});
    }
    return result;
}

Result Codecs::SetEncoderParam(EncoderChannel& encoder, const VeskVideoEncParam& param)
{
    if (!device_->pictures.Has(param.w, param.h) || param.fr > device_->pictures.maxFrameRate)
        return VESK_SERVICE_ERR_VALUE;
    encoder.param = param;
    encoder.hasParam = true;
    ++encoder.statistics.changes;
    return kOk;
}

Result Codecs::ModifyFrameRate(EncoderChannel& encoder, Argument<"frameRate"> frameRate)
{
    if (!encoder.hasParam)
        return VESK_SERVICE_ERR_STATE;
    if (frameRate == 0 || frameRate > device_->pictures.maxFrameRate)
        return VESK_SERVICE_ERR_VALUE;
    encoder.param.fr = static_cast<uint32_t>(frameRate);
    ++encoder.statistics.changes;
    return kOk;
}

Result Codecs::StartEncoder(EncoderChannel& encoder)
{
    if (!encoder.isStarted && encoder.hasParam && RunningEncoders() >= device_->limits.encodersRunning) {
        notifications_->Add(encoder.owner.procName, VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT, {},
                            encoder.number);
        return VESK_SERVICE_ERR_ROOM;
    }
    const Result result = encoder.Start();
    if (result == kOk && RunningEncoders() > device_->limits.encodersAtSpeed)
        NotifyLoad(encoder, true);
    return result;
}

Result Codecs::StopEncoder(EncoderChannel& encoder)
{
    const Result result = encoder.Stop();
    if (result == kOk && RunningEncoders() == device_->limits.encodersAtSpeed)
        NotifyLoad(encoder, false);
    return result;
}

// One that runs is stopped, which may end an overload.
Result Codecs::DeleteEncoder(EncoderChannel& encoder)
{
    if (encoder.isStarted)
        StopEncoder(encoder);
    encoders.Erase(encoder);
    return kOk;
}

size_t Codecs::RunningEncoders()
{
    const auto& all = encoders.All();
    return static_cast<size_t>(
        std::count_if(all.begin(), all.end(), [](const auto& entry) { return entry.second.isStarted; }));
}

void Codecs::NotifyLoad(const EncoderChannel& encoder, bool isOverload)
{
    const VeskVideoEncOverloadStatus status{encoder.number, isOverload ? 1U : 0U};
    notifications_->Add(encoder.owner.procName, VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, BytesOf(status));
}

Result Codecs::GetEncodeCapability(VeskVideoEncodeCapability* capability)
{
    capability->maxChannel = device_->limits.encoders;
    for (const EncodeDescription& described : device_->encode) {
        VeskVideoEncCodecCapability& codec = capability->codec[described.number];
        Describe(codec, described, device_->pictures);
        codec.blockspf = BlocksOf(device_->pictures);
        codec.maxBandWidth = described.maxBandWidth;
        codec.h264MaxLevel = described.h264MaxLevel;
        codec.h265MaxLevel = described.h265MaxLevel;
    }
    return kOk;
}

Result Codecs::CreateDecoder(const Sender& sender, uint32_t* decStmNo)
{
    const Result result = decoders.Create(sender, decStmNo);
    if (result == kOk)
        decoders.Find(*decStmNo)->param = device_->defaults.decoder;
    return result;
}

Result Codecs::SetDecoderParam(DecoderChannel& decoder, const VeskVideoDecParam& param)
{
    if (!device_->pictures.Has(param.w, param.h))
        return VESK_SERVICE_ERR_VALUE;
    decoder.param = param;
    decoder.hasParam = true;
    ++decoder.statistics.changes;
    NotifyRecreation(decoder);
    return kOk;
}

Result Codecs::SetDecoderParamEx(DecoderChannel& decoder, const VeskVideoDecParamEx& param)
{
    decoder.paramEx = param;
    NotifyRecreation(decoder);
    return kOk;
}

// New parameters need a new decoder where one runs; it is there at once, under the same number.
void Codecs::NotifyRecreation(const DecoderChannel& decoder)
{
    if (decoder.isStarted)
        notifications_->Add(decoder.owner.procName, VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY, {}, 0,
                            decoder.number);
}

// A decoder that starts needs a key frame from every encoder that is looped to it.
Result Codecs::StartDecoder(DecoderChannel& decoder)
{
    if (const Result result = decoder.Start(); result != kOk)
        return result;
    notifications_->Add(decoder.owner.procName, VESK_VIDEO_ON_DECODE_STATUS_NOTIFY,
                        BytesOf(VeskServiceDecodeState{decoder.number, 1}));
    for (const auto& [number, loop] : loops.All()) {
        const EncoderChannel* encoder = encoders.Find(loop.param.encNo);
        if (loop.isOn && loop.param.decNo == decoder.number && encoder != nullptr)
            notifications_->Add(encoder->owner.procName, VESK_VIDEO_ON_IFREAME_REQUEST, {}, encoder->number);
    }
    return kOk;
}

Result Codecs::GetDecodeCapability(VeskVideoDecodeCapability* capability)
{
    capability->maxChannel = device_->limits.decoders;
    for (const DecodeDescription& described : device_->decode) {
        VeskVideoDecCodecCapability& codec = capability->codec[described.number];
        Describe(codec, described, device_->pictures);
        codec.isTile = described.isTile ? 1 : 0;
    }
    return kOk;
}

Result Codecs::CreateLoop(const Sender& sender, const VeskVideoStreamLoopParam& param, uint32_t* loop)
{
    if (encoders.Find(param.encNo) == nullptr || decoders.Find(param.decNo) == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    const Result result = loops.Create(sender, loop);
    if (result == kOk)
        loops.Find(*loop)->param = param;
    return result;
}

// The new state is notified too.
Result Codecs::SwitchLoop(Loop& loop, Argument<"enable"> enable)
{
    loop.isOn = enable != 0;
    notifications_->Add(loop.owner.procName, VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, {}, enable);
    return kOk;
}

} // namespace vesk::service
