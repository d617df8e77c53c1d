// Any bytes as a message of any number, in each direction; what is shown of it must be made of its bytes.
#include "decoder/text.h"

#include <cstdlib>
#include <nlohmann/json.hpp>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vesk;
    using namespace vesk::decoder;
    static const Decoder& decoder = *new Decoder;
    if (size < 2)
        return 0;
    const auto bytes = std::as_bytes(std::span(data, size)).subspan(2);
    const Message message{static_cast<Direction>(data[0] % 3), data[1], bytes};
    const Decoded decoded = decoder.Decode(message);
    for (const Field& field : decoded.fields) {
        if (field.offset + field.size > bytes.size())
            std::abort();
    }
    Line(decoder, decoded);
    Dump(ToJson(decoded));
    return 0;
}
