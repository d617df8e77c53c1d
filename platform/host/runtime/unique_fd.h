// A descriptor that closes itself, and is closed in a forked child.
#pragma once

#include "runtime/fork.h"

#include <functional>
#include <type_traits>
#include <utility>

namespace vesk::host {

class UniqueFd {
public:
    UniqueFd() = default;

    /// Owns what @p open returns; not open, with its errno, when that is negative. @p open must not fork.
    template <class Open>
    requires std::is_invocable_r_v<int, Open>
    explicit UniqueFd(const Open& open) : fd_(OpenDescriptor(std::cref(open))) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~UniqueFd() { Close(); }

    int Get() const { return fd_; }
    bool IsOpen() const { return fd_ >= 0; }

    /// Gives the descriptor up to a caller, in whose forked children it stays open.
    int Release()
    {
        if (fd_ >= 0)
            ForgetDescriptor(fd_);
        return std::exchange(fd_, -1);
    }
    void Close()
    {
        if (fd_ >= 0)
            CloseDescriptor(std::exchange(fd_, -1));
    }

private:
    int fd_ = -1;
};

} // namespace vesk::host
