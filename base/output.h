// What programs print for people.
#pragma once

#include <cstdio>
#include <string_view>

namespace vesk {

/// Prints one line, which stays one and says nothing to a terminal, whatever is in it; see Printable.
void PutLine(std::FILE* out, std::string_view line);

/// The same for several, which end with line feeds; see PrintableLines.
void PutLines(std::FILE* out, std::string_view lines);

/// Says on standard error what is wrong, "PROGRAM: TEXT"; also for those who handle an exception.
void PutError(std::string_view program, std::string_view text) noexcept;

} // namespace vesk
