// Writes a video.
#include "pictures/media/writer.h"

extern "C" {
#include <libavutil/opt.h>
}

#include <algorithm>
#include <cstring>
#include <initializer_list>
#include <new>
#include <span>

namespace vesk::pictures::media {

namespace {

constexpr const char* kCannot = "cannot be written";

/// The number of threads is part of what a file depends on, so it is not the machine's.
constexpr int kThreads = 4;

struct Setting {
    const char* name;
    const char* value;
};

/// An encoder, and what makes flat colours and sharp edges look well with it in little time.
struct Choice {
    const char* encoder;
    std::initializer_list<Setting> settings;
};

const Choice kChoices[] = {
    {"libx264", {{"preset", "veryfast"}, {"crf", "18"}}},
    {"mpeg4", {{"qmin", "2"}, {"qmax", "4"}}},
};
const Choice kWebmChoices[] = {
    {"libvpx-vp9",
     {{"deadline", "realtime"}, {"cpu-used", "6"}, {"crf", "18"}, {"row-mt", "1"}, {"lag-in-frames", "0"}}},
    {"libvpx", {{"deadline", "realtime"}, {"cpu-used", "6"}, {"crf", "6"}, {"b", "20M"}}},
};

const Choice& ChoiceFor(const std::string& container)
{
    for (const Choice& choice : container == "webm" ? std::span<const Choice>(kWebmChoices) : kChoices)
        if (avcodec_find_encoder_by_name(choice.encoder) != nullptr)
            return choice;
    throw Error("FFmpeg's libraries have no encoder for it here");
}

int Even(uint32_t side)
{
    return static_cast<int>(side + side % 2);
}

} // namespace

Writer::Writer(int fd, const std::byte* memory, const std::string& container, Size size, int framesPerSecond)
    : file_(fd, true), memory_(memory), size_(size), area_{Even(size.width), Even(size.height)}
{
    AVFormatContext* opened = nullptr;
    Checked(avformat_alloc_output_context2(&opened, nullptr, container.c_str(), nullptr), kCannot);
    container_.reset(opened);
    file_.AttachTo(*opened);
    opened->flags |= AVFMT_FLAG_BITEXACT;
    stream_ = avformat_new_stream(opened, nullptr);
    if (stream_ == nullptr || !frame_ || !packet_)
        throw std::bad_alloc();
    OpenCodec(framesPerSecond);
    Checked(avcodec_parameters_from_context(stream_->codecpar, codec_.get()), kCannot);
    stream_->time_base = codec_->time_base;
    stream_->avg_frame_rate = codec_->framerate;
    Checked(avformat_write_header(opened, nullptr), kCannot);
    frame_->width = area_.width;
    frame_->height = area_.height;
    frame_->format = codec_->pix_fmt;
    Checked(av_frame_get_buffer(frame_.get(), 0), kCannot);
}

void Writer::OpenCodec(int framesPerSecond)
{
    const Choice& choice = ChoiceFor(container_->oformat->name);
    const AVCodec* const encoder = avcodec_find_encoder_by_name(choice.encoder);
    codec_.reset(avcodec_alloc_context3(encoder));
    if (!codec_)
        throw std::bad_alloc();
    codec_->width = area_.width;
    codec_->height = area_.height;
    codec_->pix_fmt = AV_PIX_FMT_YUV420P;
    codec_->time_base = {1, framesPerSecond};
    codec_->framerate = {framesPerSecond, 1};
    codec_->thread_count = kThreads;
    codec_->flags |= AV_CODEC_FLAG_BITEXACT;
    codec_->color_range = AVCOL_RANGE_MPEG;
    codec_->colorspace = AVCOL_SPC_BT709;
    codec_->color_primaries = AVCOL_PRI_BT709;
    codec_->color_trc = AVCOL_TRC_BT709;
    if ((container_->oformat->flags & AVFMT_GLOBALHEADER) != 0)
        codec_->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    for (const Setting& setting : choice.settings)
        Checked(av_opt_set(codec_.get(), setting.name, setting.value, AV_OPT_SEARCH_CHILDREN), kCannot);
    Checked(avcodec_open2(codec_.get(), encoder, nullptr), kCannot);
}

void Writer::Add(const std::function<void()>& taken)
{
    Convert();
    taken();
    frame_->pts = frames_++;
    WritePackets(frame_.get());
}

void Writer::End()
{
    WritePackets(nullptr);
    Checked(av_write_trailer(container_.get()), kCannot);
    avio_flush(file_.Context());
    Checked(file_.Context()->error, kCannot);
}

void Writer::Convert()
{
    Checked(av_frame_make_writable(frame_.get()), kCannot);
    Prepare(scaler_, area_, AV_PIX_FMT_BGR0, AV_PIX_FMT_YUV420P, AVCOL_SPC_BT709, false);
    const bool isEven = size_.width % 2 == 0 && size_.height % 2 == 0;
    const auto* const pixels = reinterpret_cast<const uint8_t*>(isEven ? memory_ : Padded());
    const uint8_t* const rows[] = {pixels, nullptr, nullptr, nullptr};
    const int strides[] = {static_cast<int>(RowBytes(static_cast<uint32_t>(area_.width))), 0, 0, 0};
    Checked(sws_scale(scaler_.get(), rows, strides, 0, area_.height, frame_->data, frame_->linesize),
            kCannot);
}

/// The picture with its last column and row once more if its sides are odd, as the encoders need even ones.
const std::byte* Writer::Padded()
{
    const Size even{static_cast<uint32_t>(area_.width), static_cast<uint32_t>(area_.height)};
    even_.resize(PictureBytes(even));
    constexpr size_t kPixel = sizeof(uint32_t);
    for (uint32_t y = 0; y < even.height; y++) {
        std::byte* const to = even_.data() + y * RowBytes(even.width);
        const std::byte* const from = memory_ + std::min(y, size_.height - 1) * RowBytes(size_.width);
        std::memcpy(to, from, size_.width * kPixel);
        std::memcpy(to + (even.width - 1) * kPixel, from + (size_.width - 1) * kPixel, kPixel);
    }
    return even_.data();
}

void Writer::WritePackets(const AVFrame* frame)
{
    Checked(avcodec_send_frame(codec_.get(), frame), kCannot);
    int got = 0;
    while ((got = avcodec_receive_packet(codec_.get(), packet_.get())) >= 0) {
        packet_->stream_index = stream_->index;
        packet_->duration = 1;
        av_packet_rescale_ts(packet_.get(), codec_->time_base, stream_->time_base);
        Checked(av_interleaved_write_frame(container_.get(), packet_.get()), kCannot);
    }
    if (got != AVERROR(EAGAIN) && got != AVERROR_EOF)
        ThrowAv(kCannot, got);
}

} // namespace vesk::pictures::media
