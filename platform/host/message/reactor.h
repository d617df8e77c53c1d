// The thread that watches all listeners and incoming connections of this process.
#pragma once

#include "process/unique_fd.h"

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>

namespace vesk::host {

/// Something with a descriptor that the reactor watches.
class Watched {
public:
    virtual ~Watched() = default;

    /// Called on the reactor's thread; may be called without a reason.
    virtual void OnReady(uint32_t events) = 0;
};

class Reactor {
public:
    /// Starts its thread at the first call.
    static Reactor& Instance();

    /// Watches @p fd for epoll @p events until Forget; keeps @p watched alive so long.
    bool Watch(int fd, uint32_t events, std::shared_ptr<Watched> watched);
    void Change(int fd, uint32_t events);
    /// To be called before @p fd is closed.
    void Forget(int fd);

private:
    Reactor();
    [[noreturn]] void Run();

    UniqueFd epoll_;
    std::mutex lock_;
    std::map<int, std::shared_ptr<Watched>> watched_;
};

} // namespace vesk::host
