// The envelope of an outgoing message and the names that route it.
#pragma once

#include "platform/os_msg.h"

#include <cstdint>
#include <string>

namespace vesk {

/// Name of the library's own receive task, NUL-padded.
inline constexpr char kReceiveTaskName[16] = "VAPI";

/// The sender's process name of every request; written by VeskVideoInit alone.
extern std::string g_veskVideoServiceName;

/// Fills the routing fields of a zeroed envelope. Returns 0, or 1 after logging what failed.
uint32_t VeskVideoFillMsgEnvelope(OsMsgEnvelope* envelope);

} // namespace vesk
