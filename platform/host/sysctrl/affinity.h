// CPU affinity of the message threads.
#pragma once

namespace vesk::host {

/// Applies what OsSetProcessAffinity has asked for the calling thread, and makes it known from now on.
void BindMessageThread();

} // namespace vesk::host
