// What a display shows: its layers from back to front, as plain data.
#pragma once

#include "service/placement.h"
#include "service/request.h"
#include "service/showing.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vesk::service {

/// What an input engine delivers.
struct InputPicture {
    uint32_t inEngNo = 0;
    Showing showing = Showing::kLive;
    uint64_t frozenAtMs = 0; ///< The time of the picture that is seen, of one that is frozen.
    uint32_t viPort = 0;
    std::string name{};        ///< The port's.
    std::string application{}; ///< Name that an application gives to what it captures.
    std::string file{};        ///< Path of what takes the place of a camera.
    Size size{};
    uint32_t fr = 0;        ///< 0 if there is no picture.
    VeskServiceRect part{}; ///< Of the whole: what the camera delivers of it, in the same size.
};

/// What a decoder decodes.
struct DecoderPicture {
    int32_t codec = 0; ///< As its parameters say.
    Sender owner{};
    uint64_t frames = 0;                 ///< Decoded so far.
    uint32_t fr = 0;                     ///< 0 while nothing comes.
    std::optional<uint32_t> encStmNo{};  ///< Encoder whose frames a loop brings now.
    std::optional<InputPicture> input{}; ///< What that encoder encodes, if an input is connected to it.
};

struct Layer {
    enum class Source {
        kWallpaper,
        kDefaultImage,
        kInput,
        kDecoder,
        kFilterWindow, ///< Nothing: it hides the pictures behind it.
        kOverlay,
        kRemotePointer,
        kLocalPointer,
    };

    Source source = Source::kInput;
    Showing showing = Showing::kLive;
    uint32_t number = 0;       ///< Of the engine, channel or stream.
    int32_t viPort = -1;       ///< Of an input that is open.
    int32_t subPic = -1;       ///< Which of the engine's pictures it is, or lies in.
    uint64_t winHandle = 0;    ///< Of that picture.
    std::string name{};        ///< The input port's.
    std::string application{}; ///< Name that an application gives to what it captures for the input.
    std::string file{};        ///< Path of an image, or of the file that takes the place of a camera.
    uint32_t fr = 0;           ///< Of an input's picture; 0 if there is none.
    Size size{};               ///< Of the whole source; unknown for images, which are not read, and queues.
    Placement place{};         ///< In the display's pixels and the source's.
    uint32_t showMode = 0;     ///< VeskServiceShowMode; place has it worked in unless the size is unknown.
    uint32_t mirror = 0;       ///< VeskServiceMirror.
    uint32_t opacity = 100;    ///< Per cent.
    uint64_t frozenAtMs = 0;   ///< The time of the picture that is seen, of one that is frozen.
    std::optional<DecoderPicture> decoded{};

    /// A picture: what comes from an input or a decoder, or stands for all of them.
    bool IsPicture() const
    {
        return source == Source::kInput || source == Source::kDecoder || source == Source::kDefaultImage;
    }
    /// True while there is a picture on the display, be it behind others.
    bool Appears() const { return showing <= Showing::kCovered; }
};

/// The word for what it shows: "input", "filter window" and so on.
const char* WordOf(Layer::Source);

struct Scene {
    uint32_t voPort = 0;
    std::string name; ///< The display's.
    Size canvas;
    uint32_t fr = 0;
    uint64_t atMs = 0;     ///< Time of the device.
    uint32_t outEngNo = 0; ///< Engine that drives the display, 0 for none.
    Showing showing = Showing::kLive;
    std::vector<Layer> layers; ///< From back to front; none appears unless the scene is live.
};

class Service;
struct Display;

/// What a display shows now.
Scene SceneOf(Service&, const Display&);

/// The same with pictures alone, of which it is said neither which are covered nor what decoders decode.
Scene PicturesOf(Service&, const Display&);

} // namespace vesk::service
