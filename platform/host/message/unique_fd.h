// A descriptor that closes itself.
#pragma once

#include <unistd.h>

#include <utility>

namespace vesk::host {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int fd) : fd_(fd) {}
    UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~UniqueFd() { Close(); }

    int Get() const { return fd_; }
    bool IsOpen() const { return fd_ >= 0; }
    int Release() { return std::exchange(fd_, -1); }
    void Close()
    {
        if (fd_ >= 0)
            close(std::exchange(fd_, -1));
    }

private:
    int fd_ = -1;
};

} // namespace vesk::host
