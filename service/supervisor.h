// Whoever has started the service and wants to be told when it serves: systemd, or "veskctl with-device".
#pragma once

#include "base/descriptor.h"

namespace vesk::service {

/// The socket that NOTIFY_SOCKET names, to which states are sent as sd_notify(3) describes.
class Supervisor {
public:
    /// Says what is wrong with NOTIFY_SOCKET, if anything is.
    Supervisor() noexcept;

    /// Sends "READY=1" for example; without NOTIFY_SOCKET, nothing.
    void Tell(const char* state) noexcept;

private:
    Descriptor socket_{-1}; ///< Connected, or not open.
};

} // namespace vesk::service
