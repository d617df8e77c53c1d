// Bytes as hexadecimal text and back.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

using Bytes = std::vector<std::byte>;
using BytesView = std::span<const std::byte>;

/// The bytes of a record.
template <class Record>
BytesView BytesOf(const Record& record)
{
    return {reinterpret_cast<const std::byte*>(&record), sizeof record};
}

/// "0102ff".
std::string Hex(BytesView bytes);

/// The same with runs of at least eight equal bytes folded: "01(00*63)ff".
std::string FoldedHex(BytesView bytes);

/// Reads either form; spaces between bytes are allowed. @throw Error
Bytes ParseHex(std::string_view text);

} // namespace vesk
