// What subcommands print, each on a line that stays one and says nothing to a terminal; see base/output.h.
#pragma once

#include "base/output.h"

namespace vesk::ctl {

/// Prints one line and makes it visible at once.
void PrintLine(std::string_view line);

/// Prints one line as printf does, without its line feed.
__attribute__((format(printf, 2, 3))) void PutFormatted(std::FILE* out, const char* format, ...);

/// True for a terminal that can be told to move its cursor and to clear lines.
bool IsScreen(std::FILE* out);

/// Says on standard error what is wrong, in this program's name.
void PrintError(std::string_view text);
void PrintError(const Error& error);

} // namespace vesk::ctl
