// The installed callback; read through VeskVideoGetCallbackPtr.
#pragma once

#include "vesk_video/notification.h"

namespace vesk {

/// Replaces the installed callback as one whole pointer; null forgets it. Any thread may call.
void StoreCallback(VeskVideoNotifyCallback callback);

} // namespace vesk
