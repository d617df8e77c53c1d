// Draws scenes.
#pragma once

#include "pictures/files.h"
#include "pictures/scene.h"

#include <memory>

namespace vesk::pictures {

struct DrawOptions {
    Size size{};             ///< Of the picture; empty: the display's.
    bool isLiveOnly = false; ///< Layers that are not live are left out instead of drawn as dark panels.
};

/**
 * Draws one display after another time, keeping what does not change. A picture is a function of the scene,
 * the time, the options and the files alone. For one thread at a time.
 */
class Painter {
public:
    /// @param files  Outlives the painter; may be shared by painters of one thread.
    explicit Painter(Files& files);
    ~Painter();
    Painter(const Painter&) = delete;

    struct Drawn {
        const Picture& picture; ///< Until the next call.
        uint64_t version;       ///< Another one whenever a pixel may have changed.
    };

    /// @param atMs  Time of the device that is drawn.
    Drawn Draw(const Scene& scene, uint64_t atMs, const DrawOptions& options = {});

private:
    class Canvas;
    std::unique_ptr<Canvas> canvas_;
};

} // namespace vesk::pictures
