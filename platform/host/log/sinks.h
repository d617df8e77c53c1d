// Where all log lines of a process go.
#pragma once

#include <cstdint>

namespace vesk::host {

/// Writes one line to the target that the environment names, if the module log's threshold lets it.
void WriteLine(uint32_t level, const char* origin, const char* text);

} // namespace vesk::host
