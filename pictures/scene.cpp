// Reads scene documents, which come from a service or from a file.
#include "pictures/scene.h"

#include "base/error.h"
#include "base/text.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace vesk::pictures {

namespace {

using nlohmann::ordered_json;

constexpr size_t kMostScenes = 256;
constexpr size_t kMostLayers = 4096;
constexpr int64_t kMostPlace = int64_t{1} << 30; ///< Edges of rectangles, so that lengths fit an int32_t.
constexpr uint64_t kMostNumber = UINT32_MAX;
constexpr uint64_t kMostMs = uint64_t{1} << 53;

/// By the order of Layer::Source: the word, and the name of the number if there is one.
struct SourceWords {
    const char* word;
    const char* number;
};
constexpr SourceWords kSources[] = {
    {"wallpaper", nullptr},           {"default image", nullptr},           {"input", "inEngNo"},
    {"decoder", "decStmNo"},          {"filter window", nullptr},           {"overlay", "overlayChn"},
    {"remote pointer", "mouseStmNo"}, {"local pointer", "localMouseStmNo"},
};

using Words = std::vector<const char*>;

const Words& ShowingWords()
{
    static const Words words{"live",   "frozen",   "covered",   "outside",
                             "closed", "disabled", "unplugged", "stopped"};
    return words;
}

/// A member of a document, which knows its path: layers[2].rect.x.
class Member {
public:
    Member(const ordered_json& value, std::string path) : value_(&value), path_(std::move(path)) {}

    [[noreturn]] void Refuse(const std::string& expected) const
    {
        constexpr size_t kMostShown = 60;
        std::string shown = Printable(value_->dump(-1, ' ', false, ordered_json::error_handler_t::replace));
        if (shown.size() > kMostShown)
            shown = Printable(shown.substr(0, kMostShown)) + "...";
        throw Error((path_.empty() ? "the scene" : path_) + ": expected " + expected + ", not " + shown);
    }

    std::optional<Member> Find(const char* name) const
    {
        if (!value_->is_object())
            Refuse("an object");
        const auto found = value_->find(name);
        if (found == value_->end())
            return std::nullopt;
        return Member(*found, path_.empty() ? name : path_ + '.' + name);
    }

    Member operator[](const char* name) const
    {
        std::optional<Member> member = Find(name);
        if (!member)
            throw Error((path_.empty() ? "" : path_ + '.') + name + " is missing");
        return *std::move(member);
    }

    std::vector<Member> Elements(size_t most) const
    {
        if (!value_->is_array() || value_->size() > most)
            Refuse("an array of at most " + std::to_string(most));
        std::vector<Member> elements;
        for (size_t i = 0; i < value_->size(); ++i)
            elements.emplace_back((*value_)[i], path_ + '[' + std::to_string(i) + ']');
        return elements;
    }

    uint64_t Number(uint64_t most = kMostNumber) const
    {
        if (!value_->is_number_unsigned() || value_->get<uint64_t>() > most)
            Refuse("a number from 0 to " + std::to_string(most));
        return value_->get<uint64_t>();
    }

    int64_t Signed(int64_t least, int64_t most) const
    {
        // An unsigned number may be too large for the comparison.
        const bool isWide = value_->is_number_unsigned() && value_->get<uint64_t>() > INT64_MAX;
        if (!value_->is_number_integer() || isWide || value_->get<int64_t>() < least ||
            value_->get<int64_t>() > most)
            Refuse("a number from " + std::to_string(least) + " to " + std::to_string(most));
        return value_->get<int64_t>();
    }

    const std::string& Text() const
    {
        if (!value_->is_string())
            Refuse("a text");
        return value_->get_ref<const std::string&>();
    }

    /// The place of a word in a list.
    size_t Word(const Words& words) const
    {
        std::string expected;
        for (size_t i = 0; i < words.size(); ++i) {
            if (value_->is_string() && Text() == words[i])
                return i;
            expected += (i == 0 ? "" : i + 1 == words.size() ? " or " : ", ") + std::string(words[i]);
        }
        Refuse(expected);
    }

    // Members that may be missing.
    uint64_t Number(const char* name, uint64_t most = kMostNumber) const
    {
        const std::optional<Member> member = Find(name);
        return member ? member->Number(most) : 0;
    }
    std::string Text(const char* name) const
    {
        const std::optional<Member> member = Find(name);
        return member ? member->Text() : std::string();
    }

private:
    const ordered_json* value_;
    std::string path_;
};

Rect ReadRect(const Member& member)
{
    const auto edges = [&](const char* from, const char* length) {
        const int64_t start = member[from].Signed(-kMostPlace, kMostPlace);
        const int64_t most = std::min<int64_t>(kMostPlace - start, INT32_MAX);
        return std::pair(static_cast<int32_t>(start), static_cast<int32_t>(member[length].Signed(0, most)));
    };
    const auto [x, width] = edges("x", "width");
    const auto [y, height] = edges("y", "height");
    return {x, y, width, height};
}

Rect ReadRect(const Member& layer, const char* name)
{
    const std::optional<Member> member = layer.Find(name);
    return member ? ReadRect(*member) : Rect{};
}

Size ReadSize(const Member& member, uint64_t most = kMostNumber)
{
    return {static_cast<uint32_t>(member.Number("width", most)),
            static_cast<uint32_t>(member.Number("height", most))};
}

std::string ReadShowing(const Member& member)
{
    return ShowingWords()[member["showing"].Word(ShowingWords())];
}

/// What a layer of an input says of it, and a decoder's loop.
Input ReadInput(const Member& member)
{
    Input input;
    input.inEngNo = member["inEngNo"].Number();
    if (const auto port = member.Find("viPort"))
        input.viPort = port->Number();
    input.name = member.Text("name");
    input.application = member.Text("application");
    input.file = member.Text("file");
    input.size = ReadSize(member);
    input.part = ReadRect(member, "part");
    input.fr = member.Number("fr");
    input.showing = ReadShowing(member);
    input.frozenAtMs = member.Number("frozenAtMs", kMostMs);
    return input;
}

Decoder ReadDecoder(const Member& member)
{
    Decoder decoder;
    decoder.decStmNo = member["decStmNo"].Number();
    decoder.codec = member.Number("codec");
    if (const auto owner = member.Find("owner"))
        decoder.owner =
            (*owner)["procName"].Text() + '[' + std::to_string((*owner)["process"].Number()) + ']';
    decoder.frames = member.Number("frames", UINT64_MAX);
    decoder.fr = member.Number("fr");
    if (const auto loop = member.Find("loop")) {
        decoder.encStmNo = (*loop)["encStmNo"].Number();
        if (loop->Find("inEngNo"))
            decoder.looped = ReadInput(*loop);
    }
    return decoder;
}

Layer::Source ReadSource(const Member& member)
{
    Words words;
    for (const SourceWords& source : kSources)
        words.push_back(source.word);
    return static_cast<Layer::Source>(member.Word(words));
}

Layer ReadLayer(const Member& member)
{
    Layer layer;
    layer.source = ReadSource(member["source"]);
    if (const char* name = kSources[static_cast<size_t>(layer.source)].number; name != nullptr)
        layer.number = member[name].Number();
    if (const auto subPic = member.Find("subPic"))
        layer.subPic = subPic->Number();
    layer.winHandle = member.Number("winHandle", UINT64_MAX);
    layer.showing = ReadShowing(member);
    layer.file = member.Text("file");
    if (layer.source == Layer::Source::kInput)
        layer.input = ReadInput(member);
    if (layer.source == Layer::Source::kDecoder)
        layer.decoder = ReadDecoder(member);
    layer.size = ReadSize(member);
    layer.part = ReadRect(member, "part");
    layer.rect = ReadRect(member["rect"]);
    layer.window = member.Find("window") ? ReadRect(member["window"]) : layer.rect;
    if (const auto mode = member.Find("showMode"))
        layer.showMode = static_cast<ShowMode>(mode->Word({"stretch", "fit", "fill", "centre"}));
    if (const auto mirror = member.Find("mirror")) {
        const size_t word = mirror->Word({"none", "horizontally", "vertically", "both"});
        layer.isMirroredHorizontally = (word & 1U) != 0;
        layer.isMirroredVertically = (word & 2U) != 0;
    }
    if (const auto opacity = member.Find("opacity"))
        layer.opacity = static_cast<uint32_t>(opacity->Number(100));
    layer.frozenAtMs = member.Number("frozenAtMs", kMostMs);
    return layer;
}

Scene ReadScene(const Member& member)
{
    Scene scene;
    scene.voPort = member["voPort"].Number();
    scene.name = member["name"].Text();
    scene.canvas = {static_cast<uint32_t>(member["width"].Number(kMostSide)),
                    static_cast<uint32_t>(member["height"].Number(kMostSide))};
    scene.fr = member.Number("fr");
    scene.atMs = member.Number("atMs", kMostMs);
    scene.outEngNo = member.Number("outEngNo");
    scene.showing = ReadShowing(member);
    for (const Member& layer : member["layers"].Elements(kMostLayers))
        scene.layers.push_back(ReadLayer(layer));
    return scene;
}

} // namespace

Scene ReadScene(const ordered_json& document)
{
    return ReadScene(Member(document, ""));
}

std::vector<Scene> ReadScenes(const ordered_json& document)
{
    const Member whole(document, "");
    const std::optional<Member> list = whole.Find("scenes");
    if (!list)
        return {ReadScene(whole)};
    std::vector<Scene> scenes;
    for (const Member& scene : list->Elements(kMostScenes))
        scenes.push_back(ReadScene(scene));
    return scenes;
}

} // namespace vesk::pictures
