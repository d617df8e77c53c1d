// What the tools throw when they are given something that they cannot use.
#pragma once

#include <stdexcept>

namespace vesk {

/// The message is one line that names the offending value and what was expected.
struct Error : std::runtime_error {
    using std::runtime_error::runtime_error;
};

} // namespace vesk
