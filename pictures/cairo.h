// Owners of what cairo makes.
#pragma once

#include "base/error.h"
#include "pictures/picture.h"

#include <cairo.h>

#include <memory>

namespace vesk::pictures {

struct CairoDelete {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
    void operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }
    void operator()(cairo_font_face_t* face) const { cairo_font_face_destroy(face); }
    void operator()(cairo_font_options_t* options) const { cairo_font_options_destroy(options); }
};
using CairoSurface = std::unique_ptr<cairo_surface_t, CairoDelete>;
using CairoContext = std::unique_ptr<cairo_t, CairoDelete>;
using CairoPattern = std::unique_ptr<cairo_pattern_t, CairoDelete>;
using CairoFontFace = std::unique_ptr<cairo_font_face_t, CairoDelete>;
using CairoFontOptions = std::unique_ptr<cairo_font_options_t, CairoDelete>;

/// A surface over a picture's own pixels, which outlives it. Whoever only reads it may pass one that is
/// const.
inline CairoSurface SurfaceOf(const Picture& picture)
{
    auto* data = reinterpret_cast<unsigned char*>(const_cast<uint32_t*>(picture.pixels.data()));
    const auto width = static_cast<int>(picture.size.width), height = static_cast<int>(picture.size.height);
    CairoSurface surface(
        cairo_image_surface_create_for_data(data, CAIRO_FORMAT_ARGB32, width, height, width * 4));
    if (cairo_surface_status(surface.get()) != CAIRO_STATUS_SUCCESS)
        throw Error(cairo_status_to_string(cairo_surface_status(surface.get())));
    return surface;
}

} // namespace vesk::pictures
