// Whether a request's payload has the form that the list of messages gives it.
#pragma once

#include "service/request.h"
#include "vesk_video/message_list.h"

namespace vesk::service {

/// True when @p payload, which follows @p head, has the form @p form.
bool Fits(const messages::Form& form, const VeskVideoMsgHead& head, std::span<const std::byte> payload);

} // namespace vesk::service
