// The drawing of one layer, and how it comes onto a picture.
#include "pictures/sheet.h"

#include "pictures/face.h"

#include <algorithm>
#include <iterator>

namespace vesk::pictures {

namespace {

constexpr uint32_t kFull = 255;

/// Each channel of a colour times @p by / 255, rounded.
uint32_t Times(uint32_t colour, uint32_t by)
{
    constexpr uint32_t kOdd = 0x00ff00ff, kHalf = 0x00800080;
    const auto times = [by](uint32_t channels) {
        const uint32_t product = channels * by + kHalf;
        return ((product + (product >> 8U & kOdd)) >> 8U) & kOdd;
    };
    return times(colour & kOdd) | times(colour >> 8U & kOdd) << 8U;
}

void BlendRow(uint32_t* to, const uint32_t* from, size_t length, uint32_t opacity)
{
    for (size_t i = 0; i < length; ++i) {
        const uint32_t colour = opacity == kFull ? from[i] : Times(from[i], opacity);
        const uint32_t alpha = colour >> 24U;
        if (alpha == kFull)
            to[i] = colour;
        else if (alpha != 0)
            to[i] = colour + Times(to[i], kFull - alpha);
    }
}

/// Lays the parts of pieces over the row @p y of a drawing from column @p from on.
void AddPieces(uint32_t* row, int32_t y, int32_t from, int32_t length, const std::vector<Piece>& pieces)
{
    for (const Piece& piece : pieces) {
        const Rect shared = Shared(piece.Where(), {from, y, length, 1});
        if (shared.IsEmpty())
            continue;
        const size_t column = static_cast<size_t>(shared.x - piece.x),
                     line = static_cast<size_t>(y - piece.y);
        BlendRow(row + (shared.x - from),
                 piece.picture->pixels.data() + line * piece.picture->size.width + column,
                 static_cast<size_t>(shared.width), kFull);
    }
}

} // namespace

Rect Shared(const Rect& a, const Rect& b)
{
    const int32_t left = std::max(a.x, b.x), top = std::max(a.y, b.y);
    const int32_t width = std::min(a.x + a.width, b.x + b.width) - left,
                  height = std::min(a.y + a.height, b.y + b.height) - top;
    return width <= 0 || height <= 0 ? Rect{} : Rect{left, top, width, height};
}

Rect Moved(const Rect& rect, int32_t right, int32_t down)
{
    return {rect.x + right, rect.y + down, rect.width, rect.height};
}

bool Contains(const Rect& outer, const Rect& inner)
{
    return Shared(outer, inner) == inner;
}

Sheet::Sheet(const Look& look, bool hasTicker, const Font& font) : look_(look), face_(DrawFace(look, font))
{
    isOpaque_ = std::all_of(face_.pixels.begin(), face_.pixels.end(),
                            [](uint32_t pixel) { return pixel >> 24U == kFull; });
    if (hasTicker)
        ticker_.emplace(look, font);
}

std::vector<Piece> Sheet::PiecesAt(const std::optional<Moment>& moment)
{
    return ticker_ && moment ? ticker_->At(*moment) : std::vector<Piece>();
}

void Sheet::Blend(Picture& onto, const Rect& place, const Rect& region, const std::vector<Piece>& pieces,
                  uint32_t opacity) const
{
    const Rect seen = Shared(place, region);
    const Rect own = Moved(seen, -place.x, -place.y);
    std::vector<Piece> near;
    std::copy_if(pieces.begin(), pieces.end(), std::back_inserter(near),
                 [&](const Piece& piece) { return !Shared(piece.Where(), own).IsEmpty(); });
    const bool isCopied = isOpaque_ && opacity == 100;
    const auto length = static_cast<size_t>(seen.width);
    std::vector<uint32_t> mixed(isCopied ? 0 : length);
    for (int32_t y = 0; y < own.height; ++y) {
        uint32_t* to = onto.pixels.data() + static_cast<size_t>(seen.y + y) * onto.size.width + seen.x;
        const uint32_t* from =
            face_.pixels.data() + static_cast<size_t>(own.y + y) * face_.size.width + own.x;
        uint32_t* row = isCopied ? to : mixed.data();
        std::copy_n(from, length, row);
        AddPieces(row, own.y + y, own.x, own.width, near);
        if (!isCopied)
            BlendRow(to, row, length, (opacity * kFull + 50) / 100);
    }
}

} // namespace vesk::pictures
