// What is installed together with the program that runs, or lies in the same build tree.
#include "base/installed.h"

#include "base/error.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>

namespace vesk {

namespace fs = std::filesystem;

std::string ProgramFolder()
{
    return fs::read_symlink("/proc/self/exe").parent_path();
}

InstalledFiles Installed(const std::string& kind)
{
    const fs::path bin = ProgramFolder();
    std::error_code error;
    // Of a build tree, the service's folder has them, which is this program's or lies two floors above.
    for (const char* place : {VESK_DATA_FROM_BIN "/vesk_video_interface", ".", "../../service"}) {
        InstalledFiles files{(bin / place / kind).lexically_normal(), {}};
        for (fs::directory_iterator entry(files.folder, error); !error && entry != fs::directory_iterator();
             entry.increment(error))
            files.names.push_back(entry->path().filename());
        std::sort(files.names.begin(), files.names.end());
        if (!files.names.empty())
            return files;
    }
    return {};
}

std::string FindFile(const std::string& name, const std::string& kind)
{
    if (name == "-" || name.find('/') != name.npos || access(name.c_str(), F_OK) == 0)
        return name;
    const InstalledFiles installed = Installed(kind);
    if (installed.names.empty())
        return name;
    if (std::find(installed.names.begin(), installed.names.end(), name) != installed.names.end())
        return installed.folder + '/' + name;
    std::string known;
    for (const std::string& one : installed.names)
        known += (known.empty() ? "" : ", ") + one;
    throw Error(name + ": neither in the current folder nor in " + installed.folder + ", which has " + known);
}

} // namespace vesk
