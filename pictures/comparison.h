// How alike two pictures are.
#pragma once

#include "pictures/picture.h"

namespace vesk::pictures {

struct Comparison {
    double similarity = 0; ///< SSIM of all colours: 1 if they are the same, 0 or less if unrelated.
    uint64_t differentPixels = 0;
    Picture marked; ///< The second one, pale, with what differs in red.
};

/// @throw Error if they are not of one size
Comparison Compare(const Picture& expected, const Picture& actual);

} // namespace vesk::pictures
