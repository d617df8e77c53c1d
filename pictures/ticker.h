// What changes on a drawing with each frame: a clock, a number and a mark that goes round.
#pragma once

#include "pictures/font.h"
#include "pictures/look.h"

#include <map>

namespace vesk::pictures {

/// A small picture that is laid over a drawing; the place of its corner, which may be outside.
struct Piece {
    int32_t x = 0;
    int32_t y = 0;
    const Picture* picture = nullptr; ///< Null: there is none.

    Rect Where() const
    {
        return picture == nullptr ? Rect{}
                                  : Rect{x, y, int32_t(picture->size.width), int32_t(picture->size.height)};
    }
    bool operator==(const Piece&) const = default;
};

class Ticker {
public:
    /// For a look that has a moment; @p font outlives it.
    Ticker(const Look& look, const Font& font);

    /// The pieces at a moment, mostly as many each time. Their pictures are the ticker's.
    std::vector<Piece> At(const Moment& moment);

private:
    /// Characters of one size.
    struct Line {
        double x, y, size; ///< Where it begins, on its baseline.
        std::map<char, Picture> glyphs;
    };

    void Write(Line& line, std::string_view text, size_t length, std::vector<Piece>& pieces);
    Piece Glyph(Line& line, double x, char character);
    Piece Mark(const Moment& moment);
    /// What is drawn in a box round the origin of the source's coordinates; nothing if that would be too
    /// large beside the whole drawing.
    template <class Draw>
    Picture Drawn(const Box& box, const Draw& draw) const;

    const Font& font_;
    Size size_;
    Size source_;
    Transform transform_;
    double hue_;
    size_t digits_;
    std::vector<Line> lines_;
    Picture mark_;
};

} // namespace vesk::pictures
