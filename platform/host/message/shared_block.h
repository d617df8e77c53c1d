// Memory that both ends of a connection have mapped. The data of a large request goes through it: that takes
// the time of two copies, without the system calls and the fresh pages of many packets.
//
// The sender makes it for its first large request, and passes its descriptor on. It holds one request at a
// time, until that is answered. As the sender can change it at any time, the receiver takes a copy before it
// looks at the data; as a page that is gone would be a signal, only memory that is all there, and sealed so
// that it stays, is mapped.
#pragma once

#include "runtime/unique_fd.h"

#include <cstddef>
#include <span>
#include <utility>

namespace vesk::host {

class SharedBlock {
public:
    SharedBlock() = default;
    SharedBlock(SharedBlock&& other) noexcept : bytes_(std::exchange(other.bytes_, {})), forks_(other.forks_)
    {
    }
    SharedBlock& operator=(SharedBlock&& other) noexcept
    {
        std::swap(bytes_, other.bytes_);
        std::swap(forks_, other.forks_);
        return *this;
    }
    ~SharedBlock();

    /// A new one of the sender's, with its descriptor. Empty when there is no memory or descriptor for it.
    static std::pair<SharedBlock, UniqueFd> Make(size_t size);

    /// The receiver's. Empty when it may not be mapped, or has fewer than @p least or more than @p most
    /// bytes.
    static SharedBlock Of(const UniqueFd& file, size_t least, size_t most);

    std::span<std::byte> Bytes() const { return bytes_; }

private:
    static SharedBlock Map(const UniqueFd& file, size_t size, int protection);

    std::span<std::byte> bytes_;
    uint64_t forks_ = ForkCount(); // a forked child does not have it
};

/// Sends a descriptor in a packet of its own, like send().
ssize_t SendDescriptor(int socket, const UniqueFd& file);

/// Receives one, like recv(). Not open when the packet, which @p got is the size of, has none.
UniqueFd ReceiveDescriptor(int socket, ssize_t& got);

} // namespace vesk::host
