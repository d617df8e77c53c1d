// What displays show, as a JSON document.
#include "service/scene_document.h"

#include "decoder/json.h"
#include "service/service.h"

namespace vesk::service {

using decoder::Object;
using nlohmann::ordered_json;

namespace {

ordered_json ToJson(const VeskServiceRect& rect)
{
    return Object({{"x", rect.x}, {"y", rect.y}, {"width", rect.width}, {"height", rect.height}});
}

/// The name that the list of messages has for the number of a source; null if it has none.
const char* NumberName(Layer::Source source)
{
    switch (source) {
    case Layer::Source::kInput:
        return "inEngNo";
    case Layer::Source::kDecoder:
        return "decStmNo";
    case Layer::Source::kOverlay:
        return "overlayChn";
    case Layer::Source::kRemotePointer:
        return "mouseStmNo";
    case Layer::Source::kLocalPointer:
        return "localMouseStmNo";
    default:
        return nullptr;
    }
}

const char* ModeWord(uint32_t showMode)
{
    switch (showMode) {
    case VESK_SERVICE_FIT:
        return "fit";
    case VESK_SERVICE_FILL:
        return "fill";
    case VESK_SERVICE_CENTRE:
        return "centre";
    default:
        return "stretch";
    }
}

const char* MirrorWord(uint32_t mirror)
{
    static constexpr const char* kWords[] = {"none", "horizontally", "vertically", "both"};
    return kWords[mirror & (VESK_SERVICE_MIRROR_HORIZONTALLY | VESK_SERVICE_MIRROR_VERTICALLY)];
}

/// Adds the texts that are there, of a layer or of an input's picture.
template <class Picture>
void PutTexts(ordered_json& entry, const Picture& picture)
{
    for (const auto& [name, text] :
         {std::pair("name", &picture.name), {"application", &picture.application}, {"file", &picture.file}}) {
        if (!text->empty())
            entry[name] = *text;
    }
}

void PutSize(ordered_json& entry, const Size& size, const VeskServiceRect& part)
{
    if (!size.IsKnown())
        return;
    entry["width"] = size.width;
    entry["height"] = size.height;
    entry["part"] = ToJson(part);
}

void PutShowing(ordered_json& entry, Showing showing, uint64_t frozenAtMs)
{
    entry["showing"] = WordOf(showing);
    if (showing == Showing::kFrozen)
        entry["frozenAtMs"] = frozenAtMs;
}

void PutRate(ordered_json& entry, uint32_t fr)
{
    if (fr != 0)
        entry["fr"] = fr;
}

/// Where the frames come from that a loop brings.
ordered_json LoopEntry(uint32_t encStmNo, const std::optional<InputPicture>& input)
{
    ordered_json entry = Object({{"encStmNo", encStmNo}});
    if (!input)
        return entry;
    entry["inEngNo"] = input->inEngNo;
    entry["viPort"] = input->viPort;
    PutTexts(entry, *input);
    PutShowing(entry, input->showing, input->frozenAtMs);
    PutSize(entry, input->size, input->part);
    PutRate(entry, input->fr);
    return entry;
}

void PutDecoded(ordered_json& entry, const DecoderPicture& decoded)
{
    entry["codec"] = decoded.codec;
    entry["owner"] = Owner(decoded.owner);
    entry["frames"] = decoded.frames;
    PutRate(entry, decoded.fr);
    if (decoded.encStmNo)
        entry["loop"] = LoopEntry(*decoded.encStmNo, decoded.input);
}

ordered_json ToJson(const Layer& layer)
{
    ordered_json entry = Object({{"source", WordOf(layer.source)}});
    if (const char* number = NumberName(layer.source); number != nullptr)
        entry[number] = layer.number;
    if (layer.viPort >= 0)
        entry["viPort"] = layer.viPort;
    PutTexts(entry, layer);
    if (layer.subPic >= 0)
        entry["subPic"] = layer.subPic;
    if (layer.winHandle != 0)
        entry["winHandle"] = layer.winHandle;
    PutShowing(entry, layer.showing, layer.frozenAtMs);
    entry["rect"] = ToJson(layer.place.rect);
    if (layer.source == Layer::Source::kFilterWindow)
        return entry;
    entry["window"] = ToJson(layer.place.window);
    PutSize(entry, layer.size, layer.place.part);
    PutRate(entry, layer.fr);
    if (layer.decoded)
        PutDecoded(entry, *layer.decoded);
    entry["showMode"] = ModeWord(layer.showMode);
    entry["mirror"] = MirrorWord(layer.mirror);
    entry["opacity"] = layer.opacity;
    return entry;
}

} // namespace

ordered_json ToJson(const Scene& scene)
{
    ordered_json layers = ordered_json::array();
    for (const Layer& layer : scene.layers)
        layers.push_back(ToJson(layer));
    return Object({{"voPort", scene.voPort},
                   {"name", scene.name},
                   {"width", scene.canvas.width},
                   {"height", scene.canvas.height},
                   {"fr", scene.fr},
                   {"atMs", scene.atMs},
                   {"outEngNo", scene.outEngNo},
                   {"showing", WordOf(scene.showing)},
                   {"layers", std::move(layers)}});
}

Result GetScenes(Service& service, Argument<"port"> port, Bytes* document)
{
    ordered_json scenes = ordered_json::array();
    for (const Display& display : service.outputs.All()) {
        if (port == VESK_CONTROL_EVERY_PORT || port == display.number)
            scenes.push_back(ToJson(SceneOf(service, display)));
    }
    if (scenes.empty() && port != VESK_CONTROL_EVERY_PORT)
        return VESK_SERVICE_ERR_NUMBER;
    return GiveDocument(Object({{"scenes", std::move(scenes)}}), document);
}

} // namespace vesk::service
