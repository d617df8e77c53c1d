// What the program needs of FFmpeg's libraries again and again.
#include "pictures/media/av.h"

#include <unistd.h>

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <mutex>
#include <new>

namespace vesk::pictures::media {

namespace {

constexpr int kBuffer = 1 << 16;

std::mutex messageLock; // encoders have threads
std::string firstMessage;

__attribute__((format(printf, 3, 0))) void Keep(void*, int level, const char* format, va_list arguments)
{
    char text[160];
    if (level > AV_LOG_ERROR || std::vsnprintf(text, sizeof text, format, arguments) <= 0)
        return;
    const std::lock_guard lock(messageLock);
    if (firstMessage.empty())
        firstMessage = text;
}

/// The first message, without the full stop and line feed at its end.
std::string Message()
{
    const std::lock_guard lock(messageLock);
    const size_t end = firstMessage.find_last_not_of(".\n ");
    return end == std::string::npos ? "" : firstMessage.substr(0, end + 1);
}

} // namespace

void KeepMessages()
{
    av_log_set_callback(Keep);
}

void ForgetMessages()
{
    const std::lock_guard lock(messageLock);
    firstMessage.clear();
}

void ThrowAv(const std::string& what, int code)
{
    char reason[AV_ERROR_MAX_STRING_SIZE]{};
    av_strerror(code, reason, sizeof reason);
    const std::string message = Message();
    throw Error(what + ": " + (message.empty() ? reason : message));
}

FileStream::FileStream(int fd, bool isWritten) : fd_(fd)
{
    auto* const buffer = static_cast<unsigned char*>(av_malloc(kBuffer));
    context_ = avio_alloc_context(buffer, kBuffer, isWritten ? 1 : 0, this, Read, isWritten ? Write : nullptr,
                                  lseek(fd, 0, SEEK_CUR) < 0 ? nullptr : Seek);
    if (buffer == nullptr || context_ == nullptr)
        throw std::bad_alloc();
}

FileStream::~FileStream()
{
    av_freep(&context_->buffer);
    avio_context_free(&context_);
}

void FileStream::AttachTo(AVFormatContext& container) const
{
    container.pb = context_;
    container.flags |= AVFMT_FLAG_CUSTOM_IO;
    container.io_open = [](AVFormatContext*, AVIOContext**, const char*, int, AVDictionary**) {
        return AVERROR(EACCES);
    };
}

int FileStream::Read(void* self, uint8_t* to, int most)
{
    const ssize_t got = read(static_cast<FileStream*>(self)->fd_, to, static_cast<size_t>(most));
    return got > 0 ? static_cast<int>(got) : got == 0 ? AVERROR_EOF : AVERROR(errno);
}

int FileStream::Write(void* self, uint8_t* from, int size)
{
    for (int done = 0; done < size;) {
        const ssize_t put =
            write(static_cast<FileStream*>(self)->fd_, from + done, static_cast<size_t>(size - done));
        if (put < 0 && errno != EINTR)
            return AVERROR(errno);
        done += put > 0 ? static_cast<int>(put) : 0;
    }
    return size;
}

int64_t FileStream::Seek(void* self, int64_t offset, int whence)
{
    const int fd = static_cast<FileStream*>(self)->fd_;
    if (whence == AVSEEK_SIZE) {
        const off_t here = lseek(fd, 0, SEEK_CUR);
        const off_t end = lseek(fd, 0, SEEK_END);
        lseek(fd, here, SEEK_SET);
        return end;
    }
    const off_t at = lseek(fd, offset, whence & ~AVSEEK_FORCE);
    return at < 0 ? AVERROR(errno) : at;
}

void Prepare(Scaler& scaler, Area area, AVPixelFormat from, AVPixelFormat to, AVColorSpace space,
             bool isFullRange)
{
    constexpr int kFlags = SWS_BILINEAR | SWS_ACCURATE_RND | SWS_BITEXACT; // the same on every machine
    scaler.reset(sws_getCachedContext(scaler.release(), area.width, area.height, from, area.width,
                                      area.height, to, kFlags, nullptr, nullptr, nullptr));
    if (!scaler)
        throw Error("has pixels that cannot be converted");
    const auto range = [&](AVPixelFormat format) {
        return isFullRange || (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_RGB) != 0 ? 1 : 0;
    };
    constexpr int kOne = 1 << 16;
    const int* const colours = sws_getCoefficients(space);
    sws_setColorspaceDetails(scaler.get(), colours, range(from), colours, range(to), 0, kOne, kOne);
}

} // namespace vesk::pictures::media
