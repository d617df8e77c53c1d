// Pictures and videos in files that come from anywhere.
#pragma once

#include "pictures/picture.h"

#include <memory>
#include <string>

namespace vesk::pictures {

/// A picture of a file at a time.
struct Frame {
    std::shared_ptr<const Picture> picture; ///< Null if there is a problem, or none yet.
    std::string problem;                    ///< Why it cannot be shown; empty if it can.
    uint64_t number = 0;                    ///< Of the frame in the file; the same frame is the same picture.
};

/**
 * Reads files by a process of their own for each, vesk-media, whose memory and time are limited: whatever a
 * file contains, this process neither crashes nor waits long. For one thread at a time.
 */
class Files {
public:
    /// @param program  Path of vesk-media; empty: it is looked for beside this library.
    explicit Files(std::string program = {});
    ~Files();
    Files(const Files&) = delete;

    /// The picture that a file shows at a time of the device: a video begins at 0 and is repeated without an
    /// end. Waits for it at most as long as limits say. A file that has changed is read anew.
    Frame At(const std::string& path, uint64_t atMs);

private:
    class Readers;
    std::unique_ptr<Readers> readers_;
};

} // namespace vesk::pictures
