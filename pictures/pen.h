// Draws in the coordinates of a source: whole pixels for edges, and text that is sharp at each scale.
#pragma once

#include "pictures/font.h"
#include "pictures/transform.h"

namespace vesk::pictures {

struct Colour {
    double red = 0, green = 0, blue = 0, opacity = 1;
};

inline constexpr Colour kWhite{1, 1, 1, 1};
inline constexpr Colour kPale{0.66, 0.72, 0.79, 1};
inline constexpr Colour kDark{0.07, 0.085, 0.11, 1};

/// @param hue  0 to 1, round the colour circle.
Colour OfHue(double hue, double saturation, double value, double opacity = 1);

enum class Align { kLeft, kCentre, kRight };

/// How a text is set.
struct Set {
    double size = 0;  ///< In the source's coordinates, as is the width.
    double width = 0; ///< What is longer is shortened.
    Align align = Align::kLeft;
    Weight weight = Weight::kNormal;
};

class Pen {
public:
    Pen(Picture& onto, const Transform& transform, const Font& font);

    void Fill(const Box& box, const Colour& colour);
    /// The inner edge of a box; of that width, but at least a pixel's.
    void Frame(const Box& box, double width, const Colour& colour);
    void Line(double fromX, double fromY, double toX, double toY, double pixels, const Colour& colour);
    void Ring(double x, double y, double radius, double pixels, const Colour& colour);
    void Text(double x, double y, const std::string& text, const Set& set, const Colour& colour);

    /// What is drawn of a box.
    Box Seen(const Box& whole) const;
    /// How many pixels a length has; the smaller of both directions.
    double Pixels(double length) const;
    cairo_t* Context() const { return context_.get(); }

private:
    void Take(const Colour& colour);
    /// False for what is so far outside, or so large, that cairo could not draw it.
    bool IsNear(double x, double y, double reach) const;

    CairoSurface surface_;
    CairoContext context_;
    Size size_;
    Transform transform_;
    const Font& font_;
};

} // namespace vesk::pictures
