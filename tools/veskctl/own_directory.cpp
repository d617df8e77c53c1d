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
/// process has locked it; errno says which. The lock is this process's own: children do not have it.
Descriptor Lock(const std::string& directory, int flags)
{
    Descriptor file(open((directory + "/owner").c_str(), O_RDWR | O_NOFOLLOW | O_CLOEXEC | flags, 0600));
    struct flock whole {};
    whole.l_type = F_WRLCK;
    if (file.IsOpen() && fcntl(file.Get(), F_SETLK, &whole) != 0)
        return Descriptor(-1);
    return file;
}

/// Removes a directory whose owner has ended, or which a client of its service has made again since. One that
/// is empty may be about to get its owner, who then makes another.
void RemoveIfLeft(const std::string& directory)
{
    struct stat status {};
    if (lstat(directory.c_str(), &status) != 0 || !S_ISDIR(status.st_mode) || status.st_uid != geteuid() ||
        rmdir(directory.c_str()) == 0)
        return;
    const Descriptor owner = Lock(directory, 0);
    std::error_code ignored;
    if (owner.IsOpen() || errno == ENOENT)
        fs::remove_all(directory, ignored);
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
bool IsThere(const Descriptor& file)
{
    struct stat status {};
    return fstat(file.Get(), &status) == 0 && status.st_nlink != 0;
}

} // namespace

std::string TemporaryDirectory()
{
    const char* given = std::getenv("TMPDIR");
    return given != nullptr && *given != '\0' ? given : P_tmpdir;
}

OwnDirectory::OwnDirectory()
{
    const fs::path parent = TemporaryDirectory();
    RemoveLeft(parent);
    do {
        path_ = parent / (std::string(kOwnDirectory) + "XXXXXX");
        if (mkdtemp(path_.data()) == nullptr)
            throw Failure(kFailed, "cannot make " + path_ + ": " + std::strerror(errno));
        owner_ = Lock(path_, O_CREAT);
    } while (owner_.IsOpen() ? !IsThere(owner_) : errno == ENOENT || errno == EAGAIN);
    if (!owner_.IsOpen()) {
        const int error = errno;
        rmdir(path_.c_str());
        throw Failure(kFailed, "cannot write to " + path_ + ": " + std::strerror(error));
    }
}

OwnDirectory::~OwnDirectory()
{
    std::error_code ignored;
    fs::remove_all(path_, ignored);
}

} // namespace vesk::ctl
