// Texts in fields of records, and which of them can be names.
#pragma once

#include <algorithm>
#include <cstring>
#include <string_view>

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

/// True if a text has no control characters.
inline bool IsPrintable(std::string_view text)
{
    return std::none_of(text.begin(), text.end(), [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

} // namespace vesk
