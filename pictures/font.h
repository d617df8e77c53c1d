// The font of all drawings, which is the same on each machine.
#pragma once

#include "pictures/cairo.h"

#include <string>
#include <string_view>

namespace vesk::pictures {

enum class Weight { kNormal, kBold };

class Font {
public:
    Font();

    /// Makes it the font of a context, at a size in the context's units.
    void Use(cairo_t* context, double size, Weight weight = Weight::kNormal) const;

private:
    CairoFontFace faces_[2];
    CairoFontOptions options_;
};

/// How wide a text is in the font of a context.
double WidthOf(cairo_t* context, const std::string& text);

/// A printable text, shortened with an ellipsis so that it is no wider than @p width.
std::string Fitting(cairo_t* context, std::string_view text, double width);

} // namespace vesk::pictures
