// Numbers that differ from one run to the next: engines, streams, channels, queues.
#include "tools/recording/numbers.h"

#include "decoder/identity.h"

#include <algorithm>
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

std::optional<NewNumber> NewNumberIn(const Decoded& message)
{
    std::string_view identity;
    if (message.direction == Direction::kRequest && message.number == VESK_VIDEO_MSG_CREATE_QUEUE)
        identity = kQueueIdentity;
    const messages::Request* listed = messages::FindRequest(message.number);
    if (message.direction == Direction::kAnswer && listed != nullptr && *listed->answer.name != '\0' &&
        message.result == VESK_VIDEO_OK)
        identity = IdentityOf(listed->answer.name);
    const std::optional<uint64_t> number = identity.empty() ? std::nullopt : NumberIn(message, identity);
    return number ? std::optional(NewNumber{identity, *number}) : std::nullopt;
}

Bytes Comparable(uint32_t request, Bytes data)
{
    const messages::Request* listed = messages::FindRequest(request);
    if (listed == nullptr || data.size() < sizeof(VeskVideoMsgHead))
        return data;
    const auto isOwn = [&](const messages::Argument& argument) {
        return argument.IsPointer() ||
               (request == VESK_VIDEO_MSG_CREATE_QUEUE && argument.Name() == kQueueIdentity);
    };
    VeskVideoMsgHead head;
    std::memcpy(&head, data.data(), sizeof head);
    if (isOwn(listed->At(messages::HeaderField::kParam1)))
        head.ulParam1 = 0;
    if (isOwn(listed->At(messages::HeaderField::kParam2)))
        head.ulParam2 = 0;
    std::memcpy(data.data(), &head, sizeof head);
    if (request == VESK_VIDEO_MSG_INIT && data.size() == sizeof head + sizeof(VeskVideoInitInfo))
        std::fill(data.begin() + sizeof head, data.end(), std::byte{0});
    return data;
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

void Numbers::Learn(const Decoded& from, const Decoded& to)
{
    const std::optional<NewNumber> before = NewNumberIn(from);
    const std::optional<NewNumber> now = NewNumberIn(to);
    if (before && now)
        Learn(before->identity, before->number, now->number);
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
