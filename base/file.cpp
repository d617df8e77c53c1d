// Files that a user gives.
#include "base/file.h"

#include "base/error.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <sstream>

namespace vesk {

std::string FileContents(const std::string& path)
{
    errno = 0;
    std::ifstream file(path);
    if (!file || (file.peek(), file.bad())) // a directory can be opened, but not read
        throw Error(path + ": " + std::strerror(errno));
    std::ostringstream text;
    text << file.rdbuf();
    return std::move(text).str();
}

} // namespace vesk
