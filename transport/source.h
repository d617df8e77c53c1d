// Source name of the transport's lines in the module log.
#pragma once

#include "transport/log.h"

namespace vesk {

constexpr char kLogSource[] = "zora_msg_adapt";

} // namespace vesk
