// What a display shows, as the scene document of the virtual service says.
#pragma once

#include "pictures/picture.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace vesk::pictures {

enum class ShowMode { kStretch, kFit, kFill, kCentre };

/// What an input delivers: of a layer that shows an input, or at the other end of an encoder's loop.
struct Input {
    uint64_t inEngNo = 0;
    std::optional<uint64_t> viPort; ///< Of one that is open.
    std::string name;               ///< The port's.
    std::string application;        ///< The name that an application gives to what it captures.
    std::string file;               ///< What takes the place of the camera.
    Size size;                      ///< Of the whole picture; empty if unknown.
    Rect part;                      ///< The part of it that is delivered or seen.
    uint64_t fr = 0;                ///< Pictures a second; 0 if unknown.
    std::string showing;            ///< "live", "frozen", or why there is no picture.
    uint64_t frozenAtMs = 0;        ///< The time of the picture of one that is frozen.
};

/// What a decoder delivers.
struct Decoder {
    uint64_t decStmNo = 0;
    uint64_t codec = 0;
    std::string owner;           ///< "tour[812]"
    uint64_t frames = 0;         ///< Decoded until the scene's time.
    uint64_t fr = 0;             ///< Pictures a second; 0 if unknown.
    uint64_t encStmNo = 0;       ///< The encoder at the other end of its loop, if @ref looped is there.
    std::optional<Input> looped; ///< What that encoder encodes.
};

struct Layer {
    enum class Source {
        kWallpaper,
        kDefaultImage,
        kInput,
        kDecoder,
        kFilterWindow,
        kOverlay,
        kRemotePointer,
        kLocalPointer,
    };

    Source source = Source::kInput;
    uint64_t number = 0; ///< Of the engine, channel or stream.
    std::optional<uint64_t> subPic;
    uint64_t winHandle = 0;
    std::string showing; ///< "live", "frozen", "covered", or why it is not seen.
    std::string file;    ///< Of images and overlays.
    Input input;         ///< Of an input.
    Decoder decoder;     ///< Of a decoder.
    Size size;           ///< Of the whole source; empty if unknown.
    Rect part;           ///< Of the source, seen in rect; empty if the size is unknown.
    Rect window;         ///< On the display; may reach beyond it.
    Rect rect;           ///< What the display shows of that; empty if nothing.
    ShowMode showMode = ShowMode::kStretch;
    bool isMirroredHorizontally = false;
    bool isMirroredVertically = false;
    uint32_t opacity = 100; ///< Per cent.
    uint64_t frozenAtMs = 0;

    bool IsLive() const { return showing == "live" || showing == "frozen"; }
};

struct Scene {
    uint64_t voPort = 0;
    std::string name;
    Size canvas;
    uint64_t fr = 0;
    uint64_t atMs = 0; ///< Time of the device.
    uint64_t outEngNo = 0;
    std::string showing;
    std::vector<Layer> layers; ///< From back to front.
};

/// Reads one scene of a document. Numbers are held to bounds that a drawing can bear, since documents come
/// from files, too. @throw Error, which names the member and its value
Scene ReadScene(const nlohmann::ordered_json& document);

/// Reads "scenes" of a document, or the one scene that it is. @throw Error as above
std::vector<Scene> ReadScenes(const nlohmann::ordered_json& document);

} // namespace vesk::pictures
