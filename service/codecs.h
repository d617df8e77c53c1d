// Encoder and decoder channels, and the loops between them.
#pragma once

#include "service/numbered.h"

namespace vesk::service {

class Codecs {
public:
    /// What both kinds of channel have.
    struct Channel : Owned {
        uint32_t queId = 0;
        bool hasParam = false;
        bool isStarted = false;
        VeskServiceCodecStatistics statistics{};
    };

    struct Encoder : Channel {
        VeskVideoEncParam param{};
        VeskVideoEncParamEx paramEx{};
        VeskVideoEncFecParam fec{};
        uint32_t keyFrames = 0;
    };

    struct Decoder : Channel {
        VeskVideoDecParam param{};
        VeskVideoDecParamEx paramEx{};
        uint32_t antiJitter = 0;
    };

    struct Loop : Owned {
        VeskVideoStreamLoopParam param{};
        bool isOn = false;
    };

    explicit Codecs(Notifications& notifications) : notifications_(notifications) {}

    void Release(pid_t process);

    Numbered<Encoder> encoders{VESK_SERVICE_MAX_ENCODERS};
    Numbered<Decoder> decoders{VESK_SERVICE_MAX_ENCODERS};
    Numbered<Loop> loops{VESK_SERVICE_MAX_LOOPS};

    Result SetEncoderParam(const Request&, Encoder&, const VeskVideoEncParam&);
    Result SetEncoderParamEx(const Request&, Encoder&, const VeskVideoEncParamEx&);
    Result StartEncoder(const Request&, Encoder&);
    Result StopEncoder(const Request&, Encoder&);
    Result ForceKeyFrame(const Request&, Encoder&);
    Result ModifyFrameRate(const Request&, Encoder&);
    Result GetEncoderStatus(const Request&, Encoder&, VeskServiceCodecStatus*);
    Result GetAllEncoderStatus(const Request&, std::vector<VeskServiceCodecStatusInfo>*);
    Result GetEncoderStatistics(const Request&, Encoder&, VeskVideoEncChrStatistics*);
    Result GetEncodeCapability(const Request&, VeskVideoEncodeCapability*);

    Result SetDecoderParam(const Request&, Decoder&, const VeskVideoDecParam&);
    Result StartDecoder(const Request&, Decoder&);
    Result StopDecoder(const Request&, Decoder&);
    Result GetDecoderStatus(const Request&, Decoder&, VeskServiceCodecStatus*);
    Result GetAllDecoderStatus(const Request&, std::vector<VeskServiceCodecStatusInfo>*);
    Result GetDecoderStatistics(const Request&, Decoder&, VeskVideoDecChrStatistics*);
    Result GetDecodeCapability(const Request&, VeskVideoDecodeCapability*);

    Result CreateLoop(const Request&, const VeskVideoStreamLoopParam&, uint32_t* loopHandle);
    Result SwitchLoop(const Request&, Loop&);

private:
    size_t RunningEncoders() const;
    void NotifyLoad(const std::string& procName, uint64_t encStmNo, bool isOverload);

    Notifications& notifications_;
};

} // namespace vesk::service
