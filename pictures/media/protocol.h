// What vesk-media and those who start it say to each other.
#pragma once

#include "pictures/picture.h"

namespace vesk::pictures::media {

/// Descriptors that vesk-media is started with: a socket on which each order gets an answer, memory for the
/// pixels of one picture, and the file that is read or written.
inline constexpr int kSocket = 3;
inline constexpr int kPixels = 4;
inline constexpr int kFile = 5;

enum class Task : uint32_t {
    kBegin,   ///< Of a video that is written; it has been opened.
    kPicture, ///< A picture is read from the file or taken for it.
    kEnd,     ///< Of a video that is written; it is complete.
};

struct Order {
    Task task;
    uint32_t processorMs; ///< Time of a processor after which the process ends without an answer; 0: any.
    uint64_t atMs;        ///< When a picture is read.
};

struct Answer {
    uint64_t number; ///< Of the frame that was read.
    uint32_t width;
    uint32_t height;
    uint32_t isOnly; ///< Not 0 if the file has no other.
    char problem[228];
};

/// Bytes of a row of pixels in memory: as many as libraries like that work on several pixels at once.
constexpr size_t RowBytes(uint32_t width)
{
    return (size_t{width} * sizeof(uint32_t) + 63U) & ~size_t{63};
}

/// Bytes of a picture in memory, beyond whose end they may also reach.
constexpr size_t PictureBytes(Size size)
{
    return RowBytes(size.width) * size.height + 4096;
}

} // namespace vesk::pictures::media
