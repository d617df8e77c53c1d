// What changes on a drawing with each frame: a clock, a number and a mark that goes round.
#include "pictures/ticker.h"

#include "pictures/board.h"
#include "pictures/pen.h"

#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <numbers>

namespace vesk::pictures {

namespace {

constexpr size_t kUsualFrameDigits = 9;

/// The part of a size that a character takes up; that of digits is the font's.
double WidthOf(char character)
{
    return character == ':' || character == '.' ? 0.34 : 0.636;
}

/// Where the corner of a box lies, counted from the pixel of its origin.
std::pair<int32_t, int32_t> CornerOf(const Box& box, const Transform& transform)
{
    const auto corner = [](double from, double length, double scale) {
        return static_cast<int32_t>(std::floor(std::min(from * scale, (from + length) * scale))) - 1;
    };
    return {corner(box.x, box.width, transform.x.scale), corner(box.y, box.height, transform.y.scale)};
}

Box GlyphBox(double size, char character)
{
    return {0, -0.8 * size, WidthOf(character) * size, 0.9 * size};
}

Box MarkBox(double radius)
{
    return {-radius, -radius, 2 * radius, 2 * radius};
}

int32_t Pixel(double at)
{
    constexpr double kFar = 1 << 24;
    return static_cast<int32_t>(std::lround(std::clamp(at, -kFar, kFar)));
}

} // namespace

template <class Draw>
Picture Ticker::Drawn(const Box& box, const Draw& draw) const
{
    const double width = std::ceil(box.width * std::abs(transform_.x.scale)) + 2,
                 height = std::ceil(box.height * std::abs(transform_.y.scale)) + 2;
    if (width * 2 > size_.width || height * 2 > size_.height)
        return {};
    Picture picture(Size{static_cast<uint32_t>(width), static_cast<uint32_t>(height)});
    const CairoSurface surface = SurfaceOf(picture);
    const CairoContext context(cairo_create(surface.get()));
    const auto [x, y] = CornerOf(box, transform_);
    cairo_translate(context.get(), -x, -y);
    cairo_scale(context.get(), transform_.x.scale, transform_.y.scale);
    draw(context.get());
    return picture;
}

Ticker::Ticker(const Look& look, const Font& font)
    : font_(font), size_(look.size), source_(look.source), transform_(look.transform), hue_(look.hue),
      digits_(look.digits)
{
    const Board board(source_);
    // A clock that has run for many hours has more digits, but no more room.
    const double sizes = WidthOf('0') * double(digits_ + 5) + 2 * WidthOf(':');
    const double size = std::min(0.105 * board.unit, (board.FrameLeft() - board.Left()) * 0.98 / sizes);
    lines_.push_back({board.Left(), board.ClockBaseline(), size, {}});
    if (digits_ > 0)
        lines_.push_back({board.FrameLeft(), board.ClockBaseline(), 0.055 * board.unit, {}});
    const double radius = 0.022 * board.unit;
    mark_ = Drawn(MarkBox(radius), [&](cairo_t* context) {
        const Colour colour = OfHue(hue_, 0.55, 1);
        cairo_set_source_rgb(context, colour.red, colour.green, colour.blue);
        cairo_arc(context, 0, 0, radius, 0, 2 * std::numbers::pi);
        cairo_fill(context);
    });
}

std::vector<Piece> Ticker::At(const Moment& moment)
{
    std::vector<Piece> pieces;
    char text[40];
    if (digits_ > 0) {
        std::snprintf(text, sizeof text, "%0*" PRIu64 ":%02u.%03u", int(digits_), moment.ms / 60000,
                      unsigned(moment.ms / 1000 % 60), unsigned(moment.ms % 1000));
        Write(lines_.front(), text, digits_ + 7, pieces);
    }
    std::snprintf(text, sizeof text, "%" PRIu64, moment.frame);
    Write(lines_.back(), text, kUsualFrameDigits, pieces);
    pieces.push_back(Mark(moment));
    return pieces;
}

void Ticker::Write(Line& line, std::string_view text, size_t length, std::vector<Piece>& pieces)
{
    double x = line.x;
    for (size_t i = 0; i < std::max(length, text.size()); ++i) {
        const char character = i < text.size() ? text[i] : ' ';
        pieces.push_back(character == ' ' ? Piece{} : Glyph(line, x, character));
        x += WidthOf(character) * line.size;
    }
}

Piece Ticker::Glyph(Line& line, double x, char character)
{
    const Box box = GlyphBox(line.size, character);
    const auto [place, isNew] = line.glyphs.try_emplace(character);
    if (isNew) {
        place->second = Drawn(box, [&](cairo_t* context) {
            const char text[] = {character, '\0'};
            font_.Use(context, line.size);
            cairo_set_source_rgb(context, kWhite.red, kWhite.green, kWhite.blue);
            cairo_move_to(context, 0, 0);
            cairo_show_text(context, text);
        });
    }
    if (place->second.IsEmpty())
        return {};
    const auto [cornerX, cornerY] = CornerOf(box, transform_);
    return {Pixel(transform_.x(x)) + cornerX, Pixel(transform_.y(line.y)) + cornerY, &place->second};
}

Piece Ticker::Mark(const Moment& moment)
{
    if (mark_.IsEmpty())
        return {};
    const Board board(source_);
    const double angle = 2 * std::numbers::pi * double(moment.frame % moment.fr) / moment.fr;
    const auto [cornerX, cornerY] = CornerOf(MarkBox(0.022 * board.unit), transform_);
    const double x = board.MarkX() + board.MarkRadius() * std::sin(angle),
                 y = board.MarkY() - board.MarkRadius() * std::cos(angle);
    return {Pixel(transform_.x(x)) + cornerX, Pixel(transform_.y(y)) + cornerY, &mark_};
}

} // namespace vesk::pictures
