// What is drawn of a scene at a time, and where.
#include "pictures/plan.h"

#include "base/error.h"
#include "base/text.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <utility>

namespace vesk::pictures {

namespace {

constexpr uint64_t kMostRate = 1000, kUsualRate = 30;
constexpr uint64_t kMostMs = uint64_t{1} << 53; // so that no product with a rate overflows

std::string Text(uint64_t number)
{
    return std::to_string(number);
}

std::string KnownText(Size size)
{
    return size.IsEmpty() ? "size unknown" : TextOf(size);
}

std::string Clock(uint64_t ms)
{
    char text[40];
    std::snprintf(text, sizeof text, "%02llu:%02u.%03u", static_cast<unsigned long long>(ms / 60000),
                  unsigned(ms / 1000 % 60), unsigned(ms % 1000));
    return text;
}

/// Hues of neighbouring numbers differ most when they are this far apart.
double HueOf(uint64_t number)
{
    constexpr double kGolden = 0.6180339887498949;
    return std::fmod(0.58 + double(number % 1000) * kGolden, 1.0);
}

Moment MomentAt(uint64_t atMs, uint64_t fr)
{
    const uint64_t ms = std::min(atMs, kMostMs), rate = std::min(fr == 0 ? kUsualRate : fr, kMostRate);
    const uint64_t frame = ms / 1000 * rate + ms % 1000 * rate / 1000;
    // A frame begins at the first millisecond that counts to it.
    const uint64_t begin = frame / rate * 1000 + (frame % rate * 1000 + rate - 1) / rate;
    return {begin, frame, static_cast<uint32_t>(rate)};
}

size_t DigitsOfMinutes(const Moment& moment)
{
    return std::max<size_t>(Text(moment.ms / 60000).size(), 2);
}

/// "input 1001", or "overlay 3" and so on.
std::string NameOf(const Layer& layer)
{
    switch (layer.source) {
    case Layer::Source::kWallpaper:
        return "wallpaper";
    case Layer::Source::kDefaultImage:
        return "default image";
    case Layer::Source::kInput:
        return "input engine " + Text(layer.number);
    case Layer::Source::kDecoder:
        return "decoder " + Text(layer.number);
    case Layer::Source::kOverlay:
        return "overlay " + Text(layer.number);
    default:
        return {};
    }
}

std::string TitleOf(const Input& input)
{
    const std::string& name = input.application.empty() ? input.name : input.application;
    return name.empty() ? "input engine " + Text(input.inEngNo) : Printable(name);
}

std::string CodecName(uint64_t codec)
{
    return codec == 10 ? "SVC" : "codec " + Text(codec); // VESK_VIDEO_DEC_SVC_SW
}

/// "a · b · c" of those that are not empty.
std::string Joined(const std::vector<std::string>& texts)
{
    std::string joined;
    for (const std::string& text : texts) {
        if (!text.empty())
            joined += (joined.empty() ? "" : " \u00b7 ") + text;
    }
    return joined;
}

std::string RateText(uint64_t fr)
{
    return fr == 0 ? "" : Text(fr) + " fps";
}

std::string PortText(const Input& input)
{
    if (!input.application.empty())
        return "captured by an application";
    return input.viPort ? "port " + Text(*input.viPort) : "";
}

class Planner {
public:
    Planner(const Scene& scene, uint64_t atMs, Size size, Files& files)
        : scene_(scene), atMs_(atMs), size_(size), files_(files)
    {
    }

    /// The whole display, of which nothing is seen.
    PlannedLayer Dark() const
    {
        PlannedLayer planned{.place = {0, 0, int32_t(size_.width), int32_t(size_.height)}};
        const std::string name = scene_.name.empty() ? "display " + Text(scene_.voPort) : scene_.name;
        planned.look =
            Panel(size_, Printable(name), {scene_.showing, KnownText(scene_.canvas)}, HueOf(scene_.voPort));
        return planned;
    }

    /// Nothing if it lies outside.
    std::optional<PlannedLayer> Plan(const Layer& layer)
    {
        PlannedLayer planned{.place = Snapped(layer.rect, scene_.canvas, size_), .opacity = layer.opacity};
        if (planned.place.IsEmpty() || layer.opacity == 0)
            return std::nullopt;
        if (layer.source == Layer::Source::kFilterWindow) {
            planned.kind = PlannedLayer::Kind::kFilterWindow;
            return planned;
        }
        if (layer.window.IsEmpty())
            return std::nullopt;
        if (layer.source == Layer::Source::kWallpaper)
            planned.kind = PlannedLayer::Kind::kWallpaper;
        view_ = {layer, {uint32_t(planned.place.width), uint32_t(planned.place.height)}, planned.place};
        if (layer.IsLive())
            SetLook(planned, layer);
        else
            planned.look = NotLive(layer);
        return planned;
    }

private:
    /// The layer that is planned.
    struct View {
        std::reference_wrapper<const Layer> layer;
        Size size; ///< Of the drawing.
        Rect place;
    };

    void SetLook(PlannedLayer& planned, const Layer& layer)
    {
        switch (layer.source) {
        case Layer::Source::kInput:
            planned.look =
                LookOf(layer.input, PartOr(layer.size, layer.part), SourceOr(layer.size), planned.moment);
            break;
        case Layer::Source::kDecoder:
            planned.look = LookOf(layer, planned.moment);
            break;
        case Layer::Source::kRemotePointer:
        case Layer::Source::kLocalPointer:
            planned.look = PointerLook(layer);
            break;
        default:
            planned.look = FileLook(layer);
        }
    }

    static Look Panel(Size size, std::string title, std::vector<std::string> lines, double hue,
                      double shade = 1)
    {
        Look look{.size = size, .hue = hue, .shade = shade, .title = std::move(title)};
        look.lines = std::move(lines);
        return look;
    }

    Look NotLive(const Layer& layer) const
    {
        constexpr double kShade = 0.85;
        const bool isInput = layer.source == Layer::Source::kInput;
        std::string title = isInput ? TitleOf(layer.input) : NameOf(layer);
        std::string detail = isInput ? Joined({PortText(layer.input), NameOf(layer)}) : std::string();
        std::vector<std::string> lines{layer.showing};
        if (title != NameOf(layer))
            lines.push_back(std::move(detail));
        return Panel(view_->size, std::move(title), std::move(lines),
                     HueOf(layer.input.viPort.value_or(layer.number)), kShade);
    }

    /// Where the window lies in the drawing.
    Box Window() const
    {
        const double across = double(size_.width) / scene_.canvas.width,
                     down = double(size_.height) / scene_.canvas.height;
        const Rect& window = view_->layer.get().window;
        return {window.x * across - view_->place.x, window.y * down - view_->place.y, window.width * across,
                window.height * down};
    }

    Transform Mapped(const Box& from, const Box& to) const
    {
        const Layer& layer = view_->layer;
        return Mapping(from, to, layer.isMirroredHorizontally, layer.isMirroredVertically);
    }

    // A source of unknown size counts as large as its window.
    Size SourceOr(Size size) const
    {
        const Rect& window = view_->layer.get().window;
        return size.IsEmpty() ? Size{uint32_t(window.width), uint32_t(window.height)} : size;
    }
    /// The part that is seen of a source.
    Transform PartOr(Size size, const Rect& part) const
    {
        if (size.IsEmpty() || part.IsEmpty())
            return Mapped(BoxOf(SourceOr(size)), Window());
        return Mapped(BoxOf(part), BoxOf(view_->size));
    }

    /// What a file shows in place of a source that has that size, or as its show mode says.
    Look FileLook(const std::string& path, uint64_t ms, Size source, const Transform& transform)
    {
        const Frame frame = files_.At(path, ms);
        if (frame.picture == nullptr || frame.picture->IsEmpty())
            return Panel(view_->size, Printable(path),
                         {frame.problem.empty() ? "not yet read" : Printable(frame.problem)}, 0);
        Look look{.kind = Look::Kind::kImage, .size = view_->size};
        const Box whole = BoxOf(frame.picture->size);
        if (source.IsEmpty())
            look.transform = Mapped(whole, Fitted(frame.picture->size, Window(), view_->layer.get().showMode,
                                                  double(size_.width) / scene_.canvas.width));
        else
            look.transform = transform.After(Mapping(whole, BoxOf(source)));
        look.image = frame.picture;
        return look;
    }

    /// Images, wallpapers and overlays.
    Look FileLook(const Layer& layer)
    {
        constexpr double kTranslucent = 0.55;
        const bool isOverlay = layer.source == Layer::Source::kOverlay;
        if (layer.file.empty())
            return Panel(view_->size, NameOf(layer), {}, HueOf(layer.number), isOverlay ? kTranslucent : 1);
        Look look = FileLook(layer.file, atMs_, layer.size, PartOr(layer.size, layer.part));
        if (look.kind == Look::Kind::kPanel) {
            look.lines.insert(look.lines.begin(), std::exchange(look.title, NameOf(layer)));
            look.hue = HueOf(layer.number);
            look.shade = isOverlay ? kTranslucent : 1;
        }
        return look;
    }

    /// What an input delivers. @param transform  From the coordinates of @p source to those of the drawing.
    Look LookOf(const Input& input, const Transform& transform, Size source, std::optional<Moment>& moment)
    {
        const bool isFrozen = input.showing == "frozen";
        const uint64_t ms = isFrozen ? input.frozenAtMs : atMs_;
        if (!input.file.empty()) {
            Look look = FileLook(input.file, ms, input.size, transform);
            if (look.kind == Look::Kind::kPanel)
                look.lines.insert(look.lines.begin(), std::exchange(look.title, TitleOf(input)));
            return look;
        }
        moment = MomentAt(ms, input.fr);
        Look look{
            .kind = Look::Kind::kTestPicture, .size = view_->size, .source = source, .transform = transform};
        look.hue = HueOf(input.application.empty() ? input.viPort.value_or(0) : input.inEngNo + 4);
        look.digits = DigitsOfMinutes(*moment);
        look.title = TitleOf(input);
        look.lines = {Joined({PortText(input), "input engine " + Text(input.inEngNo)}),
                      Joined({KnownText(input.size), RateText(input.fr)})};
        if (isFrozen)
            look.tag = "frozen at " + Clock(input.frozenAtMs);
        return look;
    }

    Look LookOf(const Layer& layer, std::optional<Moment>& moment)
    {
        const Decoder& decoder = layer.decoder;
        const Size source = SourceOr(layer.size);
        const Transform transform = PartOr(layer.size, layer.part);
        if (decoder.looped)
            return Looped(decoder, transform, source, moment);
        const uint64_t rate = std::min(decoder.fr, kMostRate);
        const uint64_t elapsed = atMs_ > scene_.atMs ? std::min(atMs_ - scene_.atMs, kMostMs) : 0,
                       ago = scene_.atMs > atMs_ ? std::min(scene_.atMs - atMs_, kMostMs) : 0;
        const uint64_t since = (ago * rate + 999) / 1000;
        moment = Moment{0,
                        ago > 0 ? decoder.frames - std::min(since, decoder.frames)
                                : decoder.frames + elapsed * rate / 1000,
                        static_cast<uint32_t>(rate == 0 ? kUsualRate : rate)};
        Look look{
            .kind = Look::Kind::kDecoded, .size = view_->size, .source = source, .transform = transform};
        look.hue = HueOf(decoder.decStmNo + 3);
        look.title = "decoder " + Text(decoder.decStmNo);
        look.lines = {Joined({CodecName(decoder.codec), KnownText(layer.size), RateText(decoder.fr)}),
                      decoder.owner.empty() ? "" : "owner " + Printable(decoder.owner)};
        return look;
    }

    /// What the encoder at the other end of a decoder's loop gets.
    Look Looped(const Decoder& decoder, const Transform& transform, Size source,
                std::optional<Moment>& moment)
    {
        const Input& input = *decoder.looped;
        const std::string way =
            "decoder " + Text(decoder.decStmNo) + ", looped from encoder " + Text(decoder.encStmNo);
        if (input.showing != "live" && input.showing != "frozen")
            return Panel(view_->size, TitleOf(input), {input.showing, way}, HueOf(input.viPort.value_or(0)));
        const Size size = input.size.IsEmpty() ? source : input.size;
        const Box part = input.part.IsEmpty() ? BoxOf(size) : BoxOf(input.part);
        Look look = LookOf(input, transform.After(Mapping(part, BoxOf(source))), size, moment);
        look.tag = look.tag.empty() ? way : way + ", " + look.tag;
        if (look.kind == Look::Kind::kPanel)
            look.lines.push_back(way);
        return look;
    }

    Look PointerLook(const Layer& layer) const
    {
        Look look{.kind = Look::Kind::kPointer, .size = view_->size};
        look.source = {std::max(uint32_t(layer.window.width), 1U),
                       std::max(uint32_t(layer.window.height), 1U)};
        look.transform = Mapping(BoxOf(look.source), Window());
        look.hue = layer.source == Layer::Source::kRemotePointer ? HueOf(layer.number) : 0;
        return look;
    }

    const Scene& scene_;
    uint64_t atMs_;
    Size size_;
    Files& files_;
    std::optional<View> view_;
};

/// A picture that is not live is said to be so, unless others hide that anyway.
bool IsDrawn(const Layer& layer, const DrawOptions& options)
{
    if (layer.IsLive())
        return true;
    const bool isPicture = layer.source == Layer::Source::kInput || layer.source == Layer::Source::kDecoder;
    return isPicture && !options.isLiveOnly && layer.showing != "covered" && layer.showing != "outside";
}

/// What is not live lies behind all pictures that are, so that it hides none.
int RankOf(const Layer& layer)
{
    if (layer.source == Layer::Source::kWallpaper)
        return 0;
    if (layer.source == Layer::Source::kDefaultImage)
        return 1;
    return layer.IsLive() ? 3 : 2;
}

} // namespace

Size SizeOf(const Scene& scene, const DrawOptions& options)
{
    constexpr Size kUnknown{640, 360};
    const Size size = !options.size.IsEmpty()   ? options.size
                      : !scene.canvas.IsEmpty() ? scene.canvas
                                                : kUnknown;
    if (size.width > kMostSide || size.height > kMostSide)
        throw Error("a picture has at most " + Text(kMostSide) + " pixels on a side, not " + TextOf(size));
    return size;
}

std::vector<PlannedLayer> PlanOf(const Scene& scene, uint64_t atMs, const DrawOptions& options, Files& files)
{
    Planner planner(scene, atMs, SizeOf(scene, options), files);
    if (scene.showing != "live" || scene.canvas.IsEmpty())
        return {planner.Dark()};
    std::vector<const Layer*> layers;
    for (const Layer& layer : scene.layers) {
        if (IsDrawn(layer, options))
            layers.push_back(&layer);
    }
    std::stable_sort(layers.begin(), layers.end(),
                     [](const Layer* a, const Layer* b) { return RankOf(*a) < RankOf(*b); });
    std::vector<PlannedLayer> plan;
    for (const Layer* layer : layers) {
        if (std::optional<PlannedLayer> planned = planner.Plan(*layer))
            plan.push_back(*std::move(planned));
    }
    return plan;
}

} // namespace vesk::pictures
