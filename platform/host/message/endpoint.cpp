// Names, connects to and serves the endpoints of one user.
#include "message/endpoint.h"

#include "message/report.h"
#include "message/runtime_dir.h"
#include "vesk_host/message.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <thread>

namespace vesk::host {

namespace {

constexpr size_t kMaxFileName = 80; // leaves room for the directory's part of the address
constexpr int kBacklog = 128;

void AppendEncoded(std::string& text, std::string_view name)
{
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0 || c == '-' || c == '_') {
            text += c;
        } else {
            char encoded[4];
            std::snprintf(encoded, sizeof encoded, "%%%02X", byte);
            text += encoded;
        }
    }
}

/// The address of a socket in the open runtime directory: its path or, where that is too long for an address,
/// its path through the open directory's descriptor.
sockaddr_un AddressIn(const UniqueFd& directory, const std::string& endpoint)
{
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::string path = RuntimeDirPath() + '/' + endpoint;
    if (path.size() >= sizeof address.sun_path)
        path = "/proc/self/fd/" + std::to_string(directory.Get()) + '/' + endpoint;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return address;
}

int Connect(int socket, const sockaddr_un& address)
{
    int result = 0;
    do {
        result = connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    } while (result != 0 && errno == EINTR);
    return result;
}

UniqueFd NewSocket(int flags)
{
    return UniqueFd([&] { return socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0); });
}

EndpointResult Failed(uint32_t error)
{
    return {UniqueFd(), error};
}

EndpointResult SystemFailure(const char* what, const std::string& endpoint)
{
    Report(kReportError, "%s of %s failed: %s", what, endpoint.c_str(), strerror(errno));
    return Failed(HOST_MSG_ERR_SYSTEM);
}

/// Serialises all processes that bind or remove names in the directory; released with @p directory.
bool LockDirectory(const UniqueFd& directory)
{
    const Deadline deadline(std::chrono::seconds(2));
    while (flock(directory.Get(), LOCK_EX | LOCK_NB) != 0) {
        if (deadline.HasPassed())
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

} // namespace

std::string_view NameText(const char (&field)[16])
{
    return {field, strnlen(field, sizeof field)};
}

std::optional<std::string> EndpointName(std::string_view procName, std::string_view taskName)
{
    std::string name;
    AppendEncoded(name, procName);
    name += '.';
    AppendEncoded(name, taskName);
    if (procName.empty() || taskName.empty() || name.size() > kMaxFileName)
        return std::nullopt;
    return name;
}

std::optional<pid_t> PeerOfThisUser(int socket)
{
    ucred peer{};
    socklen_t length = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 || peer.uid != geteuid())
        return std::nullopt;
    return peer.pid;
}

EndpointResult ConnectEndpoint(const std::string& endpoint, const std::optional<Deadline>& deadline)
{
    const UniqueFd directory = OpenRuntimeDir();
    if (!directory.IsOpen())
        return Failed(HOST_MSG_ERR_DIRECTORY);
    UniqueFd socket = NewSocket(deadline ? 0 : SOCK_NONBLOCK);
    if (!socket.IsOpen())
        return SystemFailure("socket for a connection", endpoint);
    if (deadline) {
        const int milliseconds = std::max(deadline->Milliseconds(), 1);
        const timeval wait{milliseconds / 1000, milliseconds % 1000 * 1000L};
        setsockopt(socket.Get(), SOL_SOCKET, SO_SNDTIMEO, &wait, sizeof wait);
    }
    if (Connect(socket.Get(), AddressIn(directory, endpoint)) != 0) {
        if (errno == EAGAIN)
            return Failed(deadline ? HOST_MSG_ERR_TIMEOUT : HOST_MSG_ERR_FULL);
        if (errno != ENOENT && errno != ECONNREFUSED)
            return SystemFailure("connection", endpoint);
        Report(kReportError, "nobody serves %s in %s", endpoint.c_str(), RuntimeDirPath().c_str());
        return Failed(HOST_MSG_ERR_ABSENT);
    }
    if (!PeerOfThisUser(socket.Get())) {
        Report(kReportError, "%s is served by another user", endpoint.c_str());
        return Failed(HOST_MSG_ERR_FOREIGN);
    }
    return {std::move(socket), 0};
}

EndpointResult ServeEndpoint(const std::string& endpoint)
{
    const UniqueFd directory = OpenRuntimeDir();
    if (!directory.IsOpen())
        return Failed(HOST_MSG_ERR_DIRECTORY);
    if (!LockDirectory(directory)) {
        Report(kReportError, "runtime directory %s stays locked, %s is not served", RuntimeDirPath().c_str(),
               endpoint.c_str());
        return Failed(HOST_MSG_ERR_DIRECTORY);
    }
    const sockaddr_un address = AddressIn(directory, endpoint);
    const UniqueFd probe = NewSocket(SOCK_NONBLOCK);
    if (!probe.IsOpen())
        return SystemFailure("socket", endpoint);
    if (Connect(probe.Get(), address) == 0 || errno == EAGAIN) {
        Report(kReportError, "%s is already served by process %d", endpoint.c_str(),
               PeerOfThisUser(probe.Get()).value_or(0));
        return Failed(HOST_MSG_ERR_TAKEN);
    }
    unlinkat(directory.Get(), endpoint.c_str(), 0);
    UniqueFd listener = NewSocket(SOCK_NONBLOCK);
    if (!listener.IsOpen() ||
        bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener.Get(), kBacklog) != 0)
        return SystemFailure("socket", endpoint);
    return {std::move(listener), 0};
}

void RemoveEndpoint(const std::string& endpoint)
{
    const UniqueFd directory = OpenRuntimeDir(WhenMissing::kLeave);
    if (!directory.IsOpen() || !LockDirectory(directory))
        return;
    const UniqueFd probe = NewSocket(SOCK_NONBLOCK);
    if (Connect(probe.Get(), AddressIn(directory, endpoint)) == 0 && PeerOfThisUser(probe.Get()) == getpid())
        unlinkat(directory.Get(), endpoint.c_str(), 0);
}

} // namespace vesk::host
