// What the tools throw when they are given something that they cannot use.
#pragma once

#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace vesk {

/// The message is one line that names the offending value and what was expected.
struct Error : std::runtime_error {
    std::vector<std::string> others; ///< Likewise, of further mistakes in the same file.

    explicit Error(const std::string& text, std::vector<std::string> otherTexts = {})
        : std::runtime_error(text), others(std::move(otherTexts))
    {
    }
};

} // namespace vesk
