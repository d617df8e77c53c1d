// Any text as a device file: it describes a device within the bounds, or is refused by its name.
#include "fuzz.h"

#include "decoder/error.h"
#include "service/device_file.h"

using namespace vesk::service;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    try {
        const DeviceDescription device =
            ParseDevice({reinterpret_cast<const char*>(bytes), size}, "FILE", DefaultDevice());
        CHECK(device.inputs.size() <= kMaxPorts && device.outputs.size() <= kMaxPorts);
        CHECK(device.pictures.minWidth <= device.pictures.maxWidth);
        for (const InputDescription& input : device.inputs)
            CHECK(!input.name.empty() && (!input.isPlugged || input.mode.width != 0));
        for (const EncodeDescription& codec : device.encode)
            CHECK(codec.number < VESK_VIDEO_CODEC_NUM);
    } catch (const vesk::tools::Error& error) {
        CHECK(std::string_view(error.what()).starts_with("FILE:"));
    }
    return 0;
}
