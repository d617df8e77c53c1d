// What needs libraries that the tool does without.
#include "tools/veskctl/modules.h"

#include "base/installed.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/program_text.h"

#include <dlfcn.h>

#include <cstring>
#include <filesystem>

namespace vesk::ctl {

namespace {

namespace fs = std::filesystem;

std::string FindModule(const std::string& name)
{
    const fs::path bin = ProgramFolder();
    for (const char* folder : {kLibrariesFromBin, "."}) { // installed, and of a build tree
        const fs::path path = (bin / folder / "vesk-video" / (name + ".so")).lexically_normal();
        std::error_code error;
        if (fs::exists(path, error))
            return path;
    }
    throw Failure(kFailed, "this needs vesk-video/" + name +
                               ".so, which is neither installed nor built beside " + bin.string() +
                               "; Debian's package vesk-pictures has it");
}

/// The table of a module, which stays loaded.
const void* Load(const std::string& name)
{
    const std::string path = FindModule(name);
    void* const module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
        throw Failure(kFailed, dlerror());
    const auto* const version = static_cast<const char* const*>(dlsym(module, "vesk_module_version"));
    const void* const table = dlsym(module, "vesk_module");
    if (version == nullptr || table == nullptr)
        throw Failure(kFailed, path + ": is no module of veskctl");
    if (std::strcmp(*version, kVersion) != 0)
        throw Failure(kFailed, path + ": is of " + *version + ", this is " + kVersion);
    return table;
}

} // namespace

const PicturesModule& Pictures()
{
    static const void* const table = Load("pictures");
    return *static_cast<const PicturesModule*>(table);
}

const WebModule& Web()
{
    static const void* const table = Load("web");
    return *static_cast<const WebModule*>(table);
}

} // namespace vesk::ctl
