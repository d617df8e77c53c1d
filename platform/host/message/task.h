// The tasks of this process.
#pragma once

#include <cstdint>
#include <string_view>

namespace vesk::host {

/// Binds every task that is not yet bound under a process name to it; an empty name binds nothing.
void BindTasksUnder(std::string_view procName);

} // namespace vesk::host
