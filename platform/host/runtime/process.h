// Who a process is to all others that share its runtime directory.
//
// Process numbers do not tell: in another namespace (a container) they mean other processes, or none. So a
// process has a file in the directory, named by a number that no other living process has there, and locked
// as long as it lives. The number is its process number unless another one has that already. The lock is a
// process's own: a forked child does not inherit it, and closing any descriptor of the file gives it up. So a
// process that closes all its descriptors has ended for others until it connects again.
#pragma once

#include "runtime/unique_fd.h"
#include "vesk_host/message.h"

#include <sys/types.h>

#include <cstdint>
#include <optional>

namespace vesk::host {

/// This process: its identity, 0 when it has none, and its file, which begins with that. The rest of the file
/// is the queues' and all 0 at first.
struct OwnProcess {
    HostProcess id = 0;
    int file = -1;
};

/// What this process is so far. Without a file when the application has closed that.
OwnProcess Self();

/// The same. It takes a number if it has none in @p directory, and removes the files of processes that were
/// killed; it takes the same number up again, if that is still free, when the application has closed its
/// file. Without an id, after logging the reason, when that fails.
OwnProcess Self(const UniqueFd& directory);

inline constexpr unsigned kProcessNumberBits = 22;

constexpr uint32_t NumberOf(HostProcess process)
{
    return process & ((1U << kProcessNumberBits) - 1);
}

/// Opens a process's file for reading and writing; not open, with errno set, when there is none.
UniqueFd OpenProcessFile(const UniqueFd& directory, uint32_t number);

/// The number, in this process's namespace, of the process that has locked a file: 0 when it has none here,
/// kNobody when the file is not locked; nothing when that cannot be found out now.
std::optional<pid_t> HolderOf(const UniqueFd& file);
inline constexpr pid_t kNobody = -1;

/// The same for the process that @p process is, kNobody when it has ended.
std::optional<pid_t> HolderOf(const UniqueFd& directory, HostProcess process);

} // namespace vesk::host
