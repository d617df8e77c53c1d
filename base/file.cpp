// Files that a user gives.
#include "base/file.h"

#include "base/error.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

namespace vesk {

std::string FileContents(const std::string& path, size_t most)
{
    errno = 0;
    std::ifstream opened;
    if (path != "-")
        opened.open(path, std::ios::binary);
    std::istream& file = path == "-" ? std::cin : opened;
    std::string text;
    char part[4096];
    while (text.size() <= most && (file.read(part, sizeof part), file.gcount() > 0))
        text.append(part, static_cast<size_t>(file.gcount()));
    if (file.bad() || (&file == &opened && !opened.is_open())) // a directory can be opened, but not read
        throw Error(path + ": " + std::strerror(errno));
    if (text.size() > most)
        throw Error(path + ": expected at most " + std::to_string(most) + " bytes");
    return text;
}

} // namespace vesk
