// Where the board in the middle of a test picture lies, and what is on it; in the source's coordinates.
#pragma once

#include "pictures/transform.h"

#include <algorithm>

namespace vesk::pictures {

struct Board {
    explicit Board(Size source)
        : unit(std::min(source.width * 9.0 / 16, double(source.height))), middleX(source.width / 2.0),
          middleY(source.height / 2.0)
    {
    }

    double unit; ///< The height of a picture whose sides are as 16 to 9.
    double middleX, middleY;

    Box Whole() const { return {Across(-0.63), Down(-0.23), 1.26 * unit, 0.46 * unit}; }
    double Across(double units) const { return middleX + units * unit; }
    double Down(double units) const { return middleY + units * unit; }

    double Left() const { return Across(-0.57); }
    double TextWidth() const { return 1.14 * unit; }
    double ClockBaseline() const { return Down(0.17); }
    double FrameLeft() const { return Across(0.04); }
    double MarkX() const { return Across(0.47); }
    double MarkY() const { return Down(0.12); }
    double MarkRadius() const { return 0.075 * unit; }
};

} // namespace vesk::pictures
