// Numbers that differ from one run to the next: engines, streams, channels, queues.
#pragma once

#include "decoder/decoder.h"

#include <map>

namespace vesk::recording {

/// What those who create a queue tell the service about it; see decoder::IdentityOf.
inline constexpr std::string_view kQueueIdentity = "queHandle";

/// The value of the first field with this identity; nothing if there is none.
std::optional<uint64_t> NumberIn(const decoder::Decoded& message, std::string_view identity);

/// Which number of one run stands for which of another.
class Numbers {
public:
    void Learn(std::string_view identity, uint64_t from, uint64_t to);

    /// Learns the number that the service hands out in an answer, if it does, from the same answer in both
    /// runs.
    void LearnAnswer(const decoder::Decoded& from, const decoder::Decoded& to);

    /// The bytes of a message with all numbers translated; those that are not known stay.
    Bytes Translate(const decoder::Decoder& decoder, const decoder::Message& message) const;

private:
    /// Null for a number that is not known.
    const uint64_t* Find(std::string_view identity, uint64_t from) const;

    std::map<std::pair<std::string_view, uint64_t>, uint64_t> known_;
};

} // namespace vesk::recording
