// The font of all drawings, which is the same on each machine.
#include "pictures/font.h"

#include <cairo-ft.h>

#include <iterator>

namespace vesk::pictures {

namespace {

constexpr const char* kPaths[] = {"/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf",
                                  "/usr/share/fonts/truetype/dejavu/DejaVuSans-Bold.ttf"};

/// A font that FreeType has read. Cairo keeps faces longer than those who use them.
struct OpenFont {
    FT_Library library = nullptr;
    FT_Face face = nullptr;

    explicit OpenFont(const char* path)
    {
        if (FT_Init_FreeType(&library) != 0)
            library = nullptr;
        else if (FT_New_Face(library, path, 0, &face) != 0)
            face = nullptr;
    }
    ~OpenFont()
    {
        if (library != nullptr)
            FT_Done_FreeType(library); // with its faces
    }
    OpenFont(const OpenFont&) = delete;
};

CairoFontFace Open(Weight weight)
{
    static const cairo_user_data_key_t key{};
    auto font = std::make_unique<OpenFont>(kPaths[static_cast<size_t>(weight)]);
    if (font->face != nullptr) {
        CairoFontFace face(cairo_ft_font_face_create_for_ft_face(font->face, FT_LOAD_NO_HINTING));
        const auto close = [](void* data) { delete static_cast<OpenFont*>(data); };
        if (cairo_font_face_set_user_data(face.get(), &key, font.get(), close) == CAIRO_STATUS_SUCCESS) {
            static_cast<void>(font.release());
            return face;
        }
    }
    return CairoFontFace(cairo_toy_font_face_create("DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                                                    weight == Weight::kBold ? CAIRO_FONT_WEIGHT_BOLD
                                                                            : CAIRO_FONT_WEIGHT_NORMAL));
}

/// Where the character before @p end begins.
size_t Before(std::string_view text, size_t end)
{
    do
        --end;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xc0U) == 0x80);
    return end;
}

} // namespace

Font::Font() : faces_{Open(Weight::kNormal), Open(Weight::kBold)}, options_(cairo_font_options_create())
{
    cairo_font_options_set_antialias(options_.get(), CAIRO_ANTIALIAS_GRAY);
    cairo_font_options_set_hint_style(options_.get(), CAIRO_HINT_STYLE_NONE);
    cairo_font_options_set_hint_metrics(options_.get(), CAIRO_HINT_METRICS_OFF);
}

void Font::Use(cairo_t* context, double size, Weight weight) const
{
    cairo_set_font_face(context, faces_[static_cast<size_t>(weight)].get());
    cairo_set_font_options(context, options_.get());
    cairo_set_font_size(context, size);
}

double WidthOf(cairo_t* context, const std::string& text)
{
    cairo_text_extents_t extents{};
    cairo_text_extents(context, text.c_str(), &extents);
    return extents.x_advance;
}

std::string Fitting(cairo_t* context, std::string_view text, double width)
{
    constexpr size_t kMost = 300; // bytes; more than fits in a line that can be read
    size_t end = text.size() <= kMost ? text.size() : Before(text, kMost + 1);
    std::string fitting(text.substr(0, end));
    if (end == text.size() && WidthOf(context, fitting) <= width)
        return fitting;
    while (end > 0) {
        end = Before(text, end);
        fitting = std::string(text.substr(0, end)) + "\u2026";
        if (WidthOf(context, fitting) <= width)
            return fitting;
    }
    return {};
}

} // namespace vesk::pictures
