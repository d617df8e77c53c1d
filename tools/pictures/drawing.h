// Pictures of displays, as the commands draw them.
#pragma once

#include "pictures/painter.h"

#include <string>

namespace vesk::ctl {

/// The size that a picture of a display gets: "1280x720", or "1280x" or "x720" in the display's proportions,
/// or the display's own if the text is empty. @throw Failure
pictures::Size SizeFrom(const std::string& text, const pictures::Scene& scene);

/// Draws scenes with the files that they name.
class Drawing {
public:
    const pictures::Picture& Draw(const pictures::Scene& scene, uint64_t atMs,
                                  const pictures::DrawOptions& options)
    {
        return painter_.Draw(scene, atMs, options).picture;
    }
    pictures::Files& Files() { return files_; }

private:
    pictures::Files files_;
    pictures::Painter painter_{files_};
};

} // namespace vesk::ctl
