// What displays show, as pictures.
#include "tools/web/displays.h"

#include "pictures/image_file.h"
#include "tools/web/api.h"
#include "tools/web/problem.h"

#include <algorithm>

namespace vesk::web {

using ctl::Failure;
using pictures::Scene;
using pictures::Size;

namespace {

constexpr Size kMostSize{3840, 2160};
constexpr Size kSizeOfNone{1280, 720}; // of a display without a mode
constexpr uint32_t kWidthStep = 32;
constexpr size_t kMostShown = 16;
constexpr size_t kMostPixels = size_t{32} << 20U; // of all that are kept
constexpr int kQuality = 85;

/// As large as wanted at most, in the shape of the display, which is not enlarged. Widths are rounded, so
/// that those who ask for slightly different ones share a picture.
Size SizeFor(const Request& request, Size display)
{
    Size size{std::min(display.width, kMostSize.width), std::min(display.height, kMostSize.height)};
    if (const std::string* width = request.Argument("width"))
        size.width =
            static_cast<uint32_t>(std::min<uint64_t>(NumberFrom(*width, "width", UINT32_MAX), size.width));
    if (const std::string* height = request.Argument("height"))
        size.height =
            static_cast<uint32_t>(std::min<uint64_t>(NumberFrom(*height, "height", UINT32_MAX), size.height));
    const uint64_t fitting =
        std::min<uint64_t>(size.width, uint64_t{size.height} * display.width / display.height);
    const uint64_t rounded = (fitting + kWidthStep - 1) / kWidthStep * kWidthStep;
    const uint64_t width = std::clamp<uint64_t>(rounded, kWidthStep, std::max(display.width, kWidthStep));
    return {static_cast<uint32_t>(width),
            static_cast<uint32_t>(std::max<uint64_t>(width * display.height / display.width, 1))};
}

Body BodyOf(const Bytes& bytes)
{
    return std::make_shared<const std::string>(reinterpret_cast<const char*>(bytes.data()), bytes.size());
}

} // namespace

Displays::Displays(Device& device)
    : device_(device), begun_(std::to_string(std::chrono::system_clock::now().time_since_epoch().count()))
{
}

Answer Displays::Picture(const Request& request)
{
    constexpr std::string_view kFolder = "/displays/";
    const size_t dot = request.path.find('.');
    const std::string end = dot == request.path.npos ? "" : request.path.substr(dot);
    if (end != ".jpg" && end != ".png")
        return NotFound("there is no " + request.path);
    Wanted wanted;
    wanted.display =
        NumberFrom(request.path.substr(kFolder.size(), dot - kFolder.size()), "display", UINT32_MAX - 1);
    wanted.isFile = end == ".png";
    const std::string* const isLiveOnly = request.Argument("live-only");
    wanted.isLiveOnly = isLiveOnly != nullptr && *isLiveOnly == "1";
    const Scene& scene = SceneOf(wanted.display);
    const Size display = scene.canvas.IsEmpty() ? kSizeOfNone : scene.canvas;
    wanted.size = wanted.isFile ? display : SizeFor(request, display);
    Shown& shown = Find(wanted);
    Refresh(shown, scene);
    Answer answer{200, wanted.isFile ? "image/png" : "image/jpeg", shown.encoded, Tag(shown)};
    if (wanted.isFile)
        answer.headers = {{"Content-Disposition",
                           "attachment; filename=\"display-" + std::to_string(wanted.display) + ".png\""}};
    return answer;
}

const Scene& Displays::SceneOf(uint64_t display)
{
    const Document document = device_.Scenes();
    if (document.tag != scenesTag_) {
        scenes_ = pictures::ReadScenes(*document.json);
        scenesTag_ = document.tag;
    }
    const auto isIt = [&](const Scene& scene) { return scene.voPort == display; };
    auto scene = std::find_if(scenes_.begin(), scenes_.end(), isIt);
    if (scene ==
        scenes_.end()) { // the service has no such display, which it says, or too many for one answer
        for (Scene& own : pictures::ReadScenes(*device_.Scenes(display).json))
            scenes_.push_back(std::move(own));
        scene = std::find_if(scenes_.begin(), scenes_.end(), isIt);
    }
    if (scene == scenes_.end())
        throw Failure(ctl::kFailed,
                      "the service does not say what display " + std::to_string(display) + " shows");
    return *scene;
}

/// Those that nobody has asked for the longest time are forgotten.
Displays::Shown& Displays::Find(const Wanted& wanted)
{
    const auto known = std::find_if(shown_.begin(), shown_.end(),
                                    [&](const Shown& shown) { return shown.wanted == wanted; });
    if (known != shown_.end())
        shown_.splice(shown_.begin(), shown_, known);
    else
        shown_.emplace_front(wanted, ++lastNumber_, files_);
    size_t pixels = 0;
    size_t kept = 0;
    auto end = shown_.begin();
    while (end != shown_.end() && (kept == 0 || (kept < kMostShown && pixels < kMostPixels))) {
        pixels += end->wanted.size.Pixels();
        ++kept;
        ++end;
    }
    shown_.erase(end, shown_.end());
    return shown_.front();
}

void Displays::Refresh(Shown& shown, const Scene& scene)
{
    if (shown.encoded != nullptr && shown.scenes == scenesTag_)
        return;
    const auto drawn = shown.painter.Draw(scene, scene.atMs, {shown.wanted.size, shown.wanted.isLiveOnly});
    if (shown.encoded == nullptr || drawn.version != shown.version) {
        const auto format = shown.wanted.isFile ? pictures::Format::kPng : pictures::Format::kJpeg;
        shown.encoded = BodyOf(pictures::Encode(drawn.picture, format, kQuality));
        shown.version = drawn.version;
    }
    shown.scenes = scenesTag_;
}

std::string Displays::Tag(const Shown& shown) const
{
    return '"' + begun_ + '-' + std::to_string(shown.number) + '-' + std::to_string(shown.version) + '"';
}

} // namespace vesk::web
