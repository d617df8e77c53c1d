// Encoder and decoder channels, and the loops between them.
#include "service/codecs.h"

#include "service/log.h"

#include <algorithm>
#include <cinttypes>

namespace vesk::service {

namespace {

uint64_t BlocksPerSecond(const VeskVideoEncParam& param)
{
    return uint64_t{BlocksOf(param.w, param.h)} * param.fr;
}

/// The description of the codec that a channel is to have; without one, the log says so.
template <class Description>
const Description* FindCodec(const std::vector<Description>& described, const std::string& channel,
                             const char* field, int32_t number)
{
    std::string numbers;
    for (const Description& codec : described) {
        if (int64_t{codec.number} == number)
            return &codec;
        numbers += (numbers.empty() ? "" : ", ") + std::to_string(codec.number);
    }
    LOG(kError, "%s: %s: expected a codec that the device has (%s), not %d", channel.c_str(), field,
        numbers.c_str(), number);
    return nullptr;
}

/// Whether a parameter of a channel is within its bounds; if it is not, the log says so.
bool IsWithin(const std::string& channel, const char* field, uint32_t value, uint32_t least, uint32_t most,
              const char* unit)
{
    const bool isWithin = value >= least && value <= most;
    if (!isWithin)
        LOG(kError, "%s: %s: expected %u to %u %s, not %u", channel.c_str(), field, least, most, unit, value);
    return isWithin;
}

template <class Param>
bool HasPicture(const PictureBounds& pictures, const std::string& channel, const Param& param)
{
    return IsWithin(channel, "w", param.w, pictures.minWidth, pictures.maxWidth, "pixels") &&
           IsWithin(channel, "h", param.h, pictures.minHeight, pictures.maxHeight, "pixels");
}

/// The channel that had a number when @p serial was noted, if it is still there.
template <class CodecChannel>
CodecChannel* FindAgain(Numbered<CodecChannel>& channels, uint32_t number, uint64_t serial)
{
    CodecChannel* channel = channels.Find(number);
    return channel != nullptr && channel->serial == serial ? channel : nullptr;
}

} // namespace

Result Channel::Start()
{
    const Result result = hasParam ? Startable::Start() : Result{VESK_SERVICE_ERR_STATE};
    counted.starts += result == kOk ? 1 : 0;
    return result;
}

Result Channel::Stop()
{
    const Result result = Startable::Stop();
    counted.stops += result == kOk ? 1 : 0;
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
    ++counted.changes;
    return kOk;
}

Codecs::Codecs(Notifications& notifications, const DeviceDescription& device, const Timeline& timeline)
    : encoders(device.limits.encoders, RangeOf(Numbering::kEncoders, device.numbers)),
      decoders(device.limits.decoders, RangeOf(Numbering::kDecoders, device.numbers)),
      loops(device.limits.loops, RangeOf(Numbering::kLoops, device.numbers)), notifications_(&notifications),
      device_(&device), timeline_(&timeline)
{
}

void Codecs::Release(HostProcess process)
{
    encoders.Release(process);
    decoders.Release(process);
    loops.Release(process);
}

// Channels also go without a request for it, with the processes that they belong to.
void Codecs::Settle()
{
    for (auto& [number, decoder] : decoders.All())
        decoder.frameRate = 0;
    for (auto& [number, loop] : loops.All()) {
        const Ends ends = EndsOf(loop);
        loop.isOn = loop.isOn && ends.AreThere();
        if (loop.isOn && ends.Run())
            ends.decoder->frameRate += ends.encoder->param.fr;
    }
    const uint64_t now = timeline_->Now();
    for (auto& [number, decoder] : decoders.All())
        decoder.frames.SetRate(now, decoder.frameRate);
    const bool isOverload = IsOverload(RunningLoad());
    for (auto& [number, encoder] : encoders.All()) {
        encoder.frames.SetRate(now, encoder.isStarted ? encoder.param.fr : 0);
        if (!isOverload && std::exchange(encoder.hearsOfRecovery, false))
            NotifyLoad(encoder, false);
    }
}

VeskServiceCodecStatistics Codecs::StatisticsOf(const Channel& channel) const
{
    VeskServiceCodecStatistics statistics = channel.counted;
    statistics.frames = channel.frames.Frames(timeline_->Now());
    return statistics;
}

Result Codecs::CreateEncoder(const Sender& sender, uint32_t* encStmNo)
{
    const Result result = encoders.Create(sender, encStmNo);
    if (result == kOk) {
        EncoderChannel& encoder = *encoders.Find(*encStmNo);
        encoder.serial = ++created_;
        encoder.param = device_->defaults.encoder;
        encoder.paramEx = device_->defaults.encoderEx;
    } else {
        notifications_->Add(sender.procName, VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT, {});
    }
    return result;
}

Result Codecs::SetEncoderParam(EncoderChannel& encoder, const VeskVideoEncParam& param)
{
    const std::string channel = "encoder " + std::to_string(encoder.number);
    const EncodeDescription* codec = FindCodec(device_->encode, channel, "codcType", param.codcType);
    if (codec == nullptr || !HasPicture(device_->pictures, channel, param) ||
        !IsWithin(channel, "fr", param.fr, 1, device_->pictures.maxFrameRate, "frames per second") ||
        (codec->maxBandWidth != 0 && !IsWithin(channel, "br", param.br, 0, codec->maxBandWidth, "kbit/s")))
        return VESK_SERVICE_ERR_VALUE;
    if (const Result result = ChangeLoad(encoder, encoder.isStarted, param); result != kOk)
        return result;
    encoder.param = param;
    encoder.hasParam = true;
    ++encoder.counted.changes;
    return kOk;
}

Result Codecs::ModifyFrameRate(EncoderChannel& encoder, Argument<"frameRate"> frameRate)
{
    if (!encoder.hasParam)
        return VESK_SERVICE_ERR_STATE;
    VeskVideoEncParam param = encoder.param;
    param.fr = static_cast<uint32_t>(std::min<uint64_t>(frameRate, UINT32_MAX));
    return SetEncoderParam(encoder, param);
}

Result Codecs::StartEncoder(EncoderChannel& encoder)
{
    if (encoder.isStarted || !encoder.hasParam)
        return VESK_SERVICE_ERR_STATE;
    if (const Result result = ChangeLoad(encoder, true, encoder.param); result != kOk)
        return result;
    encoder.Start();
    CountKeyFrame(encoder);
    return kOk;
}

Result Codecs::StopEncoder(EncoderChannel& encoder)
{
    ChangeLoad(encoder, false, encoder.param);
    return encoder.Stop();
}

Result Codecs::ForceKeyFrame(EncoderChannel& encoder)
{
    if (!encoder.isStarted)
        return VESK_SERVICE_ERR_STATE;
    ++encoder.keyFrames;
    CountKeyFrame(encoder);
    return kOk;
}

// One that runs is stopped; if that ends an overload, it is still there to be named.
Result Codecs::DeleteEncoder(EncoderChannel& encoder)
{
    if (StopEncoder(encoder) == kOk)
        Settle();
    encoders.Erase(encoder);
    return kOk;
}

Codecs::Load Codecs::RunningLoad()
{
    Load load;
    for (const auto& [number, encoder] : encoders.All()) {
        load.encoders += encoder.isStarted ? 1 : 0;
        load.blocks += encoder.isStarted ? BlocksPerSecond(encoder.param) : 0;
    }
    return load;
}

bool Codecs::IsOverload(const Load& load) const
{
    return load.encoders > device_->limits.encodersAtSpeed || load.blocks > device_->limits.blocksAtSpeed;
}

// An encoder is to run, or not, with these parameters. Who raises the load beyond what runs at speed is told
// at once. That the overload has ended, all hear who were told of it, and who has ended it.
Result Codecs::ChangeLoad(EncoderChannel& encoder, bool isStarted, const VeskVideoEncParam& param)
{
    const DeviceLimits& limits = device_->limits;
    const Load before = RunningLoad();
    Load after = before;
    if (encoder.isStarted) {
        --after.encoders;
        after.blocks -= BlocksPerSecond(encoder.param);
    }
    if (isStarted) {
        ++after.encoders;
        after.blocks += BlocksPerSecond(param);
    }
    if (after.encoders > limits.encodersRunning || after.blocks > limits.blocksRunning) {
        LOG(kError,
            "encoder %u: there is room for %u encoders and %u blocks per second, not for %u and %" PRIu64,
            encoder.number, limits.encodersRunning, limits.blocksRunning, after.encoders, after.blocks);
        notifications_->Add(encoder.owner.procName, VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT, {},
                            encoder.number);
        return VESK_SERVICE_ERR_ROOM;
    }
    const bool isRaised = after.encoders > before.encoders || after.blocks > before.blocks;
    if (IsOverload(after) && isRaised)
        NotifyLoad(encoder, true);
    if (IsOverload(after) ? isRaised : IsOverload(before))
        encoder.hearsOfRecovery = true;
    return kOk;
}

void Codecs::NotifyLoad(const EncoderChannel& encoder, bool isOverload)
{
    const VeskVideoEncOverloadStatus status{encoder.number, isOverload ? 1U : 0U};
    notifications_->Add(encoder.owner.procName, VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, BytesOf(status));
}

Result Codecs::CreateDecoder(const Sender& sender, uint32_t* decStmNo)
{
    const Result result = decoders.Create(sender, decStmNo);
    if (result == kOk) {
        DecoderChannel& decoder = *decoders.Find(*decStmNo);
        decoder.serial = ++created_;
        decoder.param = device_->defaults.decoder;
    }
    return result;
}

Result Codecs::SetDecoderParam(DecoderChannel& decoder, const VeskVideoDecParam& param)
{
    const std::string channel = "decoder " + std::to_string(decoder.number);
    if (FindCodec(device_->decode, channel, "codecType", param.codecType) == nullptr ||
        !HasPicture(device_->pictures, channel, param))
        return VESK_SERVICE_ERR_VALUE;
    decoder.param = param;
    decoder.hasParam = true;
    ++decoder.counted.changes;
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
    NotifyState(decoder);
    for (const auto& [number, loop] : loops.All()) {
        const Ends ends = EndsOf(loop);
        if (loop.isOn && ends.decoder == &decoder && ends.encoder != nullptr)
            RequestKeyFrame(*ends.encoder);
    }
    return kOk;
}

Result Codecs::StopDecoder(DecoderChannel& decoder)
{
    const Result result = decoder.Stop();
    if (result == kOk)
        NotifyState(decoder);
    return result;
}

Result Codecs::DeleteDecoder(DecoderChannel& decoder)
{
    StopDecoder(decoder);
    decoders.Erase(decoder);
    return kOk;
}

void Codecs::NotifyState(const DecoderChannel& decoder)
{
    notifications_->Add(decoder.owner.procName, VESK_VIDEO_ON_DECODE_STATUS_NOTIFY,
                        BytesOf(VeskServiceDecodeState{decoder.number, decoder.isStarted ? 1U : 0U}));
}

Result Codecs::CreateLoop(const Sender& sender, const VeskVideoStreamLoopParam& param, uint32_t* loop)
{
    const EncoderChannel* encoder = encoders.Find(param.encNo);
    const DecoderChannel* decoder = decoders.Find(param.decNo);
    if (encoder == nullptr || decoder == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    const Result result = loops.Create(sender, loop);
    if (result == kOk) {
        Loop& created = *loops.Find(*loop);
        created.param = param;
        created.encoderSerial = encoder->serial;
        created.decoderSerial = decoder->serial;
    }
    return result;
}

// The outcome is notified too. One without an end can only be switched off.
Result Codecs::SwitchLoop(Loop& loop, Argument<"enable"> enable)
{
    const Ends ends = EndsOf(loop);
    const Result result = enable == 0 || ends.AreThere() ? kOk : Result{VESK_SERVICE_ERR_NUMBER};
    if (result != kOk)
        LOG(kError, "loop %u: %s %u, which it was made for, is gone", loop.number,
            ends.encoder == nullptr ? "encoder" : "decoder",
            ends.encoder == nullptr ? loop.param.encNo : loop.param.decNo);
    const bool wasOn = std::exchange(loop.isOn, enable != 0 && result == kOk);
    notifications_->Add(loop.owner.procName, VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, {}, enable, result);
    if (loop.isOn && !wasOn && ends.Run())
        RequestKeyFrame(*ends.encoder);
    return result;
}

const EncoderChannel* Codecs::LoopedTo(const DecoderChannel& decoder)
{
    for (const auto& [number, loop] : loops.All()) {
        const Ends ends = EndsOf(loop);
        if (loop.isOn && ends.decoder == &decoder && ends.Run())
            return ends.encoder;
    }
    return nullptr;
}

Codecs::Ends Codecs::EndsOf(const Loop& loop)
{
    return {FindAgain(encoders, loop.param.encNo, loop.encoderSerial),
            FindAgain(decoders, loop.param.decNo, loop.decoderSerial)};
}

// It counts where it is made, and where it is carried to.
void Codecs::CountKeyFrame(EncoderChannel& encoder)
{
    ++encoder.counted.keyFrames;
    for (const auto& [number, loop] : loops.All()) {
        const Ends ends = EndsOf(loop);
        if (loop.isOn && ends.encoder == &encoder && ends.Run())
            ++ends.decoder->counted.keyFrames;
    }
}

void Codecs::RequestKeyFrame(const EncoderChannel& encoder)
{
    notifications_->Add(encoder.owner.procName, VESK_VIDEO_ON_IFREAME_REQUEST, {}, encoder.number);
}

} // namespace vesk::service
