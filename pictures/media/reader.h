// Reads a file's pictures.
#pragma once

#include "pictures/media/protocol.h"
#include "pictures/media/source.h"

#include <cstddef>

namespace vesk::pictures::media {

/// Answers orders for the picture of a time.
class Reader {
public:
    /// @param memory  For the largest picture.
    Reader(int fd, std::byte* memory) : fd_(fd), memory_(memory) {}

    /// @throw Error
    Answer Read(const Order& order);

private:
    void Begin();
    void Rewind();
    void GoTo(int64_t time);
    void Write(const AVFrame& frame);

    int fd_;
    std::byte* memory_;
    std::unique_ptr<Source> source_;
    Length length_{};
    Image shown_; ///< The frame of the time, and the one after it, if it has been decoded.
    Image next_;
    Scaler scaler_;
    Answer written_{}; ///< What is in the memory.
};

} // namespace vesk::pictures::media
