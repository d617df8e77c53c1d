// What one layer looks like, apart from where it lies and from what changes with each frame.
#pragma once

#include "pictures/transform.h"

#include <memory>

namespace vesk::pictures {

struct Look {
    enum class Kind {
        kTestPicture, ///< What a camera delivers, in colours of its own.
        kDecoded,     ///< What a decoder delivers.
        kPanel,       ///< Says why there is nothing else.
        kImage,
        kPointer,
    };

    Kind kind = Kind::kPanel;
    Size size{};           ///< Of the drawing.
    Size source{};         ///< Of the whole source, in whose coordinates it is drawn.
    Transform transform{}; ///< From the source's coordinates to those of the drawing.
    double hue = 0;        ///< 0 to 1.
    double shade = 1;      ///< Opacity of a panel.
    size_t digits = 0;     ///< Of the minutes of the clock; 0: there is none.
    std::string title{};   ///< Texts are printable.
    std::vector<std::string> lines{};
    std::string tag{}; ///< In the corner of a test picture, upright.
    std::shared_ptr<const Picture> image{};

    bool operator==(const Look&) const = default;
};

/// A moment that a counter shows. There is one for each frame.
struct Moment {
    uint64_t ms = 0;
    uint64_t frame = 0;
    uint32_t fr = 1; ///< Frames in which the mark goes round.

    bool operator==(const Moment&) const = default;
};

} // namespace vesk::pictures
