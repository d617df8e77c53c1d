// Names, connects to and serves the endpoints of one user.
#include "message/endpoint.h"

#include "runtime/directory.h"
#include "runtime/process.h"
#include "runtime/report.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include <algorithm>
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

/// Like connect(). Without a deadline the socket must not block.
int Connect(const UniqueFd& socket, const sockaddr_un& address, const std::optional<Deadline>& deadline = {})
{
    for (;;) {
        if (deadline)
            WaitAtMost(socket.Get(), SO_SNDTIMEO, deadline->Milliseconds());
        if (connect(socket.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0)
            return 0;
        if (errno != EINTR && (errno != EAGAIN || !deadline))
            return -1;
        if (deadline && deadline->HasPassed()) {
            errno = EAGAIN;
            return -1;
        }
    }
}

UniqueFd NewSocket(int flags)
{
    return UniqueFd([&] { return socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC | flags, 0); });
}

uint32_t SystemFailure(const char* what, const std::string& endpoint)
{
    Report(kReportError, "%s of %s failed: %s", what, endpoint.c_str(), strerror(errno));
    return HOST_MSG_ERR_SYSTEM;
}

/// Serialises all processes that bind or remove names in the directory, until it is closed. Nobody else may
/// open the file, so nobody else can hold the lock.
UniqueFd LockDirectory(const UniqueFd& directory, const Deadline& deadline)
{
    UniqueFd file([&] {
        return openat(directory.Get(), ".lock", O_RDONLY | O_CREAT | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK,
                      S_IRUSR | S_IWUSR);
    });
    while (file.IsOpen() && flock(file.Get(), LOCK_EX | LOCK_NB) != 0) {
        if (deadline.HasPassed())
            return {};
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return file;
}

/// Whether a file name can be one that EndpointName has made. The directory may have others.
bool IsEndpointName(std::string_view name)
{
    const auto isEncoded = [](unsigned char c) {
        return std::isalnum(c) != 0 || c == '-' || c == '_' || c == '%' || c == '.';
    };
    return std::all_of(name.begin(), name.end(), isEncoded) && std::count(name.begin(), name.end(), '.') == 1;
}

/// Removes the sockets of processes that were killed. The directory must be locked.
void RemoveAbandoned(const UniqueFd& directory)
{
    // A socket of another type is refused by a living one for that very reason, and disturbs nobody.
    const UniqueFd probe([] { return socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0); });
    ForEachEntry(directory, [&](const dirent& entry) {
        if (entry.d_type == DT_SOCK && IsEndpointName(entry.d_name) && probe.IsOpen() &&
            Connect(probe, AddressIn(directory, entry.d_name)) != 0 && errno == ECONNREFUSED)
            unlinkat(directory.Get(), entry.d_name, 0);
    });
}

/// The number of a file, 0 when there is none.
ino_t InodeOf(const UniqueFd& directory, const std::string& name)
{
    struct stat status {};
    return fstatat(directory.Get(), name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0 ? status.st_ino : 0;
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

EndpointNames EndpointNames::ReceiverOf(const OsMsgEnvelope& envelope)
{
    EndpointNames names;
    NameText(envelope.recvProcName).copy(names.process, sizeof names.process);
    NameText(envelope.recvTaskName).copy(names.task, sizeof names.task);
    return names;
}

bool WaitAtMost(int socket, int option, int milliseconds)
{
    const int limit = std::max(milliseconds - milliseconds / 8, 1);
    const timeval wait{limit / 1000, limit % 1000 * 1000L};
    return setsockopt(socket, SOL_SOCKET, option, &wait, sizeof wait) == 0;
}

std::optional<pid_t> PeerOfThisUser(int socket)
{
    ucred peer{};
    socklen_t length = sizeof peer;
    if (getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &length) != 0 || peer.uid != geteuid())
        return std::nullopt;
    return peer.pid;
}

uint32_t ConnectEndpoint(const std::string& endpoint, const std::optional<Deadline>& deadline,
                         UniqueFd& socket, HostProcess& self)
{
    const UniqueFd directory = OpenRuntimeDir();
    if (!directory.IsOpen())
        return HOST_MSG_ERR_DIRECTORY;
    self = Self(directory).id;
    if (self == 0)
        return HOST_MSG_ERR_SYSTEM;
    UniqueFd connected = NewSocket(deadline ? 0 : SOCK_NONBLOCK);
    if (!connected.IsOpen())
        return SystemFailure("socket for a connection", endpoint);
    if (Connect(connected, AddressIn(directory, endpoint), deadline) != 0) {
        if (errno == EAGAIN) {
            Report(kReportError, "%s accepts no connection: its backlog is full", endpoint.c_str());
            return deadline ? HOST_MSG_ERR_TIMEOUT : HOST_MSG_ERR_FULL;
        }
        if (errno != ENOENT && errno != ECONNREFUSED)
            return SystemFailure("connection", endpoint);
        Report(kReportError, "nobody serves %s in %s", endpoint.c_str(), RuntimeDirPath().c_str());
        return HOST_MSG_ERR_ABSENT;
    }
    if (!PeerOfThisUser(connected.Get())) {
        Report(kReportError, "%s is served by another user", endpoint.c_str());
        return HOST_MSG_ERR_FOREIGN;
    }
    if (!deadline && fcntl(connected.Get(), F_SETFL, 0) != 0)
        return SystemFailure("connection", endpoint);
    socket = std::move(connected);
    return 0;
}

uint32_t ServeEndpoint(const std::string& endpoint, const Deadline& deadline, ServedEndpoint& served)
{
    const UniqueFd directory = OpenRuntimeDir();
    if (!directory.IsOpen())
        return HOST_MSG_ERR_DIRECTORY;
    const UniqueFd lock = LockDirectory(directory, deadline);
    if (!lock.IsOpen()) {
        const std::string what =
            errno == EWOULDBLOCK ? "stays locked" : std::string("cannot be locked: ") + strerror(errno);
        Report(kReportError, "runtime directory %s %s, %s is not served", RuntimeDirPath().c_str(),
               what.c_str(), endpoint.c_str());
        return HOST_MSG_ERR_DIRECTORY;
    }
    const sockaddr_un address = AddressIn(directory, endpoint);
    const UniqueFd probe = NewSocket(SOCK_NONBLOCK);
    if (!probe.IsOpen())
        return SystemFailure("socket", endpoint);
    if (Connect(probe, address) == 0 || errno == EAGAIN || errno == EPROTOTYPE) {
        const std::optional<pid_t> other = PeerOfThisUser(probe.Get()); // told by a connected socket only
        const std::string name =
            other.value_or(0) != 0 ? "process " + std::to_string(*other) : "another process";
        Report(kReportError, "%s is already served by %s", endpoint.c_str(), name.c_str());
        return HOST_MSG_ERR_TAKEN;
    }
    if (errno != ECONNREFUSED && errno != ENOENT) // it may be served
        return SystemFailure("connection", endpoint);
    unlinkat(directory.Get(), endpoint.c_str(), 0);
    RemoveAbandoned(directory);
    UniqueFd listener = NewSocket(SOCK_NONBLOCK);
    if (!listener.IsOpen() ||
        bind(listener.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return SystemFailure("socket", endpoint);
    if (listen(listener.Get(), kBacklog) != 0) {
        const uint32_t error = SystemFailure("socket", endpoint);
        unlinkat(directory.Get(), endpoint.c_str(), 0);
        return error;
    }
    served = {std::move(listener), InodeOf(directory, endpoint)};
    return 0;
}

void RemoveEndpoint(const std::string& endpoint, const ServedEndpoint& served)
{
    const UniqueFd directory = OpenRuntimeDir(WhenMissing::kLeave);
    if (!directory.IsOpen())
        return;
    const UniqueFd lock = LockDirectory(directory, Deadline(std::chrono::seconds(2)));
    if (lock.IsOpen() && InodeOf(directory, endpoint) == served.inode)
        unlinkat(directory.Get(), endpoint.c_str(), 0);
}

} // namespace vesk::host
