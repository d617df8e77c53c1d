// Where a picture lies on a display, and which part of it is seen there.
#include "service/placement.h"

#include <algorithm>

namespace vesk::service {

namespace {

/// One direction of a rectangle: from an edge up to the other.
struct Extent {
    int64_t from = 0;
    int64_t to = 0;

    int64_t Length() const { return to - from; }
    Extent Moved(int64_t by) const { return {from + by, to + by}; }
    Extent Within(const Extent& bounds) const
    {
        const int64_t start = std::clamp(from, bounds.from, bounds.to);
        return {start, std::clamp(to, start, bounds.to)};
    }
    /// @p length of it, in its middle.
    Extent Middle(int64_t length) const
    {
        const int64_t start = from + (Length() - length) / 2;
        return {start, start + length};
    }
};

// Rectangles come from clients: their edges are bounded so that a length fits into its field, and no product
// of two lengths overflows.
Extent Bounded(const Extent& extent)
{
    constexpr int64_t kMost = (int64_t{1} << 30) - 1;
    return extent.Within({-kMost, kMost});
}

Extent Across(const VeskServiceRect& rect)
{
    return Bounded({rect.x, int64_t{rect.x} + rect.width});
}

Extent Down(const VeskServiceRect& rect)
{
    return Bounded({rect.y, int64_t{rect.y} + rect.height});
}

VeskServiceRect RectOf(const Extent& across, const Extent& down)
{
    const Extent x = Bounded(across), y = Bounded(down);
    return {static_cast<int32_t>(x.from), static_cast<int32_t>(y.from), static_cast<int32_t>(x.Length()),
            static_cast<int32_t>(y.Length())};
}

/// value * by / of, rounded; @p of is positive.
int64_t Share(int64_t value, int64_t by, int64_t of)
{
    const int64_t product = value * by;
    return (product >= 0 ? product + of / 2 : product - of / 2) / of;
}

/// The part of @p source that @p clipped shows when @p whole shows all of it: at least a pixel.
Extent PartOf(const Extent& source, const Extent& whole, const Extent& clipped, bool isMirrored)
{
    if (source.Length() <= 0 || whole.Length() <= 0 || clipped.Length() <= 0)
        return {source.from, source.from};
    const int64_t before = isMirrored ? whole.to - clipped.to : clipped.from - whole.from;
    const int64_t length = std::max<int64_t>(Share(clipped.Length(), source.Length(), whole.Length()), 1);
    const int64_t from =
        std::min(source.from + Share(before, source.Length(), whole.Length()), source.to - length);
    return {from, from + length};
}

/// Adapts what a window shows of a picture, and where, to the picture's proportions.
void Adapt(uint32_t showMode, Extent (&window)[2], Extent (&part)[2])
{
    const int64_t windowWide = window[0].Length() * part[1].Length();
    const int64_t partWide = window[1].Length() * part[0].Length();
    // The direction in which the picture is relatively longer than the window, and the other one.
    const int longer = partWide > windowWide ? 0 : 1;
    const int other = 1 - longer;
    if (showMode == VESK_SERVICE_FIT) {
        const int64_t length = Share(window[longer].Length(), part[other].Length(), part[longer].Length());
        window[other] = window[other].Middle(std::max<int64_t>(length, 1));
    } else if (showMode == VESK_SERVICE_FILL) {
        const int64_t length = Share(part[other].Length(), window[longer].Length(), window[other].Length());
        part[longer] = part[longer].Middle(std::max<int64_t>(length, 1));
    } else if (showMode == VESK_SERVICE_CENTRE) {
        for (const int direction : {0, 1}) {
            const int64_t length = std::min(window[direction].Length(), part[direction].Length());
            window[direction] = window[direction].Middle(length);
            part[direction] = part[direction].Middle(length);
        }
    }
}

/// A part of @p whole after a move by @p steps.
Extent Moved(const Extent& part, const Extent& whole, int64_t steps)
{
    constexpr int64_t kMost = VESK_SERVICE_CAM_STEPS;
    const int64_t by = std::clamp(steps, -kMost, kMost);
    const int64_t room = by < 0 ? part.from - whole.from : whole.to - part.to;
    return part.Moved(Share(room, by, kMost));
}

} // namespace

VeskServiceRect RectOf(Size size)
{
    return RectOf({0, size.width}, {0, size.height});
}

bool Contains(const VeskServiceRect& outer, const VeskServiceRect& inner)
{
    const auto isIn = [](const Extent& in, const Extent& out) {
        return in.from >= out.from && in.to <= out.to;
    };
    return isIn(Across(inner), Across(outer)) && isIn(Down(inner), Down(outer));
}

VeskServiceRect Crop(const VeskServiceRect& crop, const VeskServiceRect& whole)
{
    if (IsWhole(crop))
        return whole;
    return RectOf(Across(crop).Moved(whole.x).Within(Across(whole)),
                  Down(crop).Moved(whole.y).Within(Down(whole)));
}

VeskServiceRect PartOf(const VeskServiceRect& source, const VeskServiceRect& whole,
                       const VeskServiceRect& clipped, uint32_t mirror)
{
    return RectOf(
        PartOf(Across(source), Across(whole), Across(clipped),
               (mirror & VESK_SERVICE_MIRROR_HORIZONTALLY) != 0),
        PartOf(Down(source), Down(whole), Down(clipped), (mirror & VESK_SERVICE_MIRROR_VERTICALLY) != 0));
}

VeskServiceRect Shifted(const VeskServiceRect& rect, int32_t right, int32_t down)
{
    return RectOf(Across(rect).Moved(right), Down(rect).Moved(down));
}

VeskServiceRect Scaled(const VeskServiceRect& rect, Size from, Size to)
{
    return Mapped(rect, from, RectOf(to));
}

VeskServiceRect Mapped(const VeskServiceRect& rect, Size from, const VeskServiceRect& to)
{
    const auto map = [](const Extent& extent, int64_t length, const Extent& place) {
        if (length == 0)
            return Extent{place.from, place.from};
        return Extent{Share(extent.from, place.Length(), length), Share(extent.to, place.Length(), length)}
            .Moved(place.from);
    };
    return RectOf(map(Across(rect), from.width, Across(to)), map(Down(rect), from.height, Down(to)));
}

VeskServiceRect Cell(uint32_t cell, uint32_t cells, Size canvas)
{
    uint32_t columns = 1;
    while (columns * columns < cells)
        ++columns;
    const uint32_t rows = (cells + columns - 1) / columns;
    const auto share = [](uint32_t index, uint32_t count, uint32_t length) {
        return Extent{int64_t{index} * length / count, int64_t{index + 1} * length / count};
    };
    return RectOf(share(cell % columns, columns, canvas.width), share(cell / columns, rows, canvas.height));
}

VeskServiceRect CameraView(Size size, const VeskServiceEptz& eptz, const VeskServicePtzf& ptzf,
                           const VeskServiceCameraState& camera)
{
    constexpr uint32_t kWhole = 100; // per cent
    const VeskServiceRect whole = RectOf(size);
    const VeskServiceRect cut = Crop(eptz.crop, whole);
    if (IsEmpty(cut))
        return cut;
    const auto view = [zoom = std::max(ptzf.zoom, kWhole)](const Extent& part, const Extent& all,
                                                           int64_t steps) {
        return Moved(part.Middle(std::max<int64_t>(Share(part.Length(), kWhole, zoom), 1)), all, steps);
    };
    return RectOf(view(Across(cut), Across(whole), int64_t{camera.pan} + ptzf.pan),
                  view(Down(cut), Down(whole), -(int64_t{camera.tilt} + ptzf.tilt)));
}

Placement Place(const VeskServiceRect& part, const VeskServiceRect& window, uint32_t showMode,
                uint32_t mirror, const VeskServiceRect& bounds)
{
    Extent windows[] = {Across(window), Down(window)};
    Extent parts[] = {Across(part), Down(part)};
    const auto hasSides = [](const auto& extents) {
        return extents[0].Length() > 0 && extents[1].Length() > 0;
    };
    const bool isSized = hasSides(parts);
    if (isSized && hasSides(windows))
        Adapt(showMode, windows, parts);
    const Extent rects[] = {windows[0].Within(Across(bounds)), windows[1].Within(Down(bounds))};
    Placement placement{RectOf(windows[0], windows[1]), RectOf(rects[0], rects[1]), {}};
    if (isSized)
        placement.part = PartOf(RectOf(parts[0], parts[1]), placement.window, placement.rect, mirror);
    return placement;
}

VeskServiceRect Through(const Placement& picture, uint32_t mirror, VeskServiceRect rect)
{
    const VeskServiceRect& part = picture.part;
    if (IsEmpty(part))
        return {};
    const auto within = [](const Extent& inner, const Extent& outer, bool isMirrored) {
        return isMirrored ? Extent{outer.to - inner.to, outer.to - inner.from} : inner.Moved(-outer.from);
    };
    rect = RectOf(within(Across(rect), Across(part), (mirror & VESK_SERVICE_MIRROR_HORIZONTALLY) != 0),
                  within(Down(rect), Down(part), (mirror & VESK_SERVICE_MIRROR_VERTICALLY) != 0));
    return Mapped(rect, {static_cast<uint32_t>(part.width), static_cast<uint32_t>(part.height)},
                  picture.rect);
}

} // namespace vesk::service
