// Texts in fields of records, which of them can be names, and how they are shown.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

#include <strings.h>

namespace vesk {

/// The text in a field, up to its NUL or to its end.
template <size_t size>
std::string_view TextIn(const char (&field)[size])
{
    return {field, strnlen(field, size)};
}

/// Puts a text into a field of zeros; it is cut if it is longer than the field.
template <size_t size>
void PutText(char (&field)[size], std::string_view text)
{
    text.copy(field, size);
}

/// True if a text has no control characters of ASCII, as names must not. It is less strict than Printable: a
/// name is cut to its field, perhaps within a character.
inline bool IsPrintable(std::string_view text)
{
    return std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

/// True if texts differ in nothing but the case of ASCII's letters.
inline bool SameText(std::string_view a, std::string_view b)
{
    return a.size() == b.size() && strncasecmp(a.data(), b.data(), a.size()) == 0;
}

/**
 * A text of a peer, a file or a user, on one line that says nothing to a terminal: "a\x1b[2Jb". Control
 * characters are escaped, also those beyond ASCII and those that end a line or change the writing direction,
 * and so are bytes that are no UTF-8: \n, \t, \x1b of a byte, \u009b of a character from U+007F on, which is
 * JSON's way, too. All else stays as it is, so a text may go through it twice.
 */
std::string Printable(std::string_view text);

/// The same for several lines. Their line feeds stay, so a text within them must be printable already.
std::string PrintableLines(std::string_view lines);

using Escape = char[8];

/// For those who must not allocate: takes the first character from a text and returns what Printable shows of
/// it, the character itself or an @p escape.
std::string_view TakePrintable(std::string_view& text, Escape& escape);

} // namespace vesk
