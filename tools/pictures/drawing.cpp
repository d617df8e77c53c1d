// Pictures of displays, as the commands draw them.
#include "tools/pictures/drawing.h"

#include "tools/veskctl/failure.h"

#include <algorithm>
#include <charconv>
#include <optional>

namespace vesk::ctl {

using pictures::kMostSide;
using pictures::Size;

namespace {

/// A side of a size; 0 if it is left out. Nothing if it is no side.
std::optional<uint32_t> SideFrom(std::string_view text)
{
    uint32_t side = 0;
    const char* const end = text.data() + text.size();
    if (text.empty())
        return 0;
    const auto [rest, problem] = std::from_chars(text.data(), end, side);
    if (problem != std::errc() || rest != end || side == 0 || side > kMostSide)
        return std::nullopt;
    return side;
}

/// @p side in the proportion of two others.
uint32_t Scaled(uint32_t side, uint32_t to, uint32_t from)
{
    const uint64_t scaled = (uint64_t{side} * to + from / 2) / from;
    return static_cast<uint32_t>(std::clamp<uint64_t>(scaled, 1, kMostSide));
}

} // namespace

Size SizeFrom(const std::string& text, const pictures::Scene& scene)
{
    const Size& display = scene.canvas;
    if (text.empty() && !display.IsEmpty())
        return display;
    if (text.empty())
        throw Failure(kFailed,
                      "display " + std::to_string(scene.voPort) + " has no size; give one by --size");
    const size_t middle = text.find('x');
    const auto width = SideFrom(std::string_view(text).substr(0, middle));
    const auto height =
        middle == text.npos ? std::nullopt : SideFrom(std::string_view(text).substr(middle + 1));
    if (!width || !height || (*width == 0 && *height == 0))
        throw Failure(kUsage, "--size " + text + ": expected WxH, Wx or xH with sides from 1 to " +
                                  std::to_string(kMostSide));
    if (*width != 0 && *height != 0)
        return {*width, *height};
    if (display.IsEmpty())
        throw Failure(kFailed, "--size " + text + ": display " + std::to_string(scene.voPort) +
                                   " has no proportions; give both sides");
    return *width != 0 ? Size{*width, Scaled(*width, display.height, display.width)}
                       : Size{Scaled(*height, display.width, display.height), *height};
}

} // namespace vesk::ctl
