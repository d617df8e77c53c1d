// A directory of this process's own, which does not outlive it for long.
#pragma once

#include <string>

namespace vesk::ctl {

/// How the names of such directories begin, in the directory for temporary files.
inline constexpr char kOwnDirectory[] = "vesk-device-";

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
    int owner_ = -1;
};

} // namespace vesk::ctl
