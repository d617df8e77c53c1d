// What subcommands print.
#pragma once

#include <string>

namespace vesk::ctl {

/// Prints one line and makes it visible at once.
void PrintLine(const std::string& line);

} // namespace vesk::ctl
