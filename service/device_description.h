// What a virtual device has and can do.
#pragma once

#include "service/numbers.h"
#include "vesk_service/control.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vesk::service {

inline constexpr size_t kMaxPorts = 16;         ///< Of each direction.
inline constexpr uint32_t kMaxPixels = 16384;   ///< Of a picture's side.
inline constexpr uint32_t kMaxFrameRate = 1000; ///< Frames per second.
inline constexpr char kPictureRange[] = "1x1@1 to 16384x16384@1000";

/// True if it is in range, and not 0.
inline bool IsPicture(const VeskControlMode& mode)
{
    const auto isIn = [](uint32_t value, uint32_t most) { return value >= 1 && value <= most; };
    return isIn(mode.width, kMaxPixels) && isIn(mode.height, kMaxPixels) && isIn(mode.fr, kMaxFrameRate);
}

struct PortDescription {
    std::string name;
    VeskControlMode mode{};
    bool isPlugged = true;
};

/// The types of input ports.
enum InputType : uint32_t { kCamera = 1, kPc = 2, kNetCamera = VESK_VIDEO_PORT_TYPE_NET_CAMERA };

struct InputDescription : PortDescription {
    uint32_t type = kCamera;
};

/// How many there can be at a time.
struct DeviceLimits {
    uint32_t encoders = 0;
    uint32_t encodersRunning = 0;
    uint32_t encodersAtSpeed = 0; ///< Without an overload.
    uint32_t blocksRunning = 0;   ///< Macroblocks per second of all encoders that run.
    uint32_t blocksAtSpeed = 0;   ///< Without an overload.
    uint32_t decoders = 0;
    uint32_t overlays = 0;
    uint32_t mice = 0; ///< Streams of each kind.
    uint32_t uvc = 0;
    uint32_t loops = 0;
    uint32_t streams = 0; ///< That an input engine is connected to.
    uint32_t queues = 0;
    uint32_t ownQueues = 0;   ///< Of one process.
    uint32_t presets = 0;     ///< Of a camera.
    uint32_t presetQuery = 0; ///< Entries of one query.
};

/// Pictures that encoders and decoders take.
struct PictureBounds {
    uint32_t minWidth = 0;
    uint32_t maxWidth = 0;
    uint32_t minHeight = 0;
    uint32_t maxHeight = 0;
    uint32_t maxFrameRate = 0;
};

/// Macroblocks of a picture; those at its edges may be cut.
constexpr uint32_t BlocksOf(uint32_t width, uint32_t height)
{
    constexpr uint32_t kSide = 16; // pixels
    return (width + kSide - 1) / kSide * ((height + kSide - 1) / kSide);
}

struct CodecDescription {
    uint32_t number = 0;
    bool isSvc = false;
    std::vector<uint32_t> profiles;
    std::vector<uint32_t> fecs;
};

struct EncodeDescription : CodecDescription {
    uint32_t maxBandWidth = 0; ///< In kbit/s; 0 for no bound.
    uint32_t h264MaxLevel = 0;
    uint32_t h265MaxLevel = 0;
};

struct DecodeDescription : CodecDescription {
    bool isTile = false;
};

/// What engines and channels have before anything is set.
struct DefaultParameters {
    VeskVideoViPortParam input{};
    VeskVideoVoPortParam output{};
    VeskVideoEncParam encoder{};
    VeskVideoEncParamEx encoderEx{};
    VeskVideoDecParam decoder{};
};

struct DeviceDescription {
    std::vector<InputDescription> inputs;
    std::vector<PortDescription> outputs;
    DeviceLimits limits;
    PictureBounds pictures;
    std::vector<EncodeDescription> encode;
    std::vector<DecodeDescription> decode;
    DefaultParameters defaults;
    NumberSeed numbers;
};

} // namespace vesk::service
