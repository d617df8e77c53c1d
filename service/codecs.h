// Encoder and decoder channels, and the loops between them.
#pragma once

#include "service/device_description.h"
#include "service/numbered.h"

#include <bit>
#include <cstring>

namespace vesk::service {

/// What both kinds of channel have.
struct Channel : Startable {
    uint32_t queId = 0;
    bool hasParam = false;
    VeskServiceCodecStatistics statistics{};

    Result Start();
    Result Stop();

    template <class Record>
    Result GetStatistics(Record* record)
    {
        static_assert(sizeof(Record) >= sizeof statistics);
        std::memcpy(record, &statistics, sizeof statistics);
        return kOk;
    }
};

struct EncoderChannel : Channel {
    VeskVideoEncParam param{};
    VeskVideoEncParamEx paramEx{};
    VeskVideoEncFecParam fec{};
    uint32_t keyFrames = 0;

    VeskServiceCodecStatus Status() const;

    Result SetParamEx(const VeskVideoEncParamEx&);
    Result ForceKeyFrame();
};

struct DecoderChannel : Channel {
    VeskVideoDecParam param{};
    VeskVideoDecParamEx paramEx{};
    uint32_t antiJitter = 0;

    VeskServiceCodecStatus Status() const;
};

/// Carries what an encoder makes to a decoder.
struct Loop : Owned {
    VeskVideoStreamLoopParam param{};
    bool isOn = false;
};

class Codecs {
public:
    Codecs(Notifications& notifications, const DeviceDescription& device);

    void Release(HostProcess process);

    Numbered<EncoderChannel> encoders;
    Numbered<DecoderChannel> decoders;
    Numbered<Loop> loops;

    Result CreateEncoder(const Sender&, uint32_t* encStmNo);
    Result SetEncoderParam(EncoderChannel&, const VeskVideoEncParam&);
    Result ModifyFrameRate(EncoderChannel&, Argument<"frameRate">);
    Result StartEncoder(EncoderChannel&);
    Result StopEncoder(EncoderChannel&);
    Result DeleteEncoder(EncoderChannel&);
    Result GetEncodeCapability(VeskVideoEncodeCapability*);

    Result CreateDecoder(const Sender&, uint32_t* decStmNo);
    Result SetDecoderParam(DecoderChannel&, const VeskVideoDecParam&);
    Result SetDecoderParamEx(DecoderChannel&, const VeskVideoDecParamEx&);
    Result StartDecoder(DecoderChannel&);
    Result GetDecodeCapability(VeskVideoDecodeCapability*);

    template <class CodecChannel, class Record>
    Result GetStatus(CodecChannel& channel, Record* status)
    {
        *status = std::bit_cast<Record>(channel.Status());
        return kOk;
    }

    /// As many entries as the request has: the channels in the order of their numbers, then zeros.
    template <auto channels, class Record>
    Result ListStatus(std::span<const Record> asked, std::vector<Record>* infos)
    {
        for (const auto& [stmNo, channel] : (this->*channels).All())
            infos->push_back(std::bit_cast<Record>(VeskServiceCodecStatusInfo{stmNo, channel.Status()}));
        infos->resize(asked.size());
        return kOk;
    }

    Result CreateLoop(const Sender&, const VeskVideoStreamLoopParam&, uint32_t* loop);
    Result SwitchLoop(Loop&, Argument<"enable">);

private:
    size_t RunningEncoders();
    void NotifyLoad(const EncoderChannel&, bool isOverload);
    void NotifyRecreation(const DecoderChannel&);

    Notifications* notifications_;
    const DeviceDescription* device_;
};

} // namespace vesk::service
