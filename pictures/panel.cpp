// Texts in place of a picture, and pointers.
#include "pictures/face.h"
#include "pictures/pen.h"

#include <algorithm>
#include <cmath>

namespace vesk::pictures {

void DrawPanel(Picture& onto, const Look& look, const Font& font)
{
    Pen pen(onto, {}, font);
    const double width = look.size.width, height = look.size.height;
    const double unit = std::min(width * 0.6, height),
                 most = std::min(height / (1.6 + 0.9 * double(look.lines.size())), 90.0),
                 title = std::min(std::max(unit * 0.13, 12.0), most);
    const double size = title * 0.6, leading = size * 1.45;
    pen.Fill({0, 0, width, height}, {kDark.red, kDark.green, kDark.blue, look.shade});
    pen.Frame({0, 0, width, height}, std::clamp(unit / 150, 1.0, 4.0),
              OfHue(look.hue, 0.45, 0.5, std::min(1.0, look.shade + 0.2)));
    const auto centred = [&](double of, Weight weight) {
        return Set{of, width - title, Align::kCentre, weight};
    };
    double y = height / 2 - leading * double(look.lines.size()) / 2 + title * 0.35;
    pen.Text(width / 2, y, look.title, centred(title, Weight::kBold), kWhite);
    for (const std::string& line : look.lines) {
        y += leading;
        pen.Text(width / 2, y, line, centred(size, Weight::kNormal), kPale);
    }
}

void DrawTag(Picture& onto, const Look& look, const Font& font)
{
    if (look.tag.empty())
        return;
    Pen pen(onto, {}, font);
    const double width = look.size.width, height = look.size.height;
    const double size = std::clamp(std::min(width * 0.6, height) * 0.06, 7.0, 60.0);
    font.Use(pen.Context(), size, Weight::kBold);
    const std::string text = Fitting(pen.Context(), look.tag, width - 2 * size);
    const double length = WidthOf(pen.Context(), text);
    pen.Fill({0, height - 1.6 * size, length + 1.2 * size, 1.6 * size}, OfHue(look.hue, 0.3, 0.95));
    pen.Text(0.6 * size, height - 0.5 * size, text, {size, length * 1.01, Align::kLeft, Weight::kBold},
             kDark);
}

void DrawPointer(Pen& pen, const Look& look)
{
    // An arrow in a square of 32, whose tip is the corner.
    static constexpr double kArrow[][2] = {{1, 1},   {1, 24},    {6.5, 19},   {10.5, 28},
                                           {15, 26}, {11, 17.5}, {18.5, 17.5}};
    constexpr double kSide = 32;
    const double across = look.source.width / kSide, down = look.source.height / kSide;
    cairo_t* context = pen.Context();
    for (const auto& [x, y] : kArrow)
        cairo_line_to(context, look.transform.x(x * across), look.transform.y(y * down));
    cairo_close_path(context);
    const Colour fill = OfHue(look.hue, look.hue == 0 ? 0 : 0.7, 1);
    cairo_set_source_rgb(context, fill.red, fill.green, fill.blue);
    cairo_fill_preserve(context);
    cairo_set_source_rgb(context, 0, 0, 0);
    cairo_set_line_width(context, std::max(0.75, pen.Pixels(across * 1.6)));
    cairo_stroke(context);
}

} // namespace vesk::pictures
