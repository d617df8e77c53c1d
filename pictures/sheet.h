// The drawing of one layer, and how it comes onto a picture.
#pragma once

#include "pictures/plan.h"
#include "pictures/ticker.h"

namespace vesk::pictures {

/// The drawing of a look.
class Sheet {
public:
    Sheet(const Look& look, bool hasTicker, const Font& font);

    const Look& Of() const { return look_; }
    bool IsOpaque() const { return isOpaque_; }
    /// What lies over it at a moment.
    std::vector<Piece> PiecesAt(const std::optional<Moment>& moment);

    /// Lays the part of it that @p region of a picture shows onto that, with its corner at @p place.
    void Blend(Picture& onto, const Rect& place, const Rect& region, const std::vector<Piece>& pieces,
               uint32_t opacity) const;

private:
    Look look_;
    Picture face_;
    bool isOpaque_;
    std::optional<Ticker> ticker_;
};

/// What two rectangles share; empty if nothing.
Rect Shared(const Rect& a, const Rect& b);
Rect Moved(const Rect& rect, int32_t right, int32_t down);
bool Contains(const Rect& outer, const Rect& inner);

} // namespace vesk::pictures
