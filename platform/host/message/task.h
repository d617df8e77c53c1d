// The tasks of this process: their names, queues and loops.
#pragma once

#include <cstdint>
#include <string_view>

namespace vesk::host {

/// Binds all tasks under a process name that are not bound under it yet; an empty name binds nothing.
void BindTasksUnder(std::string_view procName);

} // namespace vesk::host
