// An endpoint is a task of a process: a socket in the runtime directory, named after both.
#pragma once

#include "message/deadline.h"
#include "platform/os_msg.h"
#include "runtime/unique_fd.h"
#include "vesk_host/message.h"

#include <sys/types.h>

#include <cstdint>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

namespace vesk::host {

/// A 16-byte name field as text: up to its NUL, or all of it.
std::string_view NameText(const char (&field)[16]);

/// File name of an endpoint's socket, or nothing when a name is empty or the file name too long.
std::optional<std::string> EndpointName(std::string_view procName, std::string_view taskName);

/// The names of a process and its task, with nothing after their NULs.
struct EndpointNames {
    char process[16] = {};
    char task[16] = {};

    static EndpointNames ReceiverOf(const OsMsgEnvelope& envelope);
    bool operator==(const EndpointNames& other) const { return std::memcmp(this, &other, sizeof other) == 0; }
};

/// Connects to an endpoint of this user. Without a deadline it never waits. Logs the reason on failure.
/// @return 0, a blocking socket in @p socket and what this process is in @p self; or a HostMsgResult.
uint32_t ConnectEndpoint(const std::string& endpoint, const std::optional<Deadline>& deadline,
                         UniqueFd& socket, HostProcess& self);

/// A socket that listens, and the file that names it.
struct ServedEndpoint {
    UniqueFd socket;
    ino_t inode = 0;
};

/// Serves an endpoint: listens on its name, taking it over from a process that has died, and removes the
/// other sockets that such processes have left. Waits until @p deadline for others that bind or remove names.
/// Logs the reason on failure.
/// @return 0, or a HostMsgResult.
uint32_t ServeEndpoint(const std::string& endpoint, const Deadline& deadline, ServedEndpoint& served);

/// Removes an endpoint's name unless another process has it by now; to be called while it still listens.
void RemoveEndpoint(const std::string& endpoint, const ServedEndpoint& served);

/// The process at the other end when it belongs to this user, or nothing; 0 when it has no number in this
/// process's namespace.
std::optional<pid_t> PeerOfThisUser(int socket);

/// Limits how long a call waits on a socket before it fails with EAGAIN; @p option is SO_RCVTIMEO or
/// SO_SNDTIMEO. The limit is cut by an eighth, by which a kernel's timer may be late. One of a few
/// milliseconds may be exceeded by a tick or two.
bool WaitAtMost(int socket, int option, int milliseconds);

} // namespace vesk::host
