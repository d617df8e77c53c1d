// Source name of the module's lines in the module log.
#pragma once

#include "transport/log.h"

namespace vesk {

constexpr char kLogSource[] = "vesk_video_interface_mouse";

} // namespace vesk
