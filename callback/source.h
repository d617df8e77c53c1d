// Source name of the notification side's lines in the module log, and its common refusal.
#pragma once

#include "transport/log.h"

namespace vesk {

constexpr char kLogSource[] = "vesk_video_callback";

} // namespace vesk

/// True when a pointer is null, after the notification side's line about it.
#define IS_NULLPTR(argument)                                                                                 \
    ((argument) == nullptr ? (LOG(kError, "%s is nullptr!", #argument), true) : false)
