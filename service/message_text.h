// A message as the service's log line shows it.
#pragma once

#include "platform/os_msg.h"

#include <string>

namespace vesk::service {

/// "VESK_VIDEO_MSG_SET_VI_CONNECT (14) from tour: inEngNo=1 stmNo=2, 0 bytes"; the bytes are the payload's.
std::string MessageText(const OsMsgEnvelope& message);

} // namespace vesk::service
