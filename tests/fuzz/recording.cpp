// Any bytes as a recording, in pieces of any size; what is read of it is joined.
#include "decoder/error.h"
#include "tools/recording/exchange.h"
#include "tools/recording/reader.h"

#include <algorithm>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    using namespace vesk::recording;
    Reader reader;
    Joiner joiner;
    auto rest = std::as_bytes(std::span(data, size));
    const size_t piece = size == 0 ? 1 : 1 + data[0];
    try {
        while (!rest.empty()) {
            const size_t length = std::min(piece, rest.size());
            reader.Feed(rest.first(length));
            rest = rest.subspan(length);
            while (std::optional<Event> event = reader.Next())
                joiner.Add(std::move(*event));
        }
        reader.Finish();
    } catch (const vesk::tools::Error&) {
    }
    return 0;
}
