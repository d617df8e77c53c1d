// Which CPUs the message threads may run on.
#pragma once

namespace vesk::host {

/// Binds the calling thread as OsSetProcessAffinity has asked for it, and lets it be found from now on.
void BindMessageThread();

} // namespace vesk::host
