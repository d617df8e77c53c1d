// Which messages a fault rule, or a step of a scenario, is about.
#pragma once

#include "service/request.h"
#include "vesk_service/control.h"

namespace vesk::service {

/// A message that is about to be served or sent.
struct MessageView {
    VeskControlKind kind; ///< Of the two.
    uint32_t number;
    std::string_view procName; ///< Application that sends or receives it.
    std::span<const std::byte> data;
};

/// "VESK_VIDEO_MSG_VO_START (27) from tour", for a line about it.
std::string TextOf(const MessageView& message);

/// False when @p match has a field that cannot be.
bool IsValid(const VeskControlMatch& match);

/// @param match  A valid one.
bool Matches(const VeskControlMatch& match, const MessageView& message);

} // namespace vesk::service
