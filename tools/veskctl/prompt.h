// The prompt of "run" at a terminal.
#pragma once

#include <functional>
#include <string>

namespace vesk::ctl {

/// Reads lines with editing, history and completion until the end of input or "quit". @p execute gets each
/// line.
void RunPrompt(const std::function<void(const std::string& line)>& execute);

} // namespace vesk::ctl
