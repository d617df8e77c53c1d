// How coordinates of a source become those of a drawing.
#pragma once

#include "pictures/scene.h"

namespace vesk::pictures {

/// One direction. A negative scale mirrors.
struct Axis {
    double scale = 1;
    double offset = 0;

    double operator()(double at) const { return at * scale + offset; }
    bool operator==(const Axis&) const = default;
};

struct Transform {
    Axis x, y;

    /// What comes of coordinates to which @p first is applied before this one.
    Transform After(const Transform& first) const;
    bool operator==(const Transform&) const = default;
};

/// A rectangle with edges between pixels.
struct Box {
    double x = 0, y = 0, width = 0, height = 0;
};

Box BoxOf(const Rect& rect);
Box BoxOf(Size size);

/// Takes @p from to @p to. @p from has sides.
Transform Mapping(const Box& from, const Box& to, bool isMirroredHorizontally = false,
                  bool isMirroredVertically = false);

/// Where a picture of @p size lies in a window, by its show mode; may reach beyond it, which then clips it.
Box Fitted(Size size, const Box& window, ShowMode mode, double pixel);

/// A rectangle of the display in whole pixels of a picture of it, as far as it lies within.
Rect Snapped(const Rect& rect, Size canvas, Size picture);

} // namespace vesk::pictures
