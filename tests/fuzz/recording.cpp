// A recording with other bytes here and there, or any bytes, in pieces of any size; what is read of it is
// joined.
#include "base/error.h"
#include "fuzz.h"
#include "tools/recording/exchange.h"
#include "tools/recording/reader.h"
#include "tools/recording/writer.h"

#include <sys/mman.h>

#include <algorithm>

using namespace vesk::recording;

namespace {

std::string Sample()
{
    const int file = memfd_create("recording", MFD_CLOEXEC);
    CHECK(AppendSection(file, "application", "process") == 0);
    for (uint8_t kind = 0; kind < 5; ++kind) {
        Head head{};
        head.version = kVersion;
        head.headSize = sizeof head;
        head.kind = static_cast<Kind>(kind);
        head.exchange = 1;
        head.dataLen = 8;
        CHECK(AppendPacket(file, kind, head, std::as_bytes(std::span("message")), "comment") == 0);
    }
    std::string sample(static_cast<size_t>(lseek(file, 0, SEEK_END)), '\0');
    CHECK(pread(file, sample.data(), sample.size(), 0) == static_cast<ssize_t>(sample.size()));
    close(file);
    return sample;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string sample = Sample();
    FuzzedDataProvider input(data, size);
    const auto piece = input.ConsumeIntegralInRange<size_t>(1, 256);
    std::string text = input.ConsumeBool() ? sample : "";
    for (int changes = input.ConsumeIntegralInRange(0, 8); changes != 0 && !text.empty(); --changes)
        text[input.ConsumeIntegralInRange<size_t>(0, text.size() - 1)] = input.ConsumeIntegral<char>();
    text += input.ConsumeRemainingBytesAsString();
    Reader reader;
    Joiner joiner;
    auto rest = std::as_bytes(std::span(text));
    try {
        while (!rest.empty()) {
            const size_t length = std::min(piece, rest.size());
            reader.Feed(rest.first(length));
            rest = rest.subspan(length);
            while (std::optional<Event> event = reader.Next())
                joiner.Add(std::move(*event));
        }
        reader.Finish();
    } catch (const vesk::Error&) {
    }
    return 0;
}
