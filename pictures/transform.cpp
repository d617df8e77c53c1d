// How coordinates of a source become those of a drawing.
#include "pictures/transform.h"

#include <algorithm>
#include <cmath>

namespace vesk::pictures {

namespace {

Axis After(const Axis& second, const Axis& first)
{
    return {first.scale * second.scale, second(first.offset)};
}

Axis Mapping(double from, double length, double to, double toLength, bool isMirrored)
{
    const double scale = toLength / length;
    return isMirrored ? Axis{-scale, to + toLength + from * scale} : Axis{scale, to - from * scale};
}

/// The edges of an extent in whole pixels from 0 to @p most.
std::pair<int32_t, int32_t> Snapped(int32_t from, int32_t length, double scale, uint32_t most)
{
    const auto edge = [&](double at) {
        return static_cast<int32_t>(std::lround(std::clamp(at * scale, 0.0, double(most))));
    };
    const int32_t start = edge(from);
    return {start, edge(double(from) + length) - start};
}

} // namespace

Transform Transform::After(const Transform& first) const
{
    return {pictures::After(x, first.x), pictures::After(y, first.y)};
}

Box BoxOf(const Rect& rect)
{
    return {double(rect.x), double(rect.y), double(rect.width), double(rect.height)};
}

Box BoxOf(Size size)
{
    return {0, 0, double(size.width), double(size.height)};
}

Transform Mapping(const Box& from, const Box& to, bool isMirroredHorizontally, bool isMirroredVertically)
{
    return {Mapping(from.x, from.width, to.x, to.width, isMirroredHorizontally),
            Mapping(from.y, from.height, to.y, to.height, isMirroredVertically)};
}

Box Fitted(Size size, const Box& window, ShowMode mode, double pixel)
{
    if (mode == ShowMode::kStretch)
        return window;
    const double across = window.width / size.width, down = window.height / size.height;
    const double scale = mode == ShowMode::kFit    ? std::min(across, down)
                         : mode == ShowMode::kFill ? std::max(across, down)
                                                   : pixel;
    const double width = size.width * scale, height = size.height * scale;
    return {window.x + (window.width - width) / 2, window.y + (window.height - height) / 2, width, height};
}

Rect Snapped(const Rect& rect, Size canvas, Size picture)
{
    const auto [x, width] = Snapped(rect.x, rect.width, double(picture.width) / canvas.width, picture.width);
    const auto [y, height] =
        Snapped(rect.y, rect.height, double(picture.height) / canvas.height, picture.height);
    return {x, y, width, height};
}

} // namespace vesk::pictures
