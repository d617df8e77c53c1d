// How alike two pictures are.
#pragma once

#include "pictures/picture.h"

namespace vesk::pictures {

struct Comparison {
    /// The mean SSIM of red, green and blue in windows of 8 by 8 pixels, four apart: 1 if they are the same,
    /// 0 or less if unrelated. FFmpeg's filter tells the same number, but leaves out what remains of sides
    /// that are no multiples of four.
    double similarity = 0;
    uint64_t differentPixels = 0; ///< On black, as a display is, so opacity alone is no difference.
    Picture marked;               ///< The second one, pale, with what differs in red.
};

/// @throw Error if they are not of one size
Comparison Compare(const Picture& expected, const Picture& actual);

} // namespace vesk::pictures
