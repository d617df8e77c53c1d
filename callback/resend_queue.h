// Port notifications that wait for a callback.
#pragma once

#include "vesk_video/notification.h"

namespace vesk {

/**
 * Holds a copy of a notification until a callback is installed; drops it when out of memory.
 *
 * @return Null when it is held or dropped; the callback to call when one was installed meanwhile.
 */
VeskVideoNotifyCallback HoldUnlessCallback(uint32_t msgId, const void* data, uint32_t dataLen);

/// Hands all held notifications to the installed callback on the calling thread, oldest first.
void DeliverHeldNotifications();

} // namespace vesk
