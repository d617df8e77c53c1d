// Where a picture lies on a display, and which part of it is seen there.
#pragma once

#include "vesk_service/virtual_service.h"

#include <cstdint>

namespace vesk::service {

/// The width and height of a picture; 0 when they are not known.
struct Size {
    uint32_t width = 0;
    uint32_t height = 0;

    bool IsKnown() const { return width != 0 && height != 0; }
};

/// How a picture is placed.
struct Placement {
    VeskServiceRect window{}; ///< Where it lies, which may reach beyond the display.
    VeskServiceRect rect{};   ///< What the display shows of that; without sides if it is nothing.
    VeskServiceRect part{};   ///< The part of the picture that is seen there; of one without a size, all 0.
};

inline bool IsWhole(const VeskServiceRect& rect)
{
    return rect.width == 0 && rect.height == 0 && rect.x == 0 && rect.y == 0;
}

inline bool IsEmpty(const VeskServiceRect& rect)
{
    return rect.width <= 0 || rect.height <= 0;
}

/// True when @p inner is nowhere outside @p outer.
bool Contains(const VeskServiceRect& outer, const VeskServiceRect& inner);

VeskServiceRect RectOf(Size);

/// A rectangle within @p whole, where it stands for all of it if it is all 0. Clipped.
VeskServiceRect Crop(const VeskServiceRect& crop, const VeskServiceRect& whole);

/// The part of @p source that @p clipped shows when @p whole shows all of it: at least a pixel, unless one of
/// them has no sides.
VeskServiceRect PartOf(const VeskServiceRect& source, const VeskServiceRect& whole,
                       const VeskServiceRect& clipped, uint32_t mirror);

/// A rectangle that counts in @p from, in @p to.
VeskServiceRect Scaled(const VeskServiceRect& rect, Size from, Size to);

/// A rectangle moved to the right and down.
VeskServiceRect Shifted(const VeskServiceRect& rect, int32_t right, int32_t down);

/// A rectangle that counts in @p from, at its place in @p to; without sides if @p from is unknown.
VeskServiceRect Mapped(const VeskServiceRect& rect, Size from, const VeskServiceRect& to);

/// The cell of a grid that @p cells share.
VeskServiceRect Cell(uint32_t cell, uint32_t cells, Size canvas);

/// The part of a picture of @p size that a camera delivers: @p eptz of it, enlarged by @p ptzf, and moved by
/// @p camera. A move by VESK_SERVICE_CAM_STEPS ends at the edge. Without sides if @p eptz leaves nothing.
VeskServiceRect CameraView(Size size, const VeskServiceEptz& eptz, const VeskServicePtzf& ptzf,
                           const VeskServiceCameraState& camera);

/// Places @p part of a picture into a window of which as much is seen as lies within @p bounds.
/// @param part  Without sides if the picture has no known size.
Placement Place(const VeskServiceRect& part, const VeskServiceRect& window, uint32_t showMode,
                uint32_t mirror, const VeskServiceRect& bounds);

/// Where a rectangle of a picture's pixels lies on the display, given where and how the picture does.
VeskServiceRect Through(const Placement& picture, uint32_t mirror, VeskServiceRect rect);

} // namespace vesk::service
