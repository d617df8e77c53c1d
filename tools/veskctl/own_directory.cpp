// A directory of this process's own, which does not outlive it for long.
#include "tools/veskctl/own_directory.h"

#include "tools/veskctl/failure.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace vesk::ctl {

namespace {

namespace fs = std::filesystem;

/// Locks its file "owner", which is there or made, as @p flags say; -1 if it cannot be opened or another
/// process has locked it. The lock is this process's own: children do not have it.
int Lock(const std::string& directory, int flags)
{
    const int file = open((directory + "/owner").c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | flags, 0600);
    struct flock whole {};
    whole.l_type = F_WRLCK;
    if (file < 0 || fcntl(file, F_SETLK, &whole) == 0)
        return file;
    close(file);
    return -1;
}

/// Removes a directory whose owner has ended. One that is empty may be about to get its owner, who then makes
/// another.
void RemoveIfLeft(const std::string& directory)
{
    struct stat status {};
    if (lstat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid() ||
        rmdir(directory.c_str()) == 0)
        return;
    const int owner = Lock(directory, 0);
    if (owner < 0)
        return;
    std::error_code ignored;
    fs::remove_all(directory, ignored);
    close(owner);
}

void RemoveLeft(const fs::path& parent)
{
    std::error_code error;
    for (fs::directory_iterator entry(parent, error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        if (entry->path().filename().string().starts_with(kOwnDirectory))
            RemoveIfLeft(entry->path());
    }
}

/// False if another process has removed the directory before it was locked.
bool IsThere(int file)
{
    struct stat status {};
    return fstat(file, &status) == 0 && status.st_nlink != 0;
}

} // namespace

OwnDirectory::OwnDirectory()
{
    const char* given = std::getenv("TMPDIR");
    const fs::path parent = given != nullptr && *given != '\0' ? given : P_tmpdir;
    RemoveLeft(parent);
    do {
        if (owner_ >= 0)
            close(owner_);
        path_ = parent / (std::string(kOwnDirectory) + "XXXXXX");
        if (mkdtemp(path_.data()) == nullptr)
            throw Failure(kFailed, "cannot make " + path_ + ": " + std::strerror(errno));
        owner_ = Lock(path_, O_CREAT);
    } while (owner_ < 0 ? errno == ENOENT || errno == EAGAIN : !IsThere(owner_));
    if (owner_ < 0) {
        const int error = errno;
        rmdir(path_.c_str());
        throw Failure(kFailed, "cannot write to " + path_ + ": " + std::strerror(error));
    }
}

OwnDirectory::~OwnDirectory()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
    close(owner_);
}

} // namespace vesk::ctl
