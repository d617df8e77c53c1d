// A file descriptor that is closed at the end.
#pragma once

#include <unistd.h>

#include <utility>

namespace vesk {

class Descriptor {
public:
    explicit Descriptor(int fd) : fd_(fd) {}
    Descriptor(Descriptor&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept
    {
        std::swap(fd_, other.fd_);
        return *this;
    }
    ~Descriptor()
    {
        if (IsOpen())
            close(fd_);
    }

    int Get() const { return fd_; }
    bool IsOpen() const { return fd_ >= 0; }

private:
    int fd_;
};

} // namespace vesk
