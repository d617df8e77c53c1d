// What an input delivers whose camera there is not, or a decoder whose stream is unknown: colours, a grid
// that shows how the picture is scaled and what of it is seen, and a board that says what it is.
#include "pictures/board.h"
#include "pictures/face.h"
#include "pictures/pen.h"

#include <algorithm>
#include <cmath>
#include <iterator>

namespace vesk::pictures {

namespace {

void DrawBars(Pen& pen, const Box& whole, double hue)
{
    static constexpr Colour kBars[] = {{0.75, 0.75, 0.75}, {0.75, 0.75, 0.06}, {0.06, 0.75, 0.75},
                                       {0.06, 0.75, 0.06}, {0.75, 0.06, 0.75}, {0.75, 0.06, 0.06},
                                       {0.06, 0.06, 0.75}};
    constexpr int kSteps = 16;
    const double width = whole.width / std::size(kBars), height = whole.height * 0.66;
    for (size_t i = 0; i < std::size(kBars); ++i)
        pen.Fill({double(i) * width, 0, width, height}, kBars[i]);
    pen.Fill({0, height, whole.width, whole.height * 0.14}, OfHue(hue, 0.75, 0.8));
    for (int i = 0; i < kSteps; ++i) {
        const double grey = double(i) / (kSteps - 1);
        pen.Fill({whole.width * i / kSteps, whole.height * 0.8, whole.width / kSteps, whole.height * 0.2},
                 {grey, grey, grey});
    }
}

/// Slanted bands of the decoder's hue.
void DrawBands(Pen& pen, const Box& whole, double hue)
{
    pen.Fill(whole, OfHue(hue, 0.55, 0.3));
    constexpr int kBands = 12;
    const double step = (whole.width + whole.height) / kBands;
    for (int i = 0; i < kBands; ++i) {
        const double from = step * i;
        pen.Line(from, -step, from - whole.height - 2 * step, whole.height + step, pen.Pixels(step * 0.33),
                 OfHue(hue, 0.5, 0.38));
    }
}

/// The distance of lines: 1, 2 or 5 with zeros, so that there are about 20 on the longer side.
uint64_t StepOf(const Box& box)
{
    const auto least = static_cast<uint64_t>(std::max(box.width, box.height) / 25) + 1;
    for (uint64_t power = 1;; power *= 10) {
        for (const uint64_t digit : {1U, 2U, 5U}) {
            if (digit * power >= least)
                return digit * power;
        }
    }
}

/// The first multiple of a step that is not before a place.
uint64_t FirstOf(uint64_t step, double from)
{
    return static_cast<uint64_t>(std::ceil(from / double(step))) * step;
}

constexpr uint64_t kLabelled = 4; // every fourth line

/// Coordinates where lines meet, if they can be read.
void DrawLabels(Pen& pen, const Box& seen, uint64_t step, double opacity)
{
    constexpr double kLeast = 7; // pixels
    const double size = double(step) * 0.3, gap = size * 0.3;
    if (pen.Pixels(size) < kLeast)
        return;
    const uint64_t apart = step * kLabelled;
    const auto first = [&](double from) { return FirstOf(apart, std::max(from - double(apart), 0.0)); };
    for (uint64_t x = first(seen.x); double(x) < seen.x + seen.width; x += apart) {
        for (uint64_t y = first(seen.y); double(y) < seen.y + seen.height; y += apart) {
            // The mark in the corner stays free.
            const double left = double(x) + gap * (x == 0 ? 2.5 : 1),
                         top = double(y) + gap * (y == 0 ? 2.5 : 1);
            const std::string label = std::to_string(x) + ',' + std::to_string(y);
            const Set set{size, double(step) * 3, Align::kLeft, Weight::kBold};
            pen.Text(left + gap * 0.3, top + size + gap * 0.3, label, set, {0, 0, 0, 0.75 * opacity});
            pen.Text(left, top + size, label, set, {1, 1, 1, opacity});
        }
    }
}

void DrawGrid(Pen& pen, const Box& whole, uint64_t step, double opacity)
{
    const Box seen = pen.Seen(whole);
    const double thin = 0.28 * std::clamp((pen.Pixels(double(step)) - 4) / 10, 0.0, 1.0); // rather than dense
    const auto colour = [&](uint64_t at) {
        return Colour{1, 1, 1, (at / step % kLabelled == 0 ? thin + 0.42 : thin) * opacity};
    };
    const double width = std::clamp(std::round(pen.Pixels(double(step) / 50)), 1.0, 4.0) / pen.Pixels(1);
    for (uint64_t x = FirstOf(step, std::max(seen.x, 1.0)); double(x) < seen.x + seen.width; x += step)
        pen.Fill({double(x), 0, width, whole.height}, colour(x));
    for (uint64_t y = FirstOf(step, std::max(seen.y, 1.0)); double(y) < seen.y + seen.height; y += step)
        pen.Fill({0, double(y), whole.width, width}, colour(y));
    DrawLabels(pen, seen, step, opacity);
}

/// Lines closer together, if little of the source is seen.
void DrawFineGrid(Pen& pen, const Box& whole)
{
    const Box seen = pen.Seen(whole);
    if (std::min(seen.width, seen.height) < double(StepOf(whole)) * 3)
        DrawGrid(pen, whole, StepOf(seen), 0.6);
}

/// What shows that nothing is cut off, and whether circles are round.
void DrawEdges(Pen& pen, const Box& whole, double hue)
{
    const double least = std::min(whole.width, whole.height), thin = std::max(1.0, pen.Pixels(least / 400));
    pen.Line(0, 0, whole.width, whole.height, thin, {1, 1, 1, 0.5});
    pen.Line(0, whole.height, whole.width, 0, thin, {1, 1, 1, 0.5});
    pen.Ring(whole.width / 2, whole.height / 2, least * 0.46, thin * 1.5, {1, 1, 1, 0.8});
    const double mark = least / 14, width = least / 60;
    const Colour bright = OfHue(hue, 0.5, 1);
    for (const double x : {0.0, whole.width}) {
        for (const double y : {0.0, whole.height}) {
            const double left = x > 0 ? x - mark : 0, top = y > 0 ? y - mark : 0;
            pen.Fill({left, y > 0 ? y - width : 0, mark, width}, bright);
            pen.Fill({x > 0 ? x - width : 0, top, width, mark}, bright);
        }
    }
    pen.Frame(whole, least / 300, kWhite);
}

void DrawBoard(Pen& pen, const Look& look)
{
    const Board board(look.source);
    pen.Fill(board.Whole(), {kDark.red, kDark.green, kDark.blue, 0.92});
    pen.Frame(board.Whole(), board.unit * 0.006, OfHue(look.hue, 0.6, 0.95));
    pen.Text(board.Left(), board.Down(-0.105), look.title,
             {board.unit * 0.105, board.TextWidth(), Align::kLeft, Weight::kBold}, kWhite);
    double y = -0.045;
    for (const std::string& line : look.lines) {
        pen.Text(board.Left(), board.Down(y), line, {board.unit * 0.042, board.TextWidth()}, kPale);
        y += 0.052;
    }
    const double width = board.unit * 0.32;
    if (look.digits > 0)
        pen.Text(board.FrameLeft(), board.Down(0.1), "frame", {board.unit * 0.035, width}, kPale);
    else
        pen.Text(board.Left(), board.Down(0.066), "frames decoded", {board.unit * 0.035, width}, kPale);
    pen.Ring(board.MarkX(), board.MarkY(), board.MarkRadius(), std::max(1.0, pen.Pixels(board.unit * 0.005)),
             OfHue(look.hue, 0.4, 0.6));
}

} // namespace

void DrawTestPicture(Pen& pen, const Look& look)
{
    const Box whole = BoxOf(look.source);
    if (look.kind == Look::Kind::kTestPicture)
        DrawBars(pen, whole, look.hue);
    else
        DrawBands(pen, whole, look.hue);
    DrawGrid(pen, whole, StepOf(whole), 1);
    DrawEdges(pen, whole, look.hue);
    DrawBoard(pen, look);
    DrawFineGrid(pen, whole);
}

} // namespace vesk::pictures
