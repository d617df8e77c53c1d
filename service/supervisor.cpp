// Whoever has started the service and wants to be told when it serves.
#include "service/supervisor.h"

#include "base/output.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

namespace vesk::service {

namespace {

/// Without memory of its own, so that it can be said at any time.
void Complain(const char* why) noexcept
{
    char text[sizeof(sockaddr_un) + 128];
    const char* name = std::getenv("NOTIFY_SOCKET");
    std::snprintf(text, sizeof text, "NOTIFY_SOCKET=%.*s cannot be used: %s",
                  static_cast<int>(sizeof sockaddr_un{}.sun_path), name, why);
    PutError("vesk-video-service", text);
}

} // namespace

Supervisor::Supervisor() noexcept
{
    const char* given = std::getenv("NOTIFY_SOCKET");
    const std::string_view name = given != nullptr ? given : "";
    sockaddr_un address{};
    if (name.empty())
        return;
    if ((name[0] != '/' && name[0] != '@') || name.size() >= sizeof address.sun_path) {
        Complain("expected a path or @NAME of at most 107 bytes");
        return;
    }
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path, name.size());
    if (name[0] == '@')
        address.sun_path[0] = '\0';
    const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
    socket_ = Descriptor(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
    constexpr timeval kLongestWait{5, 0}; // for one who does not read
    setsockopt(socket_.Get(), SOL_SOCKET, SO_SNDTIMEO, &kLongestWait, sizeof kLongestWait);
    if (connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), length) == 0)
        return;
    Complain(std::strerror(errno));
    socket_ = Descriptor(-1);
}

void Supervisor::Tell(const char* state) noexcept
{
    if (socket_.IsOpen() && send(socket_.Get(), state, std::strlen(state), MSG_NOSIGNAL) < 0)
        Complain(std::strerror(errno));
}

} // namespace vesk::service
