// Numbers that differ from one run to the next: engines, streams, channels, queues.
#include "tools/recording/numbers.h"

#include "decoder/identity.h"

#include <cstring>

namespace vesk::recording {

using namespace decoder;

std::optional<uint64_t> NumberIn(const Decoded& message, std::string_view identity)
{
    for (const Field& field : message.fields) {
        const uint64_t* number = std::get_if<uint64_t>(&field.value);
        if (number != nullptr && IdentityOf(message, field) == identity)
            return *number;
    }
    return std::nullopt;
}

void Numbers::Learn(std::string_view identity, uint64_t from, uint64_t to)
{
    known_[{identity, from}] = to;
}

const uint64_t* Numbers::Find(std::string_view identity, uint64_t from) const
{
    if (identity == kEngine) {
        for (const std::string_view kind : kEngineKinds) {
            if (const uint64_t* known = Find(kind, from))
                return known;
        }
    }
    const auto known = known_.find({identity, from});
    return known != known_.end() ? &known->second : nullptr;
}

void Numbers::LearnAnswer(const Decoded& from, const Decoded& to)
{
    const messages::Request* listed = messages::FindRequest(from.number);
    if (listed == nullptr || *listed->answer.name == '\0' || from.result != VESK_VIDEO_OK ||
        to.result != VESK_VIDEO_OK)
        return;
    const std::string_view identity = IdentityOf(listed->answer.name);
    if (identity.empty())
        return;
    const std::optional<uint64_t> before = NumberIn(from, identity);
    const std::optional<uint64_t> now = NumberIn(to, identity);
    if (before && now)
        Learn(identity, *before, *now);
}

Bytes Numbers::Translate(const Decoder& decoder, const Message& message) const
{
    Bytes bytes(message.data.begin(), message.data.end());
    if (known_.empty())
        return bytes;
    const Decoded decoded = decoder.Decode(message);
    for (const Field& field : decoded.fields) {
        const uint64_t* number = std::get_if<uint64_t>(&field.value);
        if (number == nullptr)
            continue;
        if (const uint64_t* known = Find(IdentityOf(decoded, field), *number))
            // numbers are little-endian, like all machines that this runs on
            std::memcpy(bytes.data() + field.offset, known, field.size);
    }
    return bytes;
}

} // namespace vesk::recording
