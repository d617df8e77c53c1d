// Where the scenes come from that commands draw.
#pragma once

#include "pictures/scene.h"
#include "tools/veskctl/modules.h"

namespace vesk::ctl {

/// What a display of the device, or else its first one, shows now. @throw Failure
pictures::Scene SceneOfDisplay(Settings& settings, std::optional<uint64_t> display);

/// The scene that is to be drawn: of the device or of a file, now or of a snapshot. @throw Failure, Error
pictures::Scene FindScene(Settings& settings, const ScreenshotOptions& options);

/// The device's time after it has been moved on. @throw Failure, also if it moves by itself
uint64_t MoveTime(Settings& settings, uint64_t milliseconds);

} // namespace vesk::ctl
