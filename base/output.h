// What programs print for people.
#pragma once

#include "base/error.h"

#include <cstdio>
#include <string_view>

namespace vesk {

/// Keeps files and sockets from taking the place of a standard stream that is closed. For the beginning of
/// main.
void HoldStandardStreams() noexcept;

// Whatever is printed to another stream than standard error: @throw std::system_error if it cannot be
// written; a program whose reader has gone ends.

/// Prints one line, which stays one and says nothing to a terminal, whatever is in it; see Printable.
void PutLine(std::FILE* out, std::string_view line);

/// The same for several, which end with line feeds; see PrintableLines.
void PutLines(std::FILE* out, std::string_view lines);

/// Makes visible what has been printed on standard output.
void Flush();

/// Says on standard error what is wrong, "PROGRAM: TEXT", after all that is on standard output. Also for
/// those who handle an exception.
void PutError(std::string_view program, std::string_view text) noexcept;

/// Likewise, each mistake on a line of its own.
void PutError(std::string_view program, const Error& error) noexcept;

} // namespace vesk
