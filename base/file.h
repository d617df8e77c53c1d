// Files that a user gives.
#pragma once

#include <string>

namespace vesk {

/// The contents of a file. @throw Error, which names it and the reason
std::string FileContents(const std::string& path);

} // namespace vesk
