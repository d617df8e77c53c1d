// Any text as a device file: it describes a device within the bounds, or is refused by its name.
#include "fuzz.h"

#include "base/error.h"
#include "service/device_file.h"

#include <algorithm>
#include <iterator>
#include <random>
#include <set>

using namespace vesk::service;

extern "C" size_t LLVMFuzzerMutate(uint8_t* bytes, size_t size, size_t most);

/// Every other time one line goes or gets a value at a bound, which chance would hardly write.
extern "C" size_t LLVMFuzzerCustomMutator(uint8_t* bytes, size_t size, size_t most, unsigned seed)
{
    static const char* const values[] = {
        "-1",    "63",   "64", "65", "3840",   "4294967295", "4294967296", "1.5",        "true",
        "false", "\"\"", "[]", "{}", "[0, 0]", "[0, 64]",    "\"camera\"", "\"CAMERA\"", "\"HDMI-OUT-1\""};
    std::minstd_rand random(seed);
    std::string text(reinterpret_cast<char*>(bytes), size);
    const size_t at = text.find('=', random() % (size + 1));
    if (at == std::string::npos || random() % 2 == 0)
        return LLVMFuzzerMutate(bytes, size, most);
    const size_t end = std::min(text.find('\n', at), size);
    if (random() % 4 == 0)
        text.erase(text.rfind('\n', at) + 1, end - text.rfind('\n', at) - 1);
    else if (random() % 2 == 0)
        text.replace(at + 1, end - at - 1, std::to_string(random() % 20));
    else
        text.replace(at + 1, end - at - 1, values[random() % std::size(values)]);
    if (text.size() > most)
        return LLVMFuzzerMutate(bytes, size, most);
    text.copy(reinterpret_cast<char*>(bytes), text.size());
    return text.size();
}

namespace {

template <class Description>
void CheckPorts(const std::vector<Description>& ports)
{
    std::set<std::string> names;
    for (const Description& port : ports) {
        CHECK(!port.name.empty() && names.insert(port.name).second);
        CHECK(!port.isPlugged || (port.mode.width != 0 && port.mode.height != 0 && port.mode.fr != 0));
    }
    CHECK(ports.size() <= kMaxPorts);
}

template <class Description>
void CheckCodecs(const std::vector<Description>& codecs)
{
    std::set<uint32_t> numbers;
    for (const Description& codec : codecs) {
        CHECK(codec.number < VESK_VIDEO_CODEC_NUM && numbers.insert(codec.number).second);
        const std::set<uint32_t> profiles(codec.profiles.begin(), codec.profiles.end());
        CHECK(profiles.size() == codec.profiles.size());
        CHECK(profiles.empty() || *profiles.rbegin() < std::size(VeskVideoEncCodecCapability{}.profiles));
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    try {
        const DeviceDescription device =
            ParseDevice({reinterpret_cast<const char*>(bytes), size}, "FILE", DefaultDevice());
        CheckPorts(device.inputs);
        CheckPorts(device.outputs);
        CheckCodecs(device.encode);
        CheckCodecs(device.decode);
        CHECK(device.pictures.minWidth <= device.pictures.maxWidth);
        CHECK(device.pictures.minHeight <= device.pictures.maxHeight);
    } catch (const vesk::Error& error) {
        CHECK(std::string_view(error.what()).starts_with("FILE:"));
    }
    return 0;
}
