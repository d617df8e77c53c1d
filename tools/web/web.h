// The device's page.
#pragma once

#include "tools/veskctl/modules.h"

namespace vesk::ctl {

/// Serves the page until a signal.
int ServeWeb(Settings& settings, const WebOptions& options);

} // namespace vesk::ctl
