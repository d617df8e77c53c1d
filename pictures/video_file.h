// Writes pictures to a video.
#pragma once

#include "pictures/picture.h"

#include <memory>
#include <string>

namespace vesk::pictures {

/// The container that the end of a file's name stands for. @throw Error if it is none
std::string ContainerFor(const std::string& path);

/// A video that is written by a process of its own, vesk-media. For one thread at a time.
class VideoFile {
public:
    /// @param path  Its end names the container: .mp4, .mkv or .webm. An existing file is replaced once the
    /// new one is complete. - is standard output, as Matroska.
    /// @param size  Videos have even sides: the last column or row of an odd one is there twice.
    /// @param program  Path of vesk-media; empty: it is looked for beside this library. @throw Error
    VideoFile(const std::string& path, Size size, uint32_t framesPerSecond, const std::string& program = {});
    ~VideoFile();
    VideoFile(const VideoFile&) = delete;

    /// Appends a picture of that size. @throw Error
    void Add(const Picture& picture);

    /// Completes the file, which without this is removed. @throw Error
    void Finish();

private:
    class Writer;
    std::unique_ptr<Writer> writer_;
};

} // namespace vesk::pictures
