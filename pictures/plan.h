// What is drawn of a scene at a time, and where.
#pragma once

#include "pictures/look.h"
#include "pictures/painter.h"

namespace vesk::pictures {

struct PlannedLayer {
    enum class Kind { kWallpaper, kFilterWindow, kOther };

    Kind kind = Kind::kOther;
    Rect place{}; ///< In the picture's pixels; within it.
    uint32_t opacity = 100;
    Look look{};                    ///< Not of a filter window.
    std::optional<Moment> moment{}; ///< Of what changes with each frame.

    bool LiesAs(const PlannedLayer& other) const
    {
        return kind == other.kind && place == other.place && opacity == other.opacity;
    }
};

/// The size of a display's picture. @throw Error if it is too large
Size SizeOf(const Scene& scene, const DrawOptions& options);

/// From back to front.
std::vector<PlannedLayer> PlanOf(const Scene& scene, uint64_t atMs, const DrawOptions& options, Files& files);

} // namespace vesk::pictures
