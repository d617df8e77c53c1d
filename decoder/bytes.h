// Bytes as hexadecimal text and back.
#pragma once

#include <cstddef>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::tools {

using Bytes = std::vector<std::byte>;
using BytesView = std::span<const std::byte>;

/// The text in a field, up to its NUL or to its end.
template <size_t size>
std::string TextIn(const char (&field)[size])
{
    return {field, strnlen(field, size)};
}

/// "0102ff".
std::string Hex(BytesView bytes);

/// The same with runs of at least eight equal bytes folded: "01(00*63)ff".
std::string FoldedHex(BytesView bytes);

/// Reads either form; spaces between bytes are allowed. @throw Error
Bytes ParseHex(std::string_view text);

} // namespace vesk::tools
