// What a display shows: its layers from back to front, as plain data.
#include "service/scene.h"

#include "service/service.h"

#include <algorithm>
#include <array>
#include <bit>

namespace vesk::service {

namespace {

constexpr int32_t kPointerSize = 32;    // pixels
constexpr uint32_t kWholeOpacity = 100; // per cent

Size SizeOf(const VeskControlMode& mode)
{
    return {mode.width, mode.height};
}

uint32_t OpacityOf(uint32_t set)
{
    return set != 0 ? set : kWholeOpacity;
}

InputPicture PictureOf(const InputEngine& engine)
{
    const InputPort& port = *engine.port;
    const VeskControlMode& mode = engine.Picture();
    InputPicture picture{.inEngNo = engine.number,
                         .showing = engine.Shows(),
                         .viPort = port.number,
                         .name = port.name,
                         .size = SizeOf(mode),
                         .fr = mode.fr,
                         .part = RectOf(SizeOf(mode))};
    if (picture.showing == Showing::kLive && engine.frozen != 0) {
        picture.showing = Showing::kFrozen;
        picture.frozenAtMs = engine.frozenAtMs;
    }
    if (engine.IsAppCapture()) {
        picture.application = TextIn(std::bit_cast<VeskServiceAppIn>(engine.appInParam).name);
    } else {
        picture.file = port.virtualSource;
        // The picture keeps its size, whatever part of it the camera delivers.
        picture.part = CameraView(picture.size, std::bit_cast<VeskServiceEptz>(port.eptz),
                                  std::bit_cast<VeskServicePtzf>(port.ptzf), port.camera);
    }
    return picture;
}

/// Composes the scene of a display.
class Composer {
public:
    /// @param isAll  False: with the pictures alone.
    Composer(Service& service, const Display& display, bool isAll)
        : isAll_(isAll), service_(service), display_(display), engine_(service.outputs.EngineOf(display)),
          mode_(service.outputs.DisplayInfo().displayMode),
          composed_(mode_ == VESK_SERVICE_DISPLAY_CLONE ? service.outputs.All().front() : display),
          grid_(SizeOf(composed_.mode))
    {
    }

    Scene Compose();

private:
    Showing Show() const;
    void AddBehind(Layer::Source, const std::string& path, uint32_t showMode);
    void AddPictures();
    void AddOthers();
    void AddPicture(uint32_t index, const VeskServiceSubPic&, const VeskServiceRect& arranged, bool isGone);
    void AddInput(Layer&, const VeskServiceSubPic&, const VeskServiceRect& window);
    void AddDecoder(Layer&, const VeskServiceSubPic&, const VeskServiceRect& window);
    DecoderPicture Decoded(const DecoderChannel&) const;
    void AddFilterWindows();
    void AddOverlays();
    void AddLocalPointers();
    void AddRemotePointers(const Layer& picture);
    void Add(Layer&, const VeskServiceRect& part, const VeskServiceRect& window,
             const VeskServiceRect& bounds);
    void Add(Layer&, const VeskServiceRect& part, const VeskServiceRect& window);
    void FindCovered();

    bool isAll_;
    Service& service_;
    const Display& display_;
    const OutputEngine* engine_;
    uint32_t mode_;
    const Display& composed_; // whose layers are shown
    Size grid_;               // in which they are placed
    Scene scene_;
};

Showing Composer::Show() const
{
    if (engine_ == nullptr)
        return Showing::kClosed;
    const bool isFirst = display_.number == 0;
    return mode_ == VESK_SERVICE_DISPLAY_FIRST_ONLY && !isFirst ? Showing::kDisabled : engine_->Shows();
}

Scene Composer::Compose()
{
    scene_.voPort = display_.number;
    scene_.name = display_.name;
    scene_.canvas = SizeOf(display_.mode);
    scene_.fr = display_.mode.fr;
    scene_.atMs = service_.timeline.Now();
    scene_.outEngNo = engine_ != nullptr ? engine_->number : 0;
    scene_.showing = Show();
    AddPictures();
    const bool isAny = std::any_of(scene_.layers.begin(), scene_.layers.end(),
                                   [](const Layer& layer) { return layer.IsPicture() && layer.Appears(); });
    if (!isAny)
        AddBehind(Layer::Source::kDefaultImage, composed_.defaultImage, VESK_SERVICE_STRETCH);
    if (isAll_)
        AddOthers();
    for (Layer& layer : scene_.layers) {
        if (scene_.showing != Showing::kLive && layer.Appears())
            layer.showing = scene_.showing;
    }
    return std::move(scene_);
}

/// What is behind the pictures and in front of them.
void Composer::AddOthers()
{
    const auto wallpaper = std::bit_cast<VeskServiceWallpaper>(service_.device.Done().wallpaper);
    AddBehind(Layer::Source::kWallpaper, std::string(TextIn(wallpaper.path)), wallpaper.showMode);
    AddFilterWindows();
    AddOverlays();
    AddLocalPointers();
    FindCovered();
}

/// Adds a layer whose window lies within @p bounds; one of which nothing is seen says so.
void Composer::Add(Layer& layer, const VeskServiceRect& part, const VeskServiceRect& window,
                   const VeskServiceRect& bounds)
{
    layer.place = Place(part, window, layer.showMode, layer.mirror, bounds);
    const bool isOutside = IsEmpty(layer.place.rect) || (layer.size.IsKnown() && IsEmpty(part));
    if (layer.Appears() && isOutside)
        layer.showing = Showing::kOutside;
    scene_.layers.push_back(std::move(layer));
}

/// Adds a layer of the display, which the engine shifts as a whole; a copy of another display has its own
/// size.
void Composer::Add(Layer& layer, const VeskServiceRect& part, const VeskServiceRect& window)
{
    const VeskServiceRect scaled = Scaled(window, grid_, scene_.canvas);
    const VeskVideoScreenOffset offset = engine_ != nullptr ? engine_->offset : VeskVideoScreenOffset{};
    Add(layer, part, Shifted(scaled, offset.xOffset, offset.yOffset), RectOf(scene_.canvas));
}

/// Adds an image behind all layers so far.
void Composer::AddBehind(Layer::Source source, const std::string& path, uint32_t showMode)
{
    if (path.empty())
        return;
    Layer layer{.source = source, .file = path, .showMode = showMode};
    Add(layer, {}, RectOf(grid_));
    std::rotate(scene_.layers.begin(), scene_.layers.end() - 1, scene_.layers.end());
}

void Composer::AddPictures()
{
    const OutputEngine* engine = service_.outputs.EngineOf(composed_);
    std::array<uint32_t, VESK_VIDEO_MAX_SUBPIC_NUM> order;
    std::array<VeskServiceSubPic, VESK_VIDEO_MAX_SUBPIC_NUM> pictures;
    const uint32_t count = engine != nullptr ? engine->source.picNum : 0;
    uint32_t cells = 0, cell = 0;
    for (uint32_t i = 0; i < count; ++i) {
        order[i] = i;
        pictures[i] = std::bit_cast<VeskServiceSubPic>(engine->source.subPic[i]);
        cells += IsWhole(pictures[i].window) ? 1 : 0;
    }
    std::array<VeskServiceRect, VESK_VIDEO_MAX_SUBPIC_NUM> windows;
    for (uint32_t i = 0; i < count; ++i) {
        const VeskServiceSubPic& picture = pictures[i];
        const Size grid{picture.basWidth, picture.basHeight};
        if (IsWhole(picture.window))
            windows[i] = Cell(cell++, cells, grid_);
        else
            windows[i] = grid.IsKnown() ? Scaled(picture.window, grid, grid_) : picture.window;
    }
    std::sort(order.begin(), order.begin() + count, [&](uint32_t a, uint32_t b) {
        return std::pair(pictures[a].layer, a) < std::pair(pictures[b].layer, b);
    });
    scene_.layers.reserve(count + 8);
    for (uint32_t i = 0; i < count; ++i)
        AddPicture(order[i], pictures[order[i]], windows[order[i]],
                   engine->IsGone(engine->source.subPic[order[i]]));
}

void Composer::AddPicture(uint32_t index, const VeskServiceSubPic& picture, const VeskServiceRect& window,
                          bool isGone)
{
    Layer layer{.source = picture.decFlag != 0 ? Layer::Source::kDecoder : Layer::Source::kInput,
                .number = picture.inputId,
                .subPic = static_cast<int32_t>(index),
                .winHandle = picture.winHandle,
                .showMode = picture.showMode,
                .mirror = picture.mirror,
                .opacity = OpacityOf(picture.opacity)};
    if (isGone) { // what has its number now is another one
        layer.showing = Showing::kClosed;
        Add(layer, {}, window);
    } else if (picture.decFlag != 0) {
        AddDecoder(layer, picture, window);
    } else {
        AddInput(layer, picture, window);
    }
}

void Composer::AddInput(Layer& layer, const VeskServiceSubPic& picture, const VeskServiceRect& window)
{
    VeskServiceRect part{};
    layer.showing = Showing::kClosed;
    if (const InputEngine* engine = service_.inputs.engines.Find(layer.number); engine != nullptr) {
        InputPicture input = PictureOf(*engine);
        const VeskServiceRect whole = RectOf(input.size);
        part = PartOf(input.part, whole, Crop(picture.crop, whole), 0);
        layer.showing = input.showing;
        layer.frozenAtMs = input.frozenAtMs;
        layer.viPort = static_cast<int32_t>(input.viPort);
        layer.name = std::move(input.name);
        layer.application = std::move(input.application);
        layer.file = std::move(input.file);
        layer.fr = input.fr;
        layer.size = input.size;
    }
    Add(layer, part, window);
}

void Composer::AddDecoder(Layer& layer, const VeskServiceSubPic& picture, const VeskServiceRect& window)
{
    VeskServiceRect part{};
    layer.showing = Showing::kClosed;
    if (const DecoderChannel* decoder = service_.codecs.decoders.Find(layer.number); decoder != nullptr) {
        layer.showing = decoder->isStarted ? Showing::kLive : Showing::kStopped;
        layer.size = {decoder->param.w, decoder->param.h};
        part = Crop(picture.crop, RectOf(layer.size));
        if (isAll_)
            layer.decoded = Decoded(*decoder);
    }
    Add(layer, part, window);
    if (isAll_)
        AddRemotePointers(scene_.layers.back());
}

DecoderPicture Composer::Decoded(const DecoderChannel& decoder) const
{
    DecoderPicture decoded{.codec = decoder.param.codecType,
                           .owner = decoder.owner,
                           .frames = decoder.frames.Frames(scene_.atMs),
                           .fr = decoder.frameRate};
    if (const EncoderChannel* encoder = service_.codecs.LoopedTo(decoder); encoder != nullptr) {
        decoded.encStmNo = encoder->number;
        if (const InputEngine* engine = service_.inputs.ConnectedTo(encoder->number); engine != nullptr)
            decoded.input = PictureOf(*engine);
    }
    return decoded;
}

// They lie in the picture, and are seen where it is.
void Composer::AddRemotePointers(const Layer& shown)
{
    const Layer picture = shown; // which moves when layers are added
    for (const auto& [number, mouse] : service_.mice.remote.All()) {
        if (mouse.decStmNo != picture.number || mouse.isDecoderGone || picture.showing == Showing::kClosed)
            continue;
        Layer pointer{.source = Layer::Source::kRemotePointer,
                      .showing = mouse.isStarted ? picture.showing : Showing::kStopped,
                      .number = number,
                      .subPic = picture.subPic,
                      .winHandle = picture.winHandle,
                      .opacity = picture.opacity};
        auto area = std::bit_cast<VeskServiceRect>(mouse.area);
        if (IsWhole(area)) {
            const VeskServiceRect whole = RectOf(picture.size);
            area = {whole.width / 2, whole.height / 2, kPointerSize, kPointerSize};
        }
        Add(pointer, {}, Through(picture.place, picture.mirror, area), picture.place.rect);
    }
}

void Composer::AddFilterWindows()
{
    for (const auto& [filterParam, window] : service_.outputs.FilterWindows()) {
        if (filterParam != composed_.number)
            continue;
        const auto free = std::bit_cast<VeskServiceFilterWindow>(window);
        Layer layer{.source = Layer::Source::kFilterWindow};
        Add(layer, {}, {free.x, free.y, free.width, free.height});
    }
}

void Composer::AddOverlays()
{
    std::vector<std::pair<int32_t, const OverlayChannel*>> channels; // in the order of their numbers
    for (const auto& [number, channel] : service_.overlays.channels.All()) {
        const auto overlay = std::bit_cast<VeskServiceOverlay>(channel.param);
        if (channel.hasParam && overlay.display == composed_.number)
            channels.emplace_back(overlay.layer, &channel);
    }
    std::stable_sort(channels.begin(), channels.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [order, channel] : channels) {
        const auto overlay = std::bit_cast<VeskServiceOverlay>(channel->param);
        Layer layer{.source = Layer::Source::kOverlay,
                    .showing = channel->isEnabled ? Showing::kLive : Showing::kDisabled,
                    .number = channel->number,
                    .file = std::string(TextIn(overlay.picture)),
                    .showMode = overlay.showMode,
                    .opacity = OpacityOf(overlay.opacity)};
        Add(layer, {}, IsWhole(overlay.window) ? RectOf(grid_) : overlay.window);
    }
}

// One that is attached to an output engine is on its display, any other on the first.
void Composer::AddLocalPointers()
{
    for (const auto& [number, mouse] : service_.mice.local.All()) {
        const OutputEngine* attached =
            mouse.isIndependent ? nullptr : service_.outputs.engines.Find(mouse.attachId);
        if (composed_.number != (attached != nullptr ? attached->port->number : 0))
            continue;
        const auto point = std::bit_cast<VeskServicePoint>(mouse.param);
        Layer layer{.source = Layer::Source::kLocalPointer,
                    .showing = !mouse.isStarted ? Showing::kStopped
                               : mouse.isShown  ? Showing::kLive
                                                : Showing::kDisabled,
                    .number = number};
        Add(layer, {}, {point.x, point.y, kPointerSize, kPointerSize});
    }
}

// Overlays and pointers may be transparent: they hide nothing, and nothing hides them, but for pointers that
// lie in a picture.
void Composer::FindCovered()
{
    const auto hides = [](const Layer& layer) {
        return layer.source == Layer::Source::kFilterWindow ||
               (layer.IsPicture() && layer.Appears() && layer.opacity == kWholeOpacity);
    };
    auto& layers = scene_.layers;
    for (auto layer = layers.begin(); layer != layers.end(); ++layer) {
        const bool canBeHidden =
            layer->source < Layer::Source::kFilterWindow || layer->source == Layer::Source::kRemotePointer;
        if (canBeHidden && layer->Appears() && std::any_of(layer + 1, layers.end(), [&](const Layer& front) {
                return hides(front) && Contains(front.place.rect, layer->place.rect);
            }))
            layer->showing = Showing::kCovered;
    }
}

} // namespace

const char* WordOf(Layer::Source source)
{
    static constexpr const char* kWords[] = {"wallpaper",      "default image", "input",
                                             "decoder",        "filter window", "overlay",
                                             "remote pointer", "local pointer"};
    return kWords[static_cast<size_t>(source)];
}

Scene SceneOf(Service& service, const Display& display)
{
    return Composer(service, display, true).Compose();
}

Scene PicturesOf(Service& service, const Display& display)
{
    return Composer(service, display, false).Compose();
}

} // namespace vesk::service
