// The process in which files are read and written.
#pragma once

#include "base/descriptor.h"
#include "pictures/media/protocol.h"

#include <chrono>
#include <string>
#include <vector>

#include <sys/types.h>

namespace vesk::pictures {

/// The path of vesk-media, which the environment may name. @throw Error if it is not installed
std::string MediaProgram();

/// Runs vesk-media, which is killed with this object.
class MediaProcess {
public:
    /// @param words  Its arguments.
    /// @param file  Its file; remains the caller's. @param largest  The largest picture. @throw Error
    MediaProcess(const std::string& program, const std::vector<std::string>& words, int file, Size largest);
    ~MediaProcess();
    MediaProcess(const MediaProcess&) = delete;

    /// @throw Error as below
    void Send(const media::Order& order);

    /// Waits for the answer to the first order that has none.
    /// @throw Error if it tells a problem, or if there is none within @p most
    media::Answer Receive(std::chrono::milliseconds most);

    /// Copies the picture in the memory to @p picture, whose size was checked. Who is at the other end may
    /// change it meanwhile, which harms no more than the colours.
    void CopyTo(Picture& picture) const;
    void CopyFrom(const Picture& picture);

private:
    [[noreturn]] void ThrowEnd();

    Descriptor socket_{-1};
    std::byte* memory_ = nullptr;
    size_t size_;
    pid_t process_ = 0;
};

} // namespace vesk::pictures
