// Files that a user gives.
#include "base/file.h"

#include "base/error.h"

#include <fcntl.h>

#include <cerrno>
#include <cstring>

namespace vesk {

Descriptor OpenInput(const std::string& path)
{
    Descriptor file(path == "-" ? fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                                : open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!file.IsOpen())
        throw Error(path + ": " + std::strerror(errno));
    return file;
}

std::string FileContents(const std::string& path, size_t most)
{
    const Descriptor file = OpenInput(path);
    std::string text;
    char part[4096];
    ssize_t got = 0;
    while (text.size() <= most && (got = read(file.Get(), part, sizeof part)) > 0)
        text.append(part, static_cast<size_t>(got));
    if (got < 0)
        throw Error(path + ": " + std::strerror(errno));
    if (text.size() > most)
        throw Error(path + ": expected at most " + std::to_string(most) + " bytes");
    return text;
}

} // namespace vesk
