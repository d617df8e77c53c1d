// Descriptions of virtual devices in TOML files.
#include "service/device_file.h"

#include "base/file.h"
#include "base/installed.h"
#include "base/text.h"
#include "base/toml_table.h"
#include "decoder/decoder.h"
#include "service/default_device.h"

#include <algorithm>
#include <cstring>
#include <span>
#include <tuple>
#include <utility>

namespace vesk::service {

namespace {

constexpr int64_t kMaxLimit = 1024;
constexpr int64_t kMaxBlocks = INT32_MAX;        // per second
constexpr int64_t kMaxNumbered = kRangeSize - 1; // of things that the service numbers

/// Each of these leaves @p value as it is when the key is not there.
void Read(TomlTable& table, const char* key, uint32_t& value, int64_t least = 0, int64_t most = UINT32_MAX)
{
    if (const auto found = table.Find(key))
        value = static_cast<uint32_t>(found->Integer(least, most));
}

void Read(TomlTable& table, const char* key, bool& value)
{
    if (const auto found = table.Find(key))
        value = found->Flag();
}

/// Different numbers up to @p most; none when the key is not there.
void Read(TomlTable& table, const char* key, std::vector<uint32_t>& values, int64_t most)
{
    values.clear();
    const auto found = table.Find(key);
    for (const TomlValue& entry : found ? found->Entries() : std::vector<TomlValue>()) {
        const auto value = static_cast<uint32_t>(entry.Integer(0, most));
        if (std::count(values.begin(), values.end(), value) != 0)
            entry.Refuse("different numbers", " again");
        values.push_back(value);
    }
}

/// Reads the numbers of a record, whose keys are the names of its fields.
void ReadFields(TomlTable& table, const decoder::RecordType& type, std::span<std::byte> record)
{
    for (const decoder::RecordField& field : type.fields) {
        const auto found = field.isFiller ? std::nullopt : table.Find(field.name);
        if (!found)
            continue;
        const bool isSigned = field.kind == decoder::ElementKind::kSigned;
        const size_t bits = std::min<size_t>(field.size * 8 - (isSigned ? 1 : 0), 63); // of TOML's numbers
        const int64_t most = INT64_MAX >> (63 - bits);
        const int64_t value = found->Integer(isSigned ? -most - 1 : 0, most);
        std::memcpy(&record[field.offset], &value, field.size); // its lowest bytes come first
    }
}

/// Reads a table, if it is there.
template <class Read>
void ReadTable(TomlTable& table, const char* key, Read read)
{
    if (const auto found = table.Find(key)) {
        TomlTable inner = found->Table();
        read(inner);
        inner.End();
    }
}

/// Reads the entries of an array of tables in place of those in @p entries, if it is there.
template <class Entry>
void ReadEntries(TomlTable& table, const char* key, size_t most, std::vector<Entry>& entries,
                 void (*read)(TomlTable&, Entry&, const std::vector<Entry>& others))
{
    const auto found = table.Find(key);
    if (!found)
        return;
    entries.clear();
    for (const TomlValue& value : found->Entries()) {
        if (entries.size() == most)
            value.Fail("expected at most " + std::to_string(most) + " entries");
        TomlTable inner = value.Table();
        Entry entry;
        read(inner, entry, entries);
        inner.End();
        entries.push_back(std::move(entry));
    }
}

void ReadMode(TomlTable& table, PortDescription& port)
{
    const int64_t least = port.isPlugged ? 1 : 0; // what is plugged in has a picture
    const std::tuple<const char*, uint32_t&, int64_t> keys[] = {{"width", port.mode.width, kMaxPixels},
                                                                {"height", port.mode.height, kMaxPixels},
                                                                {"fr", port.mode.fr, kMaxFrameRate}};
    for (const auto& [key, value, most] : keys) {
        if (port.isPlugged)
            table.Need(key, RangeText(least, most));
        Read(table, key, value, least, most);
    }
}

template <class Description>
void ReadPort(TomlTable& table, Description& port, const std::vector<Description>& others)
{
    constexpr size_t kMost = sizeof VeskServiceViPort::name - 1;
    const std::string expected = "1 to " + std::to_string(kMost) + " characters, none of control";
    const TomlValue name = table.Need("name", expected);
    port.name = name.Text(expected);
    if (port.name.empty() || port.name.size() > kMost || !IsPrintable(port.name))
        name.Refuse(expected);
    if (std::any_of(others.begin(), others.end(),
                    [&](const Description& other) { return other.name == port.name; }))
        name.Refuse("a name of its own", " again");
    Read(table, "plugged", port.isPlugged);
    ReadMode(table, port);
}

void ReadInput(TomlTable& table, InputDescription& input, const std::vector<InputDescription>& others)
{
    constexpr std::pair<const char*, uint32_t> kTypes[] = {
        {"camera", kCamera}, {"pc", kPc}, {"net-camera", kNetCamera}};
    const std::string expected = R"("camera", "pc" or "net-camera")";
    ReadPort(table, input, others);
    const TomlValue kind = table.Need("kind", expected);
    const std::string name = kind.Text(expected);
    const auto* const type = std::find_if(std::begin(kTypes), std::end(kTypes),
                                          [&](const auto& listed) { return name == listed.first; });
    if (type == std::end(kTypes))
        kind.Refuse(expected);
    input.type = type->second;
}

void ReadLimits(TomlTable& table, DeviceLimits& limits)
{
    Read(table, "encoders", limits.encoders, 0, kMaxNumbered);
    limits.encodersRunning = limits.encoders;
    const std::tuple<const char*, uint32_t&, int64_t> keys[] = {
        {"encoders_running", limits.encodersRunning, kMaxNumbered},
        {"encoders_at_speed", limits.encodersAtSpeed, kMaxNumbered},
        {"decoders", limits.decoders, kMaxNumbered},
        {"overlays", limits.overlays, kMaxLimit},
        {"mice", limits.mice, kMaxNumbered},
        {"uvc", limits.uvc, kMaxNumbered},
        {"loops", limits.loops, kMaxNumbered},
        {"streams", limits.streams, kMaxLimit},
        {"queues", limits.queues, kMaxLimit},
        {"own_queues", limits.ownQueues, kMaxLimit},
        {"presets", limits.presets, kMaxLimit},
        {"preset_query", limits.presetQuery, kMaxLimit}};
    for (const auto& [key, limit, most] : keys)
        Read(table, key, limit, 0, most);
    if (table.Find("blocks_at_speed")) {
        Read(table, "blocks_at_speed", limits.blocksAtSpeed, 0, kMaxBlocks);
        limits.blocksRunning = 2 * limits.blocksAtSpeed;
    }
    Read(table, "blocks_running", limits.blocksRunning, 0, kMaxBlocks);
}

void ReadPictures(TomlTable& table, PictureBounds& pictures)
{
    const std::tuple<const char*, uint32_t&, const char*, uint32_t&> sides[] = {
        {"min_width", pictures.minWidth, "max_width", pictures.maxWidth},
        {"min_height", pictures.minHeight, "max_height", pictures.maxHeight}};
    for (const auto& [minKey, min, maxKey, max] : sides) {
        Read(table, maxKey, max, 1, kMaxPixels);
        Read(table, minKey, min, 1, max);
        if (min > max) // it is the base's
            table.Find(maxKey)->Refuse(RangeText(min, kMaxPixels));
    }
    Read(table, "max_fr", pictures.maxFrameRate, 1, kMaxFrameRate);
}

template <class Description>
void ReadCodec(TomlTable& table, Description& codec, const std::vector<Description>& others)
{
    constexpr int64_t kHighest = VESK_VIDEO_CODEC_NUM - 1;
    const TomlValue number = table.Need("codec", RangeText(0, kHighest));
    codec.number = static_cast<uint32_t>(number.Integer(0, kHighest));
    if (std::any_of(others.begin(), others.end(),
                    [&](const Description& other) { return other.number == codec.number; }))
        number.Refuse("a number of its own", " again");
    Read(table, "svc", codec.isSvc);
    Read(table, "profiles", codec.profiles, std::size(VeskVideoEncCodecCapability{}.profiles) - 1);
    Read(table, "fecs", codec.fecs, std::size(VeskVideoEncCodecCapability{}.fecs) - 1);
}

void ReadEncode(TomlTable& table, EncodeDescription& codec, const std::vector<EncodeDescription>& others)
{
    ReadCodec(table, codec, others);
    Read(table, "max_bandwidth", codec.maxBandWidth);
    Read(table, "h264_max_level", codec.h264MaxLevel);
    Read(table, "h265_max_level", codec.h265MaxLevel);
}

void ReadDecode(TomlTable& table, DecodeDescription& codec, const std::vector<DecodeDescription>& others)
{
    ReadCodec(table, codec, others);
    Read(table, "tile", codec.isTile);
}

void ReadDefaults(TomlTable& table, DefaultParameters& defaults)
{
    static const decoder::Decoder s_decoder;
    const auto read = [&](const char* key, const char* type, auto& record) {
        ReadTable(table, key, [&](TomlTable& fields) {
            ReadFields(fields, *s_decoder.Records().Find(type),
                       std::as_writable_bytes(std::span(&record, 1)));
        });
    };
    read("input", "VeskVideoViPortParam", defaults.input);
    read("output", "VeskVideoVoPortParam", defaults.output);
    read("encoder", "VeskVideoEncParam", defaults.encoder);
    read("encoder_ex", "VeskVideoEncParamEx", defaults.encoderEx);
    read("decoder", "VeskVideoDecParam", defaults.decoder);
}

} // namespace

DeviceDescription ParseDevice(std::string_view text, const std::string& file, DeviceDescription device)
{
    TomlTable table(text, file);
    ReadEntries(table, "inputs", kMaxPorts, device.inputs, ReadInput);
    ReadEntries(table, "outputs", kMaxPorts, device.outputs, ReadPort<PortDescription>);
    ReadTable(table, "limits", [&](TomlTable& limits) { ReadLimits(limits, device.limits); });
    ReadTable(table, "pictures", [&](TomlTable& pictures) { ReadPictures(pictures, device.pictures); });
    ReadEntries(table, "encode", VESK_VIDEO_CODEC_NUM, device.encode, ReadEncode);
    ReadEntries(table, "decode", VESK_VIDEO_CODEC_NUM, device.decode, ReadDecode);
    ReadTable(table, "defaults", [&](TomlTable& defaults) { ReadDefaults(defaults, device.defaults); });
    table.End();
    return device;
}

const DeviceDescription& DefaultDevice()
{
    static const DeviceDescription s_device = ParseDevice(kDefaultDevice, "default.toml", {});
    return s_device;
}

DeviceDescription ReadDevice(const std::string& path)
{
    const std::string found = FindFile(path, "devices");
    return ParseDevice(FileContents(found), found, DefaultDevice());
}

} // namespace vesk::service
