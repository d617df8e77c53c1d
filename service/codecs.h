// Encoder and decoder channels, and the loops between them.
#pragma once

#include "service/device_description.h"
#include "service/frame_count.h"
#include "service/numbered.h"
#include "service/timeline.h"

#include <bit>
#include <cstring>

namespace vesk::service {

/// What both kinds of channel have.
struct Channel : Startable {
    uint64_t serial = 0; ///< Tells it from others that have had its number.
    uint32_t queId = 0;
    bool hasParam = false;
    VeskServiceCodecStatistics counted{}; ///< But for the frames.
    FrameCount frames;

    Result Start();
    Result Stop();
};

struct EncoderChannel : Channel {
    VeskVideoEncParam param{};
    VeskVideoEncParamEx paramEx{};
    VeskVideoEncFecParam fec{};
    uint32_t keyFrames = 0;
    bool hearsOfRecovery = false; ///< Its owner is notified when the overload ends.

    VeskServiceCodecStatus Status() const;

    Result SetParamEx(const VeskVideoEncParamEx&);
};

struct DecoderChannel : Channel {
    VeskVideoDecParam param{};
    VeskVideoDecParamEx paramEx{};
    uint32_t antiJitter = 0;
    uint32_t frameRate = 0; ///< Of what comes to it.

    VeskServiceCodecStatus Status() const;
};

/// Carries what an encoder makes to a decoder.
struct Loop : Owned {
    VeskVideoStreamLoopParam param{};
    uint64_t encoderSerial = 0;
    uint64_t decoderSerial = 0;
    bool isOn = false;
};

class Codecs {
public:
    Codecs(Notifications& notifications, const DeviceDescription& device, const Timeline& timeline);

    void Release(HostProcess process);

    /// Draws the consequences of what a request has changed: loops without an end are off, frames come at
    /// other rates, and an overload may be over.
    void Settle();

    Numbered<EncoderChannel> encoders;
    Numbered<DecoderChannel> decoders;
    Numbered<Loop> loops;

    Result CreateEncoder(const Sender&, uint32_t* encStmNo);
    Result SetEncoderParam(EncoderChannel&, const VeskVideoEncParam&);
    Result ModifyFrameRate(EncoderChannel&, Argument<"frameRate">);
    Result StartEncoder(EncoderChannel&);
    Result StopEncoder(EncoderChannel&);
    Result ForceKeyFrame(EncoderChannel&);
    Result DeleteEncoder(EncoderChannel&);
    Result GetEncodeCapability(VeskVideoEncodeCapability*);

    Result CreateDecoder(const Sender&, uint32_t* decStmNo);
    Result SetDecoderParam(DecoderChannel&, const VeskVideoDecParam&);
    Result SetDecoderParamEx(DecoderChannel&, const VeskVideoDecParamEx&);
    Result StartDecoder(DecoderChannel&);
    Result StopDecoder(DecoderChannel&);
    Result DeleteDecoder(DecoderChannel&);
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

    VeskServiceCodecStatistics StatisticsOf(const Channel&) const;

    template <class CodecChannel, class Record>
    Result GetStatistics(CodecChannel& channel, Record* record)
    {
        const VeskServiceCodecStatistics statistics = StatisticsOf(channel);
        static_assert(sizeof(Record) >= sizeof statistics);
        std::memcpy(record, &statistics, sizeof statistics);
        return kOk;
    }

    Result CreateLoop(const Sender&, const VeskVideoStreamLoopParam&, uint32_t* loop);
    Result SwitchLoop(Loop&, Argument<"enable">);
    /// The first encoder from which a loop brings frames to a decoder now; null if there is none.
    const EncoderChannel* LoopedTo(const DecoderChannel&);

private:
    /// What the encoders that run take of the device.
    struct Load {
        uint32_t encoders = 0;
        uint64_t blocks = 0; ///< Macroblocks per second.
    };
    Load RunningLoad();
    bool IsOverload(const Load&) const;
    Result ChangeLoad(EncoderChannel&, bool isStarted, const VeskVideoEncParam&);
    void NotifyLoad(const EncoderChannel&, bool isOverload);

    /// The ends of a loop, as far as they are still there.
    struct Ends {
        EncoderChannel* encoder;
        DecoderChannel* decoder;

        bool AreThere() const { return encoder != nullptr && decoder != nullptr; }
        bool Run() const { return AreThere() && encoder->isStarted && decoder->isStarted; }
    };
    Ends EndsOf(const Loop&);

    void CountKeyFrame(EncoderChannel&);
    void RequestKeyFrame(const EncoderChannel&);
    void NotifyState(const DecoderChannel&);
    void NotifyRecreation(const DecoderChannel&);

    Notifications* notifications_;
    const DeviceDescription* device_;
    const Timeline* timeline_;
    uint64_t created_ = 0; // channels
};

} // namespace vesk::service
