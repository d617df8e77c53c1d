// Reads a file's pictures.
#include "pictures/media/reader.h"

#include "pictures/media/confine.h"

#include <algorithm>
#include <limits>

namespace vesk::pictures::media {

namespace {

/// Some formats say by their name that the range is full, which the library wants to be told.
AVPixelFormat WithoutRange(AVPixelFormat format)
{
    switch (format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    case AV_PIX_FMT_YUVJ440P:
        return AV_PIX_FMT_YUV440P;
    case AV_PIX_FMT_YUVJ411P:
        return AV_PIX_FMT_YUV411P;
    default:
        return format;
    }
}

/// What the frame says, or else what is usual.
AVColorSpace SpaceOf(const AVFrame& frame, bool isFullRange)
{
    if (frame.colorspace != AVCOL_SPC_UNSPECIFIED)
        return frame.colorspace;
    return !isFullRange && frame.height > 576 ? AVCOL_SPC_BT709 : AVCOL_SPC_SMPTE170M;
}

bool HasOpacity(AVPixelFormat format)
{
    return format == AV_PIX_FMT_PAL8 || (av_pix_fmt_desc_get(format)->flags & AV_PIX_FMT_FLAG_ALPHA) != 0;
}

void MultiplyByOpacity(uint8_t* row, int width)
{
    for (uint8_t* pixel = row; pixel != row + ptrdiff_t{4} * width; pixel += 4)
        for (int colour = 0; pixel[3] != 255 && colour < 3; colour++)
            pixel[colour] = static_cast<uint8_t>((pixel[colour] * pixel[3] + 127) / 255);
}

} // namespace

Answer Reader::Read(const Order& order)
{
    LimitProcessorTime(order.processorMs);
    if (!source_)
        Begin();
    constexpr uint64_t kMostMs = std::numeric_limits<int64_t>::max() / 1000;
    const auto time = static_cast<int64_t>(std::min(order.atMs, kMostMs)) * 1000;
    GoTo(length_.isOne ? 0 : length_.microseconds > 0 ? time % length_.microseconds : time);
    const auto number = static_cast<uint64_t>(shown_->pts);
    if (written_.width == 0 || written_.number != number)
        Write(*shown_);
    LimitProcessorTime(0);
    return written_;
}

void Reader::Begin()
{
    source_ = std::make_unique<Source>(fd_);
    length_ = source_->Told();
    if (length_.isOne || length_.microseconds > 0)
        return;
    length_ = source_->Measured();
    Rewind();
}

void Reader::Rewind()
{
    source_.reset(); // both would read the same file
    shown_.reset();
    next_.reset();
    source_ = std::make_unique<Source>(fd_);
}

/// Has the last frame shown that is not later than the time, or else the first one.
void Reader::GoTo(int64_t time)
{
    const int64_t now = shown_ ? shown_->pts : 0;
    bool hasSought = false;
    if (shown_ && (time < now || !next_ || next_->pts <= time)) {
        hasSought = source_->Seek(time, now);
        if (hasSought) {
            shown_.reset();
            next_.reset();
        } else if (time < now) {
            Rewind();
        }
    }
    while (!shown_ || !length_.isOne) { // whatever follows an only picture is not looked at
        if (!next_)
            next_ = source_->Next();
        if (!next_ || next_->pts > time)
            break;
        shown_ = std::move(next_);
    }
    if (!shown_ && hasSought) { // it went too far, or there is nothing
        Rewind();
        return GoTo(time);
    }
    if (!shown_)
        shown_ = std::move(next_);
}

void Reader::Write(const AVFrame& frame)
{
    if (frame.width > static_cast<int>(kMostSide) || frame.height > static_cast<int>(kMostSide))
        throw Error("is larger than 8192 by 8192 pixels");
    const auto told = static_cast<AVPixelFormat>(frame.format);
    const AVPixelFormat format = WithoutRange(told);
    const bool isFullRange = format != told || frame.color_range == AVCOL_RANGE_JPEG;
    Prepare(scaler_, {frame.width, frame.height}, format, AV_PIX_FMT_BGRA, SpaceOf(frame, isFullRange),
            isFullRange);
    auto* const pixels = reinterpret_cast<uint8_t*>(memory_);
    const auto stride = static_cast<int>(RowBytes(static_cast<uint32_t>(frame.width)));
    uint8_t* const rows[] = {pixels, nullptr, nullptr, nullptr};
    const int strides[] = {stride, 0, 0, 0};
    Checked(sws_scale(scaler_.get(), frame.data, frame.linesize, 0, frame.height, rows, strides),
            "has pixels that cannot be converted");
    if (HasOpacity(format))
        for (int y = 0; y < frame.height; y++)
            MultiplyByOpacity(pixels + ptrdiff_t{y} * stride, frame.width);
    written_ = {.number = static_cast<uint64_t>(frame.pts),
                .width = static_cast<uint32_t>(frame.width),
                .height = static_cast<uint32_t>(frame.height),
                .isOnly = length_.isOne ? 1U : 0U,
                .problem = {}};
}

} // namespace vesk::pictures::media
