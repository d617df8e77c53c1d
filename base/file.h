// Files that a user gives.
#pragma once

#include "base/descriptor.h"

#include <cstddef>
#include <string>

namespace vesk {

/// Opens a file to be read; - is standard input. @throw Error, which names it and the reason
Descriptor OpenInput(const std::string& path);

/// The contents of a file of at most @p most bytes; - is standard input. @throw Error as above
std::string FileContents(const std::string& path, size_t most = 1U << 20U);

} // namespace vesk
