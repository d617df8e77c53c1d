// Scales the picture of a file.
#include "pictures/cairo.h"
#include "pictures/face.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace vesk::pictures {

namespace {

/// The mean of four colours, each channel rounded.
uint32_t MeanOf(uint32_t a, uint32_t b, uint32_t c, uint32_t d)
{
    constexpr uint32_t kOdd = 0x00ff00ff, kHalf = 0x00020002;
    const uint32_t odd = (a & kOdd) + (b & kOdd) + (c & kOdd) + (d & kOdd) + kHalf;
    const uint32_t even = (a >> 8U & kOdd) + (b >> 8U & kOdd) + (c >> 8U & kOdd) + (d >> 8U & kOdd) + kHalf;
    return (odd >> 2U & kOdd) | (even >> 2U & kOdd) << 8U;
}

/// Half as many columns and rows, or as many of one of them. An odd last one counts twice.
Picture Halved(const Picture& picture, bool isAcross, bool isDown)
{
    const auto half = [](uint32_t length, bool isHalved) { return isHalved ? (length + 1) / 2 : length; };
    Picture small(Size{half(picture.size.width, isAcross), half(picture.size.height, isDown)});
    const size_t width = picture.size.width, lastRow = picture.size.height - 1;
    uint32_t* to = small.pixels.data();
    for (size_t y = 0; y < small.size.height; ++y) {
        const uint32_t* upper = picture.pixels.data() + (isDown ? 2 * y : y) * width;
        const uint32_t* lower = picture.pixels.data() + (isDown ? std::min(2 * y + 1, lastRow) : y) * width;
        for (size_t x = 0; x < small.size.width; ++x) {
            const size_t left = isAcross ? 2 * x : x, right = isAcross ? std::min(left + 1, width - 1) : x;
            *to++ = MeanOf(upper[left], upper[right], lower[left], lower[right]);
        }
    }
    return small;
}

/// What an axis makes of a length, within the drawing: cairo cannot count much farther.
std::pair<double, double> Within(const Axis& axis, uint32_t length, uint32_t most)
{
    const auto edge = [&](double at) { return std::clamp(axis(at), 0.0, double(most)); };
    return {edge(0), edge(length)};
}

} // namespace

void DrawImage(Picture& onto, const Look& look)
{
    // Between neighbours alone, what is much larger would lose details, so it is halved first.
    const Picture* picture = look.image.get();
    Picture small;
    Axis x = look.transform.x, y = look.transform.y;
    constexpr double kHalf = 0.51;
    while (std::abs(x.scale) < kHalf || std::abs(y.scale) < kHalf) {
        const bool isAcross = std::abs(x.scale) < kHalf && picture->size.width > 1,
                   isDown = std::abs(y.scale) < kHalf && picture->size.height > 1;
        if (!isAcross && !isDown)
            break;
        const Size before = picture->size;
        small = Halved(*picture, isAcross, isDown);
        picture = &small;
        x.scale *= double(before.width) / small.size.width;
        y.scale *= double(before.height) / small.size.height;
    }
    const CairoSurface surface = SurfaceOf(onto), source = SurfaceOf(*picture);
    const CairoContext context(cairo_create(surface.get()));
    const auto [left, right] = Within(x, picture->size.width, look.size.width);
    const auto [top, bottom] = Within(y, picture->size.height, look.size.height);
    cairo_rectangle(context.get(), left, top, right - left, bottom - top);
    cairo_translate(context.get(), x.offset, y.offset);
    cairo_scale(context.get(), x.scale, y.scale);
    cairo_set_source_surface(context.get(), source.get(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(context.get()), CAIRO_FILTER_BILINEAR);
    cairo_pattern_set_extend(cairo_get_source(context.get()), CAIRO_EXTEND_PAD);
    cairo_fill(context.get());
}

} // namespace vesk::pictures
