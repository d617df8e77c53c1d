// Numbers that differ from one run to the next: engines, streams, channels, queues.
#pragma once

#include "decoder/decoder.h"

#include <map>

namespace vesk::recording {

/// What those who create a queue tell the service about it; see decoder::IdentityOf.
inline constexpr std::string_view kQueueIdentity = "queHandle";

/// The value of the first field with this identity; nothing if there is none.
std::optional<uint64_t> NumberIn(const decoder::Decoded& message, std::string_view identity);

/// A number that a message is the first to name.
struct NewNumber {
    std::string_view identity;
    uint64_t number;
};

/// What an answer hands out, or the queue that an application has created; nothing in other messages.
std::optional<NewNumber> NewNumberIn(const decoder::Decoded& message);

/// The data of a request without what differs from one run to the next: addresses in the application's
/// memory, the number of a queue that it has created, its name.
Bytes Comparable(uint32_t request, Bytes data);

/// Which number of one run stands for which of another.
class Numbers {
public:
    void Learn(std::string_view identity, uint64_t from, uint64_t to);

    /// Learns the new number in the same message of both runs, if there is one.
    void Learn(const decoder::Decoded& from, const decoder::Decoded& to);

    /// The bytes of a message with all numbers translated; those that are not known stay.
    Bytes Translate(const decoder::Decoder& decoder, const decoder::Message& message) const;

private:
    /// Null for a number that is not known.
    const uint64_t* Find(std::string_view identity, uint64_t from) const;

    std::map<std::pair<std::string_view, uint64_t>, uint64_t> known_;
};

} // namespace vesk::recording
