// How alike two pictures must be, and the words for it.
#pragma once

#include "pictures/comparison.h"

#include <string>

namespace vesk::ctl {

/// @param tolerance  Per cent; with 0, no pixel may differ.
bool IsAlike(const pictures::Comparison& comparison, double tolerance);

/// "similarity 0.998012345, 1234 of 2073600 pixels differ"
std::string LikenessText(const pictures::Comparison& comparison);

/// "differ by 0.199 %, more than 0.1 %"
std::string DifferenceText(const pictures::Comparison& comparison, double tolerance);

} // namespace vesk::ctl
