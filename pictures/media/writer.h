// Writes a video.
#pragma once

#include "pictures/media/av.h"
#include "pictures/media/protocol.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace vesk::pictures::media {

/// Takes pictures from memory and writes them to a file at a constant rate. The same pictures make the same
/// file.
class Writer {
public:
    /// @param container  "mp4", "matroska" or "webm". @throw Error
    Writer(int fd, const std::byte* memory, const std::string& container, Size size, int framesPerSecond);

    /// Takes the picture in the memory, which is free once @p taken is called, and writes it. @throw Error
    void Add(const std::function<void()>& taken);

    /// Writes what is left. @throw Error
    void End();

private:
    struct FreeContainer {
        void operator()(AVFormatContext* container) const { avformat_free_context(container); }
    };

    void OpenCodec(int framesPerSecond);
    void Convert();
    const std::byte* Padded();
    void WritePackets(const AVFrame* frame);

    FileStream file_;
    const std::byte* memory_;
    Size size_;
    Area area_; ///< Of the frames, whose sides are even.
    std::unique_ptr<AVFormatContext, FreeContainer> container_;
    AVStream* stream_ = nullptr;
    Codec codec_;
    Image frame_{av_frame_alloc()};
    Packet packet_{av_packet_alloc()};
    Scaler scaler_;
    std::vector<std::byte> even_;
    int64_t frames_ = 0;
};

} // namespace vesk::pictures::media
