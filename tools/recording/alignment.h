// Which processes and requests of one recording are those of another.
#pragma once

#include "tools/recording/conversation.h"

namespace vesk::recording {

/// For each of one recording, its index in the other; nothing for what the other does not have.
using Counterparts = std::vector<std::optional<size_t>>;

struct Alignment {
    Counterparts participants;
    Counterparts turns;
};

/**
 * Finds the counterparts of @p one in @p other.
 *
 * Processes of the same program, else of the same name in messages, are counterparts in the order in which
 * they appear; so are two that are alone in their recordings. Their requests are counterparts as far as both
 * make them in the same order: first those that are equal but for the numbers that the service has handed
 * out, then, between these, those of the same message.
 */
Alignment Align(const decoder::Decoder& decoder, const Conversation& one, const Conversation& other);

} // namespace vesk::recording
