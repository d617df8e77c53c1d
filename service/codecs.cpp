// Encoder and decoder channels, and the loops between them.
#include "service/codecs.h"

#include <algorithm>
#include <cstring>

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

Result StartChannel(Codecs::Channel& channel)
{
    if (!channel.hasParam || channel.isStarted)
        return VESK_SERVICE_ERR_STATE;
    channel.isStarted = true;
    ++channel.statistics.starts;
    return kOk;
}

Result StopChannel(Codecs::Channel& channel)
{
    const Result result = StopIfStarted(channel.isStarted);
    channel.statistics.stops += result == kOk ? 1 : 0;
    return result;
}

bool IsPicture(uint32_t width, uint32_t height)
{
    return width >= kBlock && width <= kMaxWidth && height >= kBlock && height <= kMaxHeight;
}

VeskServiceCodecStatus StatusOf(const Codecs::Encoder& encoder)
{
    const bool hasFec = encoder.fec.lossRate > 0 || encoder.fec.constLostNum != 0;
    return {encoder.isStarted ? 1U : 0U, encoder.param.w, encoder.param.h, encoder.param.fr, encoder.queId,
            encoder.keyFrames,           hasFec ? 1U : 0U};
}

VeskServiceCodecStatus StatusOf(const Codecs::Decoder& decoder)
{
    return {decoder.isStarted ? 1U : 0U, decoder.param.w, decoder.param.h, 0, decoder.queId, 0,
            decoder.antiJitter};
}

/// As many entries as were asked for: the channels in order of their numbers, then nothing.
template <class Channel>
Result ListStatus(const Request& request, const std::map<uint32_t, Channel>& channels,
                  std::vector<VeskServiceCodecStatusInfo>* infos)
{
    infos->reserve(request.head.ulParam1); // bounded: as many came with the request
    for (const auto& [stmNo, channel] : channels)
        infos->push_back({stmNo, StatusOf(channel)});
    infos->resize(request.head.ulParam1);
    return kOk;
}

template <class Record>
Result PutStatistics(const Codecs::Channel& channel, Record* record)
{
    static_assert(sizeof(Record) >= sizeof channel.statistics);
    std::memcpy(record, &channel.statistics, sizeof channel.statistics);
    return kOk;
}

} // namespace

void Codecs::Release(pid_t process)
{
    encoders.Release(process);
    decoders.Release(process);
    loops.Release(process);
}

Result Codecs::SetEncoderParam(const Request&, Encoder& encoder, const VeskVideoEncParam& param)
{
    if (!IsPicture(param.w, param.h) || param.fr > kMaxFrameRate)
        return VESK_SERVICE_ERR_VALUE;
    encoder.param = param;
    encoder.hasParam = true;
    ++encoder.statistics.changes;
    return kOk;
}

Result Codecs::SetEncoderParamEx(const Request&, Encoder& encoder, const VeskVideoEncParamEx& param)
{
    encoder.paramEx = param;
    ++encoder.statistics.changes;
    return kOk;
}

Result Codecs::StartEncoder(const Request& request, Encoder& encoder)
{
    const Result result = StartChannel(encoder);
    if (result == kOk && RunningEncoders() > VESK_SERVICE_ENCODERS_AT_SPEED)
        NotifyLoad(encoder.owner.procName, request.head.ulParam1, true);
    return result;
}

Result Codecs::StopEncoder(const Request& request, Encoder& encoder)
{
    const Result result = StopChannel(encoder);
    if (result == kOk && RunningEncoders() == VESK_SERVICE_ENCODERS_AT_SPEED)
        NotifyLoad(encoder.owner.procName, request.head.ulParam1, false);
    return result;
}

size_t Codecs::RunningEncoders() const
{
    const auto& all = encoders.All();
    return static_cast<size_t>(
        std::count_if(all.begin(), all.end(), [](const auto& entry) { return entry.second.isStarted; }));
}

void Codecs::NotifyLoad(const std::string& procName, uint64_t encStmNo, bool isOverload)
{
    const VeskVideoEncOverloadStatus status{static_cast<uint32_t>(encStmNo), isOverload ? 1U : 0U};
    notifications_.push_back(Notification::Of(procName, VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, status));
}

Result Codecs::ForceKeyFrame(const Request&, Encoder& encoder)
{
    if (!encoder.isStarted)
        return VESK_SERVICE_ERR_STATE;
    ++encoder.keyFrames;
    return kOk;
}

Result Codecs::ModifyFrameRate(const Request& request, Encoder& encoder)
{
    if (!encoder.hasParam)
        return VESK_SERVICE_ERR_STATE;
    if (request.head.ulParam1 == 0 || request.head.ulParam1 > kMaxFrameRate)
        return VESK_SERVICE_ERR_VALUE;
    encoder.param.fr = static_cast<uint32_t>(request.head.ulParam1);
    ++encoder.statistics.changes;
    return kOk;
}

Result Codecs::GetEncoderStatus(const Request&, Encoder& encoder, VeskServiceCodecStatus* status)
{
    *status = StatusOf(encoder);
    return kOk;
}

Result Codecs::GetAllEncoderStatus(const Request& request, std::vector<VeskServiceCodecStatusInfo>* infos)
{
    return ListStatus(request, encoders.All(), infos);
}

Result Codecs::GetEncoderStatistics(const Request&, Encoder& encoder, VeskVideoEncChrStatistics* statistics)
{
    return PutStatistics(encoder, statistics);
}

Result Codecs::GetEncodeCapability(const Request&, VeskVideoEncodeCapability* capability)
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

Result Codecs::SetDecoderParam(const Request&, Decoder& decoder, const VeskVideoDecParam& param)
{
    if (!IsPicture(param.w, param.h))
        return VESK_SERVICE_ERR_VALUE;
    decoder.param = param;
    decoder.hasParam = true;
    ++decoder.statistics.changes;
    return kOk;
}

// A decoder that starts needs a key frame from every encoder that is looped to it.
Result Codecs::StartDecoder(const Request& request, Decoder& decoder)
{
    if (const Result result = StartChannel(decoder); result != kOk)
        return result;
    const auto decStmNo = static_cast<uint32_t>(request.head.ulParam1);
    notifications_.push_back(Notification::Of(decoder.owner.procName, VESK_VIDEO_ON_DECODE_STATUS_NOTIFY,
                                              VeskServiceDecodeState{decStmNo, 1}));
    for (const auto& [handle, loop] : loops.All()) {
        const Encoder* encoder = encoders.Find(loop.param.encNo);
        if (loop.isOn && loop.param.decNo == decStmNo && encoder != nullptr)
            notifications_.push_back(
                {encoder->owner.procName, VESK_VIDEO_ON_IFREAME_REQUEST, {}, loop.param.encNo});
    }
    return kOk;
}

Result Codecs::StopDecoder(const Request&, Decoder& decoder)
{
    return StopChannel(decoder);
}

Result Codecs::GetDecoderStatus(const Request&, Decoder& decoder, VeskServiceCodecStatus* status)
{
    *status = StatusOf(decoder);
    return kOk;
}

Result Codecs::GetAllDecoderStatus(const Request& request, std::vector<VeskServiceCodecStatusInfo>* infos)
{
    return ListStatus(request, decoders.All(), infos);
}

Result Codecs::GetDecoderStatistics(const Request&, Decoder& decoder, VeskVideoDecChrStatistics* statistics)
{
    return PutStatistics(decoder, statistics);
}

Result Codecs::GetDecodeCapability(const Request&, VeskVideoDecodeCapability* capability)
{
    capability->maxChannel = VESK_SERVICE_MAX_ENCODERS;
    for (const uint32_t number : {kH264, kH265})
        DescribeCodec(capability->codec[number], number);
    return kOk;
}

Result Codecs::CreateLoop(const Request& request, const VeskVideoStreamLoopParam& param, uint32_t* loopHandle)
{
    if (encoders.Find(param.encNo) == nullptr || decoders.Find(param.decNo) == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    const Result result = loops.Create(request.sender, loopHandle);
    if (result == kOk)
        loops.Find(*loopHandle)->param = param;
    return result;
}

// How it ended is notified too.
Result Codecs::SwitchLoop(const Request& request, Loop& loop)
{
    loop.isOn = request.head.ulParam1 != 0;
    notifications_.push_back(
        {loop.owner.procName, VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, {}, request.head.ulParam1, 0});
    return kOk;
}

} // namespace vesk::service
