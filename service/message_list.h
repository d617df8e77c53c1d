// Whether what follows a header is what the interface's list of messages allows.
#pragma once

#include "service/request.h"
#include "vesk_video/message_list.h"

namespace vesk::service {

/// True when @p bytes are what @p form allows after @p head.
bool Fits(const messages::Form& form, const VeskVideoMsgHead& head, std::span<const std::byte> bytes);

} // namespace vesk::service
