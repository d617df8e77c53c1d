// The process's log target.
#pragma once

#include <cstdint>

namespace vesk::host {

/// Writes one line to the log target unless its level is above the module log's threshold.
void WriteLine(uint32_t level, const char* origin, const char* text);

} // namespace vesk::host
