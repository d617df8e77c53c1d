// The directory in which the endpoints and processes of one user meet.
#include "runtime/directory.h"

#include "runtime/report.h"
#include "vesk_host/message.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace vesk::host {

std::string RuntimeDirPath()
{
    if (const char* path = std::getenv("VESK_RUNTIME_DIR"); path != nullptr && *path != '\0')
        return path;
    if (const char* parent = std::getenv("XDG_RUNTIME_DIR"); parent != nullptr && *parent != '\0')
        return std::string(parent) + "/vesk";
    return "/tmp/vesk-" + std::to_string(geteuid());
}

UniqueFd OpenRuntimeDir(WhenMissing whenMissing)
{
    const std::string path = RuntimeDirPath();
    if (whenMissing == WhenMissing::kCreate && mkdir(path.c_str(), S_IRWXU) != 0 && errno != EEXIST) {
        Report(kReportError, "runtime directory %s cannot be created: %s", path.c_str(), strerror(errno));
        return {};
    }
    const auto open = [&] { return ::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC); };
    UniqueFd directory(open);
    if (!directory.IsOpen() && whenMissing == WhenMissing::kLeave && errno == ENOENT)
        return {};
    if (!directory.IsOpen()) {
        const bool isLinkOrFile = errno == ELOOP || errno == ENOTDIR;
        Report(kReportError, "runtime directory %s cannot be opened: %s", path.c_str(),
               isLinkOrFile ? "it is not a directory itself" : strerror(errno));
        return {};
    }
    struct stat status {};
    if (fstat(directory.Get(), &status) != 0) {
        Report(kReportError, "runtime directory %s cannot be looked at: %s", path.c_str(), strerror(errno));
        return {};
    }
    if (status.st_uid != geteuid()) {
        Report(kReportError, "runtime directory %s belongs to user %u, not to user %u", path.c_str(),
               status.st_uid, geteuid());
        return {};
    }
    if ((status.st_mode & (S_IWGRP | S_IWOTH)) != 0) {
        Report(kReportError, "runtime directory %s may be written by others, mode %o", path.c_str(),
               status.st_mode & 07777U);
        return {};
    }
    return directory;
}

void ForEachEntry(const UniqueFd& directory, const std::function<void(const dirent&)>& visit)
{
    UniqueFd listed([&] { return openat(directory.Get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC); });
    // Not std::filesystem's iterator, which ends the process when memory runs out.
    const std::unique_ptr<DIR, int (*)(DIR*)> entries(fdopendir(listed.Get()), closedir);
    if (entries == nullptr)
        return;
    listed.Release();
    while (const dirent* const entry = readdir(entries.get()))
        visit(*entry);
}

} // namespace vesk::host

int HostMsgOpenRuntimeDir(void)
{
    int directory = -1;
    vesk::host::Contained([&] {
        directory = vesk::host::OpenRuntimeDir().Release();
        return 0U;
    });
    return directory;
}
