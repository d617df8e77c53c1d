// Whether something is shown, or why not.
#pragma once

#include <cstddef>

namespace vesk::service {

enum class Showing {
    kLive,
    kFrozen,    ///< It is seen, but its time stands still.
    kCovered,   ///< One in front of it hides all of it.
    kOutside,   ///< No part of it lies on the display, or nothing of the source is left after cropping.
    kClosed,    ///< Its engine or channel does not exist any more; of a display: it has no engine.
    kDisabled,  ///< It is switched off or hidden; of a display also: by the display mode.
    kUnplugged, ///< Nothing is plugged into its port.
    kStopped,   ///< It is not started.
};

/// Its word: "live", "frozen" and so on.
constexpr const char* WordOf(Showing showing)
{
    constexpr const char* kWords[] = {"live",   "frozen",   "covered",   "outside",
                                      "closed", "disabled", "unplugged", "stopped"};
    return kWords[static_cast<size_t>(showing)];
}

} // namespace vesk::service
