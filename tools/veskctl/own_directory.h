// A directory of this process's own, which does not outlive it for long.
#pragma once

#include "base/descriptor.h"

#include <string>

namespace vesk::ctl {

/// How the names of such directories begin, and where they are.
inline constexpr char kOwnDirectory[] = "vesk-device-";
std::string TemporaryDirectory();

/**
 * A directory that only this user can enter. It is removed with everything in it: at the end, or by the next
 * process that makes one if this one is killed. Its file "owner" is locked as long as this process lives.
 */
class OwnDirectory {
public:
    /// @throw Failure
    OwnDirectory();
    ~OwnDirectory();
    OwnDirectory(const OwnDirectory&) = delete;

    const std::string& Path() const { return path_; }

private:
    std::string path_;
    Descriptor owner_{-1};
};

} // namespace vesk::ctl
