// Pictures as PNG, by cairo, and as JPEG.
#include "pictures/image_file.h"

#include "base/text.h"
#include "pictures/cairo.h"

#include <cstdio> // before jpeglib.h, which needs it
#include <cstdlib>

#include <jpeglib.h>

#include <algorithm>

namespace vesk::pictures {

namespace {

Bytes EncodePng(const Picture& picture)
{
    Bytes bytes;
    const auto append = [](void* to, const unsigned char* data, unsigned size) {
        try {
            const auto* from = reinterpret_cast<const std::byte*>(data);
            static_cast<Bytes*>(to)->insert(static_cast<Bytes*>(to)->end(), from, from + size);
            return CAIRO_STATUS_SUCCESS;
        } catch (const std::bad_alloc&) {
            return CAIRO_STATUS_NO_MEMORY;
        }
    };
    const cairo_status_t status = cairo_surface_write_to_png_stream(SurfaceOf(picture).get(), append, &bytes);
    if (status != CAIRO_STATUS_SUCCESS)
        throw Error(std::string("no PNG can be made: ") + cairo_status_to_string(status));
    return bytes;
}

[[noreturn]] void ThrowJpegError(j_common_ptr jpeg)
{
    char text[JMSG_LENGTH_MAX];
    jpeg->err->format_message(jpeg, text);
    throw Error(std::string("no JPEG can be made: ") + text);
}

/// What libjpeg works with. Its functions are built so that an exception may pass through them.
struct JpegEncoder {
    jpeg_compress_struct state{};
    jpeg_error_mgr errors{};
    unsigned char* data = nullptr; ///< Allocated by libjpeg.
    unsigned long size = 0;

    JpegEncoder()
    {
        state.err = jpeg_std_error(&errors);
        errors.error_exit = ThrowJpegError;
        jpeg_create_compress(&state);
    }
    ~JpegEncoder()
    {
        jpeg_destroy_compress(&state);
        std::free(data);
    }
    JpegEncoder(const JpegEncoder&) = delete;
};

Bytes EncodeJpeg(const Picture& picture, int quality)
{
    JpegEncoder encoder;
    jpeg_mem_dest(&encoder.state, &encoder.data, &encoder.size);
    encoder.state.image_width = picture.size.width;
    encoder.state.image_height = picture.size.height;
    encoder.state.input_components = 3;
    encoder.state.in_color_space = JCS_RGB;
    jpeg_set_defaults(&encoder.state);
    jpeg_set_quality(&encoder.state, std::clamp(quality, 1, 100), TRUE);
    jpeg_start_compress(&encoder.state, TRUE);
    std::vector<JSAMPLE> row(size_t{picture.size.width} * 3);
    for (size_t y = 0; y < picture.size.height; ++y) {
        const uint32_t* pixel = picture.pixels.data() + y * picture.size.width;
        for (size_t x = 0; x < row.size(); x += 3, ++pixel) {
            row[x] = static_cast<JSAMPLE>(*pixel >> 16U);
            row[x + 1] = static_cast<JSAMPLE>(*pixel >> 8U);
            row[x + 2] = static_cast<JSAMPLE>(*pixel);
        }
        JSAMPROW rows[] = {row.data()};
        jpeg_write_scanlines(&encoder.state, rows, 1);
    }
    jpeg_finish_compress(&encoder.state);
    const auto* data = reinterpret_cast<const std::byte*>(encoder.data);
    return Bytes(data, data + encoder.size);
}

} // namespace

Format FormatOf(const std::string& path)
{
    const auto endsWith = [&](std::string_view end) {
        return path.size() > end.size() &&
               SameText(std::string_view(path).substr(path.size() - end.size()), end);
    };
    if (endsWith(".png"))
        return Format::kPng;
    if (endsWith(".jpg") || endsWith(".jpeg"))
        return Format::kJpeg;
    throw Error(Printable(path) + ": expected a name that ends with .png, .jpg or .jpeg");
}

Bytes Encode(const Picture& picture, Format format, int jpegQuality)
{
    if (picture.size.IsEmpty() || picture.pixels.size() != picture.size.Pixels())
        throw Error("a picture without pixels cannot be written");
    return format == Format::kPng ? EncodePng(picture) : EncodeJpeg(picture, jpegQuality);
}

} // namespace vesk::pictures
