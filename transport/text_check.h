// Check of a caller's text argument.
#pragma once

#include <cstdint>

namespace vesk {

/// Returns 0; 1, after a line, when @p str is null; 2 when its first 1024 characters hold a line break.
uint32_t VideoNorthCheckCharPtr(const char* str);

} // namespace vesk
