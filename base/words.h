// Lines of words, as a shell reads and writes them.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vesk {

/// Takes the name of a variable, which follows a "$", from the start of a text and returns its value.
using Substitute = std::function<std::string(std::string_view& rest)>;

/// Splits a line: quotes, backslashes, a comment after "#", and variables if @p substitute is given.
/// @throw Error if a quote is not closed
std::vector<std::string> SplitWords(std::string_view line, const Substitute& substitute = nullptr);

/// The reverse: words with spaces between them, quoted where that is needed.
std::string JoinWords(const std::vector<std::string>& words);

} // namespace vesk
