// The service's lines in the module log.
#pragma once

#include "transport/log.h"

namespace vesk::service {

static constexpr auto& kLogModule = log_module::kService;

} // namespace vesk::service
