// The tasks of this process.
#pragma once

#include "message/deadline.h"

#include <optional>
#include <string_view>

namespace vesk::host {

/// Binds every task that is not yet bound under a process name to it; an empty name binds nothing. Waits for
/// the directory's lock for half of the time until @p deadline, without one for a moment.
void BindTasksUnder(std::string_view procName, const std::optional<Deadline>& deadline);

} // namespace vesk::host
