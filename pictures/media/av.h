// What the program needs of FFmpeg's libraries again and again.
#pragma once

#include "base/error.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <cstdint>
#include <memory>
#include <string>

namespace vesk::pictures::media {

/// Has the libraries say nothing; what they say first of an order explains a failure.
void KeepMessages();
void ForgetMessages();

/// "WHAT: why".
[[noreturn]] void ThrowAv(const std::string& what, int code);

/// Passes on what is no error.
inline int Checked(int code, const std::string& what)
{
    if (code < 0)
        ThrowAv(what, code);
    return code;
}

template <auto release>
struct Released {
    template <class Object>
    void operator()(Object* object) const
    {
        release(&object);
    }
};

struct FreeScaler {
    void operator()(SwsContext* scaler) const { sws_freeContext(scaler); }
};

using Codec = std::unique_ptr<AVCodecContext, Released<avcodec_free_context>>;
using Packet = std::unique_ptr<AVPacket, Released<av_packet_free>>;
using Image = std::unique_ptr<AVFrame, Released<av_frame_free>>;
using Scaler = std::unique_ptr<SwsContext, FreeScaler>;

/// The input or output of a container: a descriptor, and nothing else is ever opened.
class FileStream {
public:
    /// @param fd  Remains the caller's.
    FileStream(int fd, bool isWritten);
    ~FileStream();
    FileStream(const FileStream&) = delete;

    AVIOContext* Context() const { return context_; }
    void AttachTo(AVFormatContext& container) const;

private:
    static int Read(void* self, uint8_t* to, int most);
    static int Write(void* self, uint8_t* from, int size);
    static int64_t Seek(void* self, int64_t offset, int whence);

    int fd_;
    AVIOContext* context_;
};

struct Area {
    int width;
    int height;
};

/// Makes a scaler between formats of pictures of one size, unless it is one already. @p space and
/// @p isFullRange are of the colours of those that are not RGB. @throw Error
void Prepare(Scaler& scaler, Area area, AVPixelFormat from, AVPixelFormat to, AVColorSpace space,
             bool isFullRange);

} // namespace vesk::pictures::media
