// Files that a user gives.
#pragma once

#include <cstddef>
#include <string>

namespace vesk {

/// The contents of a file of at most @p most bytes; - is standard input. @throw Error, which names it and the
/// reason
std::string FileContents(const std::string& path, size_t most = 1U << 20U);

} // namespace vesk
