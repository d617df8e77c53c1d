// Descriptions of virtual devices in TOML files.
#include "service/device_file.h"

#include "base/error.h"
#include "base/text.h"
#include "base/toml.h"
#include "decoder/decoder.h"
#include "service/default_device.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <span>
#include <tuple>
#include <utility>

namespace vesk::service {

namespace {

constexpr int64_t kMaxLimit = 1024;

std::string Quoted(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

std::string Range(int64_t least, int64_t most)
{
    return std::to_string(least) + " to " + std::to_string(most);
}

std::string ValueText(const toml::node& node)
{
    if (const auto* number = node.as_integer())
        return std::to_string(number->get());
    if (const auto* text = node.as_string())
        return Quoted(text->get());
    if (const auto* flag = node.as_boolean())
        return flag->get() ? "true" : "false";
    return node.is_table()            ? "a table"
           : node.is_array()          ? "an array"
           : node.is_floating_point() ? "a number with a fraction"
                                      : "a date or time";
}

/// Reads the keys of one table of a file.
class Table {
public:
    Table(const std::string& file, const toml::table& table, std::string path = {})
        : file_(file), table_(table), path_(std::move(path))
    {
    }

    /// Each of these leaves @p value as it is when the key is not there.
    void Read(const char* key, uint32_t& value, int64_t least = 0, int64_t most = UINT32_MAX)
    {
        if (const toml::node* node = Find(key))
            value = static_cast<uint32_t>(NumberIn(*node, PathOf(key), least, most));
    }

    /// Reads the numbers of a record, whose keys are the names of its fields.
    void ReadFields(const decoder::RecordType& type, std::span<std::byte> record)
    {
        for (const decoder::RecordField& field : type.fields) {
            const toml::node* node = field.isFiller ? nullptr : Find(field.name.c_str());
            if (node == nullptr)
                continue;
            const bool isSigned = field.kind == decoder::ElementKind::kSigned;
            const size_t bits =
                std::min<size_t>(field.size * 8 - (isSigned ? 1 : 0), 63); // of TOML's numbers
            const int64_t most = INT64_MAX >> (63 - bits);
            const int64_t value = NumberIn(*node, PathOf(field.name), isSigned ? -most - 1 : 0, most);
            std::memcpy(&record[field.offset], &value, field.size); // its lowest bytes come first
        }
    }

    void Read(const char* key, bool& value)
    {
        const toml::node* node = Find(key);
        if (node != nullptr && !node->is_boolean())
            Refuse(*node, PathOf(key), "true or false");
        if (node != nullptr)
            value = node->as_boolean()->get();
    }

    /// Different numbers up to @p most.
    void Read(const char* key, std::vector<uint32_t>& values, int64_t most)
    {
        values.clear();
        ForEach(key, [&](const toml::node& node, const std::string& path) {
            const auto value = static_cast<uint32_t>(NumberIn(node, path, 0, most));
            if (std::count(values.begin(), values.end(), value) != 0)
                Refuse(node, path, "different numbers", " again");
            values.push_back(value);
        });
    }

    std::string Text(const char* key, const std::string& expected)
    {
        const toml::node& node = Need(key, expected);
        if (!node.is_string())
            Refuse(node, PathOf(key), expected);
        return node.as_string()->get();
    }

    /// Reads the entries of an array of tables in place of those in @p entries, if it is there.
    template <class Entry>
    void ReadEntries(const char* key, size_t most, std::vector<Entry>& entries,
                     void (*read)(Table&, Entry&, const std::vector<Entry>& others))
    {
        std::vector<Entry> found;
        const bool isThere = ForEach(key, [&](const toml::node& node, const std::string& path) {
            if (found.size() == most)
                Fail(node.source(), path, "expected at most " + std::to_string(most) + " entries");
            Table table = AsTable(node, path);
            Entry entry;
            read(table, entry, found);
            table.End();
            found.push_back(std::move(entry));
        });
        if (isThere)
            entries = std::move(found);
    }

    /// Reads a table, if it is there.
    template <class Read>
    void ReadTable(const char* key, Read read)
    {
        const toml::node* node = Find(key);
        if (node == nullptr)
            return;
        Table table = AsTable(*node, PathOf(key));
        read(table);
        table.End();
    }

    const toml::node& Need(const char* key, const std::string& expected)
    {
        const toml::node* node = Find(key);
        if (node == nullptr)
            Fail(table_.source(), PathOf(key), "missing; expected " + expected);
        return *node;
    }

    [[noreturn]] void Refuse(const char* key, const std::string& expected, const char* andThen = "")
    {
        Refuse(*table_.get(key), PathOf(key), expected, andThen);
    }

    /// Refuses a key that was not asked for.
    void End() const
    {
        for (const auto& [key, node] : table_) {
            if (std::find(keys_.begin(), keys_.end(), key.str()) != keys_.end())
                continue;
            std::string expected;
            for (const std::string& known : keys_)
                expected += (expected.empty() ? "" : ", ") + known;
            Fail(key.source(), PathOf(key.str()), "unknown key; expected one of " + expected);
        }
    }

private:
    const toml::node* Find(const char* key)
    {
        keys_.emplace_back(key);
        return table_.get(key);
    }

    template <class Visit>
    bool ForEach(const char* key, Visit visit)
    {
        const toml::node* node = Find(key);
        if (node == nullptr)
            return false;
        if (!node->is_array())
            Refuse(*node, PathOf(key), "an array");
        size_t index = 0;
        for (const toml::node& entry : *node->as_array())
            visit(entry, PathOf(key) + '[' + std::to_string(index++) + ']');
        return true;
    }

    Table AsTable(const toml::node& node, const std::string& path) const
    {
        if (!node.is_table())
            Refuse(node, path, "a table");
        return {file_, *node.as_table(), path};
    }

    int64_t NumberIn(const toml::node& node, const std::string& path, int64_t least, int64_t most) const
    {
        const auto* number = node.as_integer();
        if (number == nullptr || number->get() < least || number->get() > most)
            Refuse(node, path, Range(least, most));
        return number->get();
    }

    std::string PathOf(std::string_view key) const
    {
        return path_ + (path_.empty() ? "" : ".") + std::string(key);
    }

    [[noreturn]] void Refuse(const toml::node& node, const std::string& path, const std::string& expected,
                             const char* andThen = "") const
    {
        Fail(node.source(), path, "expected " + expected + ", not " + ValueText(node) + andThen);
    }

    [[noreturn]] void Fail(const toml::source_region& at, const std::string& path,
                           const std::string& what) const
    {
        throw Error(file_ + ':' + std::to_string(at.begin.line) + ": " + path + ": " + what);
    }

    const std::string& file_;
    const toml::table& table_;
    const std::string path_;
    std::vector<std::string> keys_; // that were asked for
};

void ReadMode(Table& table, PortDescription& port)
{
    const int64_t least = port.isPlugged ? 1 : 0; // what is plugged in has a picture
    const std::tuple<const char*, uint32_t&, int64_t> keys[] = {{"width", port.mode.width, kMaxPixels},
                                                                {"height", port.mode.height, kMaxPixels},
                                                                {"fr", port.mode.fr, kMaxFrameRate}};
    for (const auto& [key, value, most] : keys) {
        if (port.isPlugged)
            table.Need(key, Range(least, most));
        table.Read(key, value, least, most);
    }
}

template <class Description>
void ReadPort(Table& table, Description& port, const std::vector<Description>& others)
{
    constexpr size_t kMost = sizeof VeskServiceViPort::name - 1;
    const std::string expected = "1 to " + std::to_string(kMost) + " characters, none of control";
    port.name = table.Text("name", expected);
    if (port.name.empty() || port.name.size() > kMost || !IsPrintable(port.name))
        table.Refuse("name", expected);
    if (std::any_of(others.begin(), others.end(),
                    [&](const Description& other) { return other.name == port.name; }))
        table.Refuse("name", "a name of its own", " again");
    table.Read("plugged", port.isPlugged);
    ReadMode(table, port);
}

void ReadInput(Table& table, InputDescription& input, const std::vector<InputDescription>& others)
{
    constexpr std::pair<const char*, uint32_t> kTypes[] = {
        {"camera", kCamera}, {"pc", kPc}, {"net-camera", kNetCamera}};
    const std::string expected = R"("camera", "pc" or "net-camera")";
    ReadPort(table, input, others);
    const std::string kind = table.Text("kind", expected);
    const auto* const type = std::find_if(std::begin(kTypes), std::end(kTypes),
                                          [&](const auto& listed) { return kind == listed.first; });
    if (type == std::end(kTypes))
        table.Refuse("kind", expected);
    input.type = type->second;
}

void ReadLimits(Table& table, DeviceLimits& limits)
{
    table.Read("encoders", limits.encoders, 0, kMaxLimit);
    limits.encodersRunning = limits.encoders;
    const std::pair<const char*, uint32_t&> keys[] = {{"encoders_running", limits.encodersRunning},
                                                      {"encoders_at_speed", limits.encodersAtSpeed},
                                                      {"decoders", limits.decoders},
                                                      {"overlays", limits.overlays},
                                                      {"mice", limits.mice},
                                                      {"uvc", limits.uvc},
                                                      {"loops", limits.loops},
                                                      {"streams", limits.streams},
                                                      {"queues", limits.queues},
                                                      {"own_queues", limits.ownQueues},
                                                      {"presets", limits.presets},
                                                      {"preset_query", limits.presetQuery}};
    for (const auto& [key, limit] : keys)
        table.Read(key, limit, 0, kMaxLimit);
}

void ReadPictures(Table& table, PictureBounds& pictures)
{
    const std::tuple<const char*, uint32_t&, const char*, uint32_t&> sides[] = {
        {"min_width", pictures.minWidth, "max_width", pictures.maxWidth},
        {"min_height", pictures.minHeight, "max_height", pictures.maxHeight}};
    for (const auto& [minKey, min, maxKey, max] : sides) {
        table.Read(maxKey, max, 1, kMaxPixels);
        table.Read(minKey, min, 1, max);
        if (min > max) // it is the base's
            table.Refuse(maxKey, Range(min, kMaxPixels));
    }
    table.Read("max_fr", pictures.maxFrameRate, 1, kMaxFrameRate);
}

template <class Description>
void ReadCodec(Table& table, Description& codec, const std::vector<Description>& others)
{
    table.Need("codec", Range(0, VESK_VIDEO_CODEC_NUM - 1));
    table.Read("codec", codec.number, 0, VESK_VIDEO_CODEC_NUM - 1);
    if (std::any_of(others.begin(), others.end(),
                    [&](const Description& other) { return other.number == codec.number; }))
        table.Refuse("codec", "a number of its own", " again");
    table.Read("svc", codec.isSvc);
    table.Read("profiles", codec.profiles, std::size(VeskVideoEncCodecCapability{}.profiles) - 1);
    table.Read("fecs", codec.fecs, std::size(VeskVideoEncCodecCapability{}.fecs) - 1);
}

void ReadEncode(Table& table, EncodeDescription& codec, const std::vector<EncodeDescription>& others)
{
    ReadCodec(table, codec, others);
    table.Read("max_bandwidth", codec.maxBandWidth);
    table.Read("h264_max_level", codec.h264MaxLevel);
    table.Read("h265_max_level", codec.h265MaxLevel);
}

void ReadDecode(Table& table, DecodeDescription& codec, const std::vector<DecodeDescription>& others)
{
    ReadCodec(table, codec, others);
    table.Read("tile", codec.isTile);
}

void ReadDefaults(Table& table, DefaultParameters& defaults)
{
    static const decoder::Decoder s_decoder;
    const auto read = [&](const char* key, const char* type, auto& record) {
        table.ReadTable(key, [&](Table& fields) {
            fields.ReadFields(*s_decoder.Records().Find(type), std::as_writable_bytes(std::span(&record, 1)));
        });
    };
    read("input", "VeskVideoViPortParam", defaults.input);
    read("output", "VeskVideoVoPortParam", defaults.output);
    read("encoder", "VeskVideoEncParam", defaults.encoder);
    read("encoder_ex", "VeskVideoEncParamEx", defaults.encoderEx);
    read("decoder", "VeskVideoDecParam", defaults.decoder);
}

std::string ReadFile(const std::string& path)
{
    constexpr size_t kMost = 1U << 20U;
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    std::string text(kMost + 1, '\0');
    file.read(text.data(), static_cast<std::streamsize>(text.size()));
    if (file.bad() || (file.fail() && !file.eof()))
        throw Error(path + ": cannot be read: " + strerror(errno));
    text.resize(static_cast<size_t>(file.gcount()));
    if (text.size() > kMost)
        throw Error(path + ": expected at most " + std::to_string(kMost) + " bytes");
    return text;
}

} // namespace

DeviceDescription ParseDevice(std::string_view text, const std::string& file, DeviceDescription device)
try {
    const toml::table root = toml::parse(text, file);
    Table table(file, root);
    table.ReadEntries("inputs", kMaxPorts, device.inputs, ReadInput);
    table.ReadEntries("outputs", kMaxPorts, device.outputs, ReadPort<PortDescription>);
    table.ReadTable("limits", [&](Table& limits) { ReadLimits(limits, device.limits); });
    table.ReadTable("pictures", [&](Table& pictures) { ReadPictures(pictures, device.pictures); });
    table.ReadEntries("encode", VESK_VIDEO_CODEC_NUM, device.encode, ReadEncode);
    table.ReadEntries("decode", VESK_VIDEO_CODEC_NUM, device.decode, ReadDecode);
    table.ReadTable("defaults", [&](Table& defaults) { ReadDefaults(defaults, device.defaults); });
    table.End();
    return device;
} catch (const toml::parse_error& error) {
    throw Error(file + ':' + std::to_string(error.source().begin.line) + ": " +
                std::string(error.description()));
}

const DeviceDescription& DefaultDevice()
{
    static const DeviceDescription s_device = ParseDevice(kDefaultDevice, "default.toml", {});
    return s_device;
}

DeviceDescription ReadDevice(const std::string& path)
{
    return ParseDevice(ReadFile(path), path, DefaultDevice());
}

} // namespace vesk::service
