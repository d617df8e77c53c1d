// Encoder and decoder channels, and the loops between them.
#include "service/codecs.h"

#include <algorithm>

namespace vesk::service {

namespace {

constexpr uint32_t kBlock = 16; // pixels of a macroblock's side
constexpr uint32_t kMaxWidth = 3840;
constexpr uint32_t kMaxHeight = 2160;
constexpr uint32_t kMaxFrameRate = 60;
constexpr uint32_t kH264 = 0; // codec numbers that the virtual device offers
constexpr uint32_t kH265 = 1;

template <class Codec>
void DescribeCodec(Codec& codec, uint32_t number)
{
    codec.support = 1;
    codec.blocksPs = kMaxWidth / kBlock * (kMaxHeight / kBlock) * kMaxFrameRate;
    codec.maxWidth = kMaxWidth;
    codec.minWidth = kBlock;
    codec.maxHeight = kMaxHeight;
    codec.minHeight = kBlock;
    codec.isSvc = number == kH264 ? 1 : 0;
    codec.profiles[0] = 1;
    codec.profiles[2] = 1;
    codec.fecs[0] = 1;
}

bool IsPicture(uint32_t width, uint32_t height)
{
    return width >= kBlock && width <= kMaxWidth && height >= kBlock && height <= kMaxHeight;
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

VeskServiceCodecStatus Encoder::Status() const
{
    const bool hasFec = fec.lossRate > 0 || fec.constLostNum != 0;
    return {isStarted ? 1U : 0U, param.w, param.h, param.fr, queId, keyFrames, hasFec ? 1U : 0U};
}

VeskServiceCodecStatus Decoder::Status() const
{
    return {isStarted ? 1U : 0U, param.w, param.h, 0, queId, 0, antiJitter};
}

Result Encoder::SetParam(const VeskVideoEncParam& value)
{
    if (!IsPicture(value.w, value.h) || value.fr > kMaxFrameRate)
        return VESK_SERVICE_ERR_VALUE;
    param = value;
    hasParam = true;
    ++statistics.changes;
    return kOk;
}

Result Encoder::SetParamEx(const VeskVideoEncParamEx& value)
{
    paramEx = value;
    ++statistics.changes;
    return kOk;
}

Result Encoder::ForceKeyFrame()
{
    if (!isStarted)
        return VESK_SERVICE_ERR_STATE;
    ++keyFrames;
    return kOk;
}

Result Encoder::ModifyFrameRate(Argument<"frameRate"> frameRate)
{
    if (!hasParam)
        return VESK_SERVICE_ERR_STATE;
    if (frameRate == 0 || frameRate > kMaxFrameRate)
        return VESK_SERVICE_ERR_VALUE;
    param.fr = static_cast<uint32_t>(frameRate);
    ++statistics.changes;
    return kOk;
}

Result Decoder::SetParam(const VeskVideoDecParam& value)
{
    if (!IsPicture(value.w, value.h))
        return VESK_SERVICE_ERR_VALUE;
    param = value;
    hasParam = true;
    ++statistics.changes;
    return kOk;
}

void Codecs::Release(pid_t process)
{
    encoders.Release(process);
    decoders.Release(process);
    loops.Release(process);
}

Result Codecs::StartEncoder(Encoder& encoder)
{
    const Result result = encoder.Start();
    if (result == kOk && RunningEncoders() > VESK_SERVICE_ENCODERS_AT_SPEED)
        NotifyLoad(encoder, true);
    return result;
}

Result Codecs::StopEncoder(Encoder& encoder)
{
    const Result result = encoder.Stop();
    if (result == kOk && RunningEncoders() == VESK_SERVICE_ENCODERS_AT_SPEED)
        NotifyLoad(encoder, false);
    return result;
}

size_t Codecs::RunningEncoders()
{
    const auto& all = encoders.All();
    return static_cast<size_t>(
        std::count_if(all.begin(), all.end(), [](const auto& entry) { return entry.second.isStarted; }));
}

void Codecs::NotifyLoad(const Encoder& encoder, bool isOverload)
{
    const VeskVideoEncOverloadStatus status{encoder.number, isOverload ? 1U : 0U};
    notifications_.Add(encoder.owner.procName, VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, BytesOf(status));
}

Result Codecs::GetEncodeCapability(VeskVideoEncodeCapability* capability)
{
    capability->maxChannel = VESK_SERVICE_MAX_ENCODERS;
    for (const uint32_t number : {kH264, kH265}) {
        VeskVideoEncCodecCapability& codec = capability->codec[number];
        DescribeCodec(codec, number);
        codec.blockspf = kMaxWidth / kBlock * (kMaxHeight / kBlock);
        codec.maxBandWidth = 50000;
        codec.h264MaxLevel = number == kH264 ? 52 : 0;
        codec.h265MaxLevel = number == kH265 ? 51 : 0;
    }
    return kOk;
}

// A decoder that starts needs a key frame from every encoder that is looped to it.
Result Codecs::StartDecoder(Decoder& decoder)
{
    if (const Result result = decoder.Start(); result != kOk)
        return result;
    notifications_.Add(decoder.owner.procName, VESK_VIDEO_ON_DECODE_STATUS_NOTIFY,
                       BytesOf(VeskServiceDecodeState{decoder.number, 1}));
    for (const auto& [number, loop] : loops.All()) {
        const Encoder* encoder = encoders.Find(loop.param.encNo);
        if (loop.isOn && loop.param.decNo == decoder.number && encoder != nullptr)
            notifications_.Add(encoder->owner.procName, VESK_VIDEO_ON_IFREAME_REQUEST, {}, encoder->number);
    }
    return kOk;
}

Result Codecs::GetDecodeCapability(VeskVideoDecodeCapability* capability)
{
    capability->maxChannel = VESK_SERVICE_MAX_ENCODERS;
    for (const uint32_t number : {kH264, kH265})
        DescribeCodec(capability->codec[number], number);
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
    notifications_.Add(loop.owner.procName, VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, {}, enable);
    return kOk;
}

} // namespace vesk::service
