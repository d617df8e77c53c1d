// The frames of a file, one after another.
#pragma once

#include "pictures/media/av.h"

namespace vesk::pictures::media {

/// How much there is in a file.
struct Length {
    int64_t microseconds; ///< 0: unknown.
    bool isOne;           ///< It has one frame.
};

class Source {
public:
    /// @param fd  Is read from its beginning; remains the caller's. @throw Error
    explicit Source(int fd);

    /// The next frame in the order in which they are shown, whose pts are microseconds from the beginning;
    /// null at the end.
    /// @throw Error if there is no frame at all, or if something is wrong with the only one
    Image Next();

    /// What the file says of its length, if it does.
    Length Told() const;

    /// The same by reading it all, after which there is no next frame.
    Length Measured();

    /// Goes to where the frame of a time can be decoded from, if that is shorter than to go on from @p now.
    /// False if it did not.
    bool Seek(int64_t time, int64_t now);

private:
    struct CloseContainer {
        void operator()(AVFormatContext* container) const { avformat_close_input(&container); }
    };

    void Open();
    void OpenCodec();
    bool HasTimes() const;
    int64_t Start() const;
    int64_t TimeOf(const AVFrame& frame) const;
    void Feed();
    void Note(int error);

    FileStream file_;
    std::unique_ptr<AVFormatContext, CloseContainer> container_;
    AVStream* stream_ = nullptr;
    Codec codec_;
    Packet packet_{av_packet_alloc()};
    bool isStill_ = false; ///< It is of a format for one picture.
    bool isAtEnd_ = false;
    int64_t frames_ = 0; ///< So many have been read.
    int error_ = AVERROR_INVALIDDATA;
};

} // namespace vesk::pictures::media
