// The thread that watches all listeners and incoming connections of this process.
#include "message/reactor.h"

#include <pthread.h>
#include <sys/epoll.h>

#include <csignal>
#include <thread>

namespace vesk::host {

Reactor& Reactor::Instance()
{
    static auto& reactor = *new Reactor; // never destroyed: its thread runs until the process ends
    return reactor;
}

Reactor::Reactor() : epoll_([] { return epoll_create1(EPOLL_CLOEXEC); })
{
    // Signals belong to the application: none is handled on this thread.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    std::thread([this] { Run(); }).detach();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

void Reactor::Run()
{
    for (;;) {
        epoll_event events[16];
        const int count = epoll_wait(epoll_.Get(), events, 16, -1);
        for (int i = 0; i < count; ++i) {
            std::shared_ptr<Watched> watched;
            {
                const std::lock_guard guard(lock_);
                if (const auto found = watched_.find(events[i].data.fd); found != watched_.end())
                    watched = found->second;
            }
            if (watched != nullptr)
                watched->OnReady(events[i].events);
        }
    }
}

bool Reactor::Watch(int fd, uint32_t events, std::shared_ptr<Watched> watched)
{
    const std::lock_guard guard(lock_);
    watched_[fd] = std::move(watched);
    epoll_event event{};
    event.events = events;
    event.data.fd = fd;
    if (epoll_ctl(epoll_.Get(), EPOLL_CTL_ADD, fd, &event) == 0)
        return true;
    watched_.erase(fd);
    return false;
}

void Reactor::Change(int fd, uint32_t events)
{
    epoll_event event{};
    event.events = events;
    event.data.fd = fd;
    epoll_ctl(epoll_.Get(), EPOLL_CTL_MOD, fd, &event);
}

void Reactor::Forget(int fd)
{
    std::shared_ptr<Watched> last; // destroyed after the lock is released: it may close what it holds
    const std::lock_guard guard(lock_);
    epoll_ctl(epoll_.Get(), EPOLL_CTL_DEL, fd, nullptr);
    if (const auto found = watched_.find(fd); found != watched_.end()) {
        last = std::move(found->second);
        watched_.erase(found);
    }
}

} // namespace vesk::host
