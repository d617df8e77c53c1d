// Files that a user gives.
#include "base/file.h"

#include "base/error.h"

#include <cerrno>
#include <cstring>
#include <fstream>

namespace vesk {

std::string FileContents(const std::string& path, size_t most)
{
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string text;
    char part[4096];
    while (text.size() <= most && (file.read(part, sizeof part), file.gcount() > 0))
        text.append(part, static_cast<size_t>(file.gcount()));
    if (!file.is_open() || file.bad()) // a directory can be opened, but not read
        throw Error(path + ": " + std::strerror(errno));
    if (text.size() > most)
        throw Error(path + ": expected at most " + std::to_string(most) + " bytes");
    return text;
}

} // namespace vesk
