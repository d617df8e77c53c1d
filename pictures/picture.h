// Pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace vesk::pictures {

struct Size {
    uint32_t width = 0;
    uint32_t height = 0;

    bool IsEmpty() const { return width == 0 || height == 0; }
    size_t Pixels() const { return size_t{width} * height; }
    bool operator==(const Size&) const = default;
};

/// "1920x1080"
inline std::string TextOf(Size size)
{
    return std::to_string(size.width) + 'x' + std::to_string(size.height);
}

struct Rect {
    int32_t x = 0;
    int32_t y = 0;
    int32_t width = 0;
    int32_t height = 0;

    bool IsEmpty() const { return width <= 0 || height <= 0; }
    bool operator==(const Rect&) const = default;
};

/// No picture is larger than this on a side; displays and cameras have at most 8192 by 8192 pixels.
inline constexpr uint32_t kMostSide = 8192;

/// Rows of pixels from top to bottom without gaps. A pixel is 0xAARRGGBB, whose colours are multiplied by its
/// opacity.
struct Picture {
    Size size;
    std::vector<uint32_t> pixels;

    Picture() = default;
    explicit Picture(Size of) : size(of), pixels(of.Pixels()) {}
    bool IsEmpty() const { return pixels.empty(); }
};

} // namespace vesk::pictures
