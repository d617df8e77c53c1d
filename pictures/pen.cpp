// Draws in the coordinates of a source: whole pixels for edges, and text that is sharp at each scale.
#include "pictures/pen.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vesk::pictures {

namespace {

/// Cairo counts in 24 bits and 8 binary places, so what lies farther away is cut off before.
constexpr double kFar = 1 << 20;

double Edge(double at, uint32_t length)
{
    return std::round(std::clamp(at, -kFar, kFar + length));
}

} // namespace

Colour OfHue(double hue, double saturation, double value, double opacity)
{
    const auto channel = [&](double shift) {
        const double place = std::fmod(hue * 6 + shift, 6.0);
        return value * (1 - saturation * std::clamp(std::min(place, 4 - place), 0.0, 1.0));
    };
    return {channel(5), channel(3), channel(1), opacity};
}

Pen::Pen(Picture& onto, const Transform& transform, const Font& font)
    : surface_(SurfaceOf(onto)), context_(cairo_create(surface_.get())), size_(onto.size),
      transform_(transform), font_(font)
{
}

void Pen::Take(const Colour& colour)
{
    cairo_set_source_rgba(context_.get(), colour.red, colour.green, colour.blue, colour.opacity);
}

double Pen::Pixels(double length) const
{
    return length * std::min(std::abs(transform_.x.scale), std::abs(transform_.y.scale));
}

bool Pen::IsNear(double x, double y, double reach) const
{
    const double across = reach * std::abs(transform_.x.scale), down = reach * std::abs(transform_.y.scale);
    const double toX = transform_.x(x), toY = transform_.y(y);
    return across + down < kFar && toX + across > 0 && toX - across < size_.width && toY + down > 0 &&
           toY - down < size_.height;
}

void Pen::Fill(const Box& box, const Colour& colour)
{
    const double fromX = Edge(transform_.x(box.x), size_.width),
                 toX = Edge(transform_.x(box.x + box.width), size_.width),
                 fromY = Edge(transform_.y(box.y), size_.height),
                 toY = Edge(transform_.y(box.y + box.height), size_.height);
    Take(colour);
    cairo_rectangle(context_.get(), fromX, fromY, toX - fromX, toY - fromY);
    cairo_fill(context_.get());
}

void Pen::Frame(const Box& box, double width, const Colour& colour)
{
    const double across = std::max(width, 1 / std::abs(transform_.x.scale)),
                 down = std::max(width, 1 / std::abs(transform_.y.scale));
    Fill({box.x, box.y, box.width, down}, colour);
    Fill({box.x, box.y + box.height - down, box.width, down}, colour);
    Fill({box.x, box.y + down, across, box.height - 2 * down}, colour);
    Fill({box.x + box.width - across, box.y + down, across, box.height - 2 * down}, colour);
}

void Pen::Line(double fromX, double fromY, double toX, double toY, double pixels, const Colour& colour)
{
    if (!IsNear((fromX + toX) / 2, (fromY + toY) / 2, std::max(std::abs(toX - fromX), std::abs(toY - fromY))))
        return;
    Take(colour);
    cairo_set_line_width(context_.get(), pixels);
    cairo_move_to(context_.get(), transform_.x(fromX), transform_.y(fromY));
    cairo_line_to(context_.get(), transform_.x(toX), transform_.y(toY));
    cairo_stroke(context_.get());
}

void Pen::Ring(double x, double y, double radius, double pixels, const Colour& colour)
{
    if (!IsNear(x, y, radius))
        return;
    cairo_save(context_.get());
    cairo_translate(context_.get(), transform_.x(x), transform_.y(y));
    cairo_scale(context_.get(), transform_.x.scale, transform_.y.scale);
    cairo_new_path(context_.get());
    cairo_arc(context_.get(), 0, 0, radius, 0, 2 * std::numbers::pi);
    cairo_restore(context_.get());
    Take(colour);
    cairo_set_line_width(context_.get(), pixels);
    cairo_stroke(context_.get());
}

void Pen::Text(double x, double y, const std::string& text, const Set& set, const Colour& colour)
{
    constexpr double kLeast = 3; // pixels; less cannot be read
    if (text.empty() || Pixels(set.size) < kLeast || !IsNear(x, y, set.width + set.size))
        return;
    cairo_save(context_.get());
    cairo_translate(context_.get(), transform_.x(x), transform_.y(y));
    cairo_scale(context_.get(), transform_.x.scale, transform_.y.scale);
    font_.Use(context_.get(), set.size, set.weight);
    const std::string fitting = Fitting(context_.get(), text, set.width);
    const double width = set.align == Align::kLeft ? 0 : WidthOf(context_.get(), fitting);
    Take(colour);
    cairo_move_to(context_.get(), set.align == Align::kCentre ? -width / 2 : -width, 0);
    cairo_show_text(context_.get(), fitting.c_str());
    cairo_new_path(context_.get());
    cairo_restore(context_.get());
}

Box Pen::Seen(const Box& whole) const
{
    const auto within = [](double from, double length, const Axis& axis, uint32_t pixels) {
        const double a = -axis.offset / axis.scale, b = (pixels - axis.offset) / axis.scale;
        const double start = std::clamp(std::min(a, b), from, from + length);
        return std::pair(start, std::clamp(std::max(a, b), start, from + length) - start);
    };
    const auto [x, width] = within(whole.x, whole.width, transform_.x, size_.width);
    const auto [y, height] = within(whole.y, whole.height, transform_.y, size_.height);
    return {x, y, width, height};
}

} // namespace vesk::pictures
