// A file that takes the place of another one once it is complete.
#include "base/replacement.h"

#include "base/error.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <filesystem>

namespace vesk {

Replacement::Replacement(const std::string& path) : path_(path), file_(Open()) {}

Replacement::~Replacement()
{
    if (!temporary_.empty())
        unlink(temporary_.c_str());
}

void Replacement::Keep()
{
    if (!temporary_.empty() && std::rename(temporary_.c_str(), path_.c_str()) != 0)
        throw Error("cannot write " + path_ + ": " + std::strerror(errno));
    temporary_.clear();
}

Descriptor Replacement::Open()
{
    struct stat there {};
    const bool isThere = path_ != "-" && stat(path_.c_str(), &there) == 0;
    std::error_code error;
    if (isThere && S_ISREG(there.st_mode))
        path_ = std::filesystem::canonical(path_, error).string();
    if (path_ != "-" && (!isThere || S_ISREG(there.st_mode)))
        temporary_ = path_ + '.' +
                     std::to_string(std::chrono::system_clock::now().time_since_epoch().count()) + ".part";
    Descriptor file(path_ == "-" ? fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1)
                    : temporary_.empty()
                        ? open(path_.c_str(), O_WRONLY | O_CLOEXEC)
                        : open(temporary_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.IsOpen()) {
        temporary_.clear();
        throw Error("cannot write " + path_ + ": " + std::strerror(errno));
    }
    return file;
}

} // namespace vesk
