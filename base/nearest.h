// Which of the known words a misspelt one may have been meant to be.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vesk {

/// The names in @p known that differ least from @p text, as the end of an error: "; nearest: VO_STOP,
/// VI_STOP". Empty if none is near.
std::string Nearest(std::string_view text, const std::vector<std::string_view>& known);

} // namespace vesk
