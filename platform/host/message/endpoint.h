// An endpoint is a task of a process: a socket in the runtime directory, named after both.
#pragma once

#include "message/deadline.h"
#include "process/unique_fd.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vesk::host {

/// A 16-byte name field as text: up to its NUL, or all of it.
std::string_view NameText(const char (&field)[16]);

/// File name of an endpoint's socket, or nothing when a name is empty or the file name too long.
std::optional<std::string> EndpointName(std::string_view procName, std::string_view taskName);

/// Outcome of connecting or serving: a descriptor, or a HostMsgResult.
struct EndpointResult {
    UniqueFd socket;
    uint32_t error = 0;
};

/// Connects to an endpoint of this user. Without a deadline it never waits. Logs the reason on failure.
EndpointResult ConnectEndpoint(const std::string& endpoint, const std::optional<Deadline>& deadline);

/// Serves an endpoint: listens on its name, taking it over from a process that has died. Logs the reason on
/// failure.
EndpointResult ServeEndpoint(const std::string& endpoint);

/// Removes an endpoint's name if this process serves it; to be called while it still listens.
void RemoveEndpoint(const std::string& endpoint);

/// The process at the other end when it belongs to this user, or nothing.
std::optional<pid_t> PeerOfThisUser(int socket);

} // namespace vesk::host
