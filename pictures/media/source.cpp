// The frames of a file, one after another.
#include "pictures/media/source.h"

#include "pictures/picture.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <string_view>

namespace vesk::pictures::media {

namespace {

// What can be in files. None of these formats has another file opened.
constexpr const char* kFormats =
    "png_pipe,apng,jpeg_pipe,bmp_pipe,gif,webp_pipe,mov,mp4,matroska,webm,mpegts,avi,"
    "h264,hevc,mjpeg,ivf,flv,m4v,mpeg,mpegvideo,yuv4mpegpipe";
constexpr const char* kCodecs =
    "png,apng,mjpeg,bmp,gif,webp,vp8,vp9,libdav1d,h264,hevc,mpeg1video,mpeg2video,mpeg4,"
    "h263,flv,rawvideo,ffv1,qtrle,huffyuv";
constexpr const char* kCannot = "cannot be read";

constexpr AVRational kMicroseconds{1, 1000000};

/// Farther ahead, a file that has no index is searched rather than decoded.
constexpr int64_t kFar = 10'000'000;

void Set(AVDictionary*& options, const char* name, const char* value)
{
    if (av_dict_set(&options, name, value, 0) < 0)
        throw std::bad_alloc();
}

int FromBeginning(int fd)
{
    lseek(fd, 0, SEEK_SET);
    return fd;
}

} // namespace

Source::Source(int fd) : file_(FromBeginning(fd), false)
{
    Open();
    isStill_ = std::string_view(container_->iformat->name).ends_with("_pipe");
    if (!isStill_)
        Checked(avformat_find_stream_info(container_.get(), nullptr), kCannot);
    const int best = av_find_best_stream(container_.get(), AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    if (best < 0)
        throw Error("has no picture");
    stream_ = container_->streams[best];
    for (unsigned i = 0; i < container_->nb_streams; i++)
        if (container_->streams[i] != stream_)
            container_->streams[i]->discard = AVDISCARD_ALL;
    OpenCodec();
}

void Source::Open()
{
    AVFormatContext* container = avformat_alloc_context();
    if (container == nullptr || !packet_)
        throw std::bad_alloc();
    file_.AttachTo(*container);
    AVDictionary* options = nullptr;
    Set(options, "format_whitelist", kFormats);
    Set(options, "codec_whitelist", kCodecs);
    Set(options, "protocol_whitelist", ",");
    const int error = avformat_open_input(&container, nullptr, nullptr, &options); // frees it if it fails
    av_dict_free(&options);
    // The latter is of one that FFmpeg knows but that is not listed.
    if (error == AVERROR_INVALIDDATA || error == AVERROR(EINVAL))
        throw Error("is no picture or video of a known format");
    Checked(error, kCannot);
    container_.reset(container);
}

void Source::OpenCodec()
{
    const AVCodecParameters& parameters = *stream_->codecpar;
    const AVCodec* const decoder = avcodec_find_decoder(parameters.codec_id);
    if (decoder == nullptr)
        throw Error(std::string("has pictures of an unknown kind: ") + avcodec_get_name(parameters.codec_id));
    codec_.reset(avcodec_alloc_context3(decoder));
    if (!codec_)
        throw std::bad_alloc();
    Checked(avcodec_parameters_to_context(codec_.get(), &parameters), kCannot);
    codec_->pkt_timebase = stream_->time_base;
    codec_->thread_count = 1;
    codec_->max_pixels = int64_t{kMostSide} * kMostSide;
    codec_->codec_whitelist = av_strdup(kCodecs);
    if (isStill_) // which others are compared with, so it is read as a whole or not at all
        codec_->err_recognition = AV_EF_CRCCHECK | AV_EF_BITSTREAM | AV_EF_BUFFER | AV_EF_EXPLODE;
    Checked(avcodec_open2(codec_.get(), decoder, nullptr), kCannot);
}

Image Source::Next()
{
    Image frame(av_frame_alloc());
    if (!frame)
        throw std::bad_alloc();
    for (;;) {
        const int got = avcodec_receive_frame(codec_.get(), frame.get());
        if (got >= 0)
            break;
        if (got != AVERROR(EAGAIN) && got != AVERROR_EOF)
            Note(got);
        if (isAtEnd_ && frames_ == 0)
            ThrowAv(kCannot, error_);
        if (isAtEnd_)
            return nullptr;
        Feed();
    }
    frame->pts = TimeOf(*frame);
    frames_++;
    return frame;
}

void Source::Feed()
{
    if (av_read_frame(container_.get(), packet_.get()) < 0) {
        isAtEnd_ = true;
        avcodec_send_packet(codec_.get(), nullptr);
        return;
    }
    const int error =
        packet_->stream_index == stream_->index ? avcodec_send_packet(codec_.get(), packet_.get()) : 0;
    av_packet_unref(packet_.get());
    if (error < 0)
        Note(error);
}

/// Of a video, the frames that can be decoded are shown.
void Source::Note(int error)
{
    error_ = error;
    if (isStill_)
        ThrowAv(kCannot, error);
}

bool Source::HasTimes() const
{
    const std::string_view name = container_->iformat->name;
    return (container_->iformat->flags & AVFMT_NOTIMESTAMPS) == 0 && name != "gif" && name != "apng";
}

int64_t Source::Start() const
{
    return stream_->start_time == AV_NOPTS_VALUE ? 0 : stream_->start_time;
}

int64_t Source::TimeOf(const AVFrame& frame) const
{
    const AVRational rate = stream_->avg_frame_rate;
    if (frame.best_effort_timestamp == AV_NOPTS_VALUE)
        return av_rescale_q(frames_, rate.num > 0 && rate.den > 0 ? av_inv_q(rate) : AVRational{1, 25},
                            kMicroseconds);
    const int64_t time =
        av_rescale_q(av_sat_sub64(frame.best_effort_timestamp, Start()), stream_->time_base, kMicroseconds);
    return std::max<int64_t>(time, 0);
}

Length Source::Told() const
{
    if (isStill_ || stream_->nb_frames == 1)
        return {0, true};
    if (stream_->duration > 0)
        return {av_rescale_q(stream_->duration, stream_->time_base, kMicroseconds), false};
    return {std::max<int64_t>(container_->duration, 0), false};
}

Length Source::Measured()
{
    int64_t frames = 0;
    int64_t end = 0;
    while (av_read_frame(container_.get(), packet_.get()) >= 0) {
        if (packet_->stream_index == stream_->index) {
            frames++;
            if (packet_->pts != AV_NOPTS_VALUE)
                end = std::max(end, av_sat_add64(packet_->pts, packet_->duration));
        }
        av_packet_unref(packet_.get());
    }
    const AVRational rate = stream_->avg_frame_rate;
    if (end > 0)
        end = av_rescale_q(av_sat_sub64(end, Start()), stream_->time_base, kMicroseconds);
    else if (rate.num > 0 && rate.den > 0)
        end = av_rescale_q(frames, av_inv_q(rate), kMicroseconds);
    return {std::max<int64_t>(end, 0), frames == 1};
}

bool Source::Seek(int64_t time, int64_t now)
{
    if (!HasTimes())
        return false;
    const int64_t at = av_sat_add64(av_rescale_q(time, kMicroseconds, stream_->time_base), Start());
    if (time >= now) {
        const AVIndexEntry* const key =
            avformat_index_get_entry_from_timestamp(stream_, at, AVSEEK_FLAG_BACKWARD);
        const bool isNearer =
            key != nullptr &&
            key->timestamp > av_sat_add64(av_rescale_q(now, kMicroseconds, stream_->time_base), Start());
        if (!isNearer && (key != nullptr || time - now < kFar))
            return false;
    }
    if (av_seek_frame(container_.get(), stream_->index, at, AVSEEK_FLAG_BACKWARD) < 0)
        return false;
    avcodec_flush_buffers(codec_.get());
    isAtEnd_ = false;
    return true;
}

} // namespace vesk::pictures::media
