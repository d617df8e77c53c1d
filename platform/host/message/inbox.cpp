// What a task receives.
#include "message/inbox.h"

#include "message/report.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>

namespace vesk::host {

namespace {

constexpr size_t kMaxWaitingBytes = 16U << 20;
constexpr uint64_t kWakeNumber = 0;

bool Control(const UniqueFd& epoll, int operation, int fd, uint32_t events, uint64_t number)
{
    epoll_event event{};
    event.events = events;
    event.data.u64 = number;
    return epoll_ctl(epoll.Get(), operation, fd, &event) == 0;
}

} // namespace

Inbox::Inbox()
    : epoll_([] { return epoll_create1(EPOLL_CLOEXEC); }),
      wake_([] { return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK); })
{
    if (IsUsable() && !Control(epoll_, EPOLL_CTL_ADD, wake_.Get(), EPOLLIN | EPOLLET, kWakeNumber))
        wake_.Close();
}

void Inbox::SetDepth(uint32_t depth)
{
    const Guard guard(lock_);
    depth_ = std::max(depth, 1U);
}

uint64_t Inbox::Watch(int fd, uint32_t events, std::shared_ptr<Watched> watched)
{
    const Guard guard(lock_);
    if (hasEnded_) {
        errno = ESHUTDOWN;
        return 0;
    }
    const uint64_t number = ++lastNumber_;
    ready_.reserve(entries_.size() + 1);
    entries_.try_emplace(number).first->second.watched = std::move(watched);
    if (Control(epoll_, EPOLL_CTL_ADD, fd, events | EPOLLET, number))
        return number;
    entries_.erase(number);
    return 0;
}

void Inbox::Change(int fd, uint32_t events, uint64_t number)
{
    Control(epoll_, EPOLL_CTL_MOD, fd, events | EPOLLET, number);
}

void Inbox::Forget(uint64_t number)
{
    decltype(entries_)::node_type last; // destroyed after the lock is released
    const Guard guard(lock_);
    last = entries_.extract(number);
    std::erase(ready_, number);
}

void Inbox::NoteLocked(uint64_t number, uint32_t events)
{
    const auto entry = entries_.find(number);
    if (entry == entries_.end())
        return;
    if (entry->second.events == 0)
        ready_.push_back(number);
    entry->second.events |= events;
}

void Inbox::CallAgain(uint64_t number, uint32_t events)
{
    const Guard guard(lock_);
    NoteLocked(number, events);
    WakeLoopLocked();
}

bool Inbox::HasRoom(uint64_t number)
{
    const Guard guard(lock_);
    if (waiting_.size() < depth_ && waitingBytes_ < kMaxWaitingBytes)
        return true;
    if (const auto entry = entries_.find(number); entry != entries_.end())
        hasStalled_ = entry->second.isStalled = true;
    return false;
}

void Inbox::Push(std::unique_ptr<Message> message)
{
    const Guard guard(lock_);
    const uint32_t dataLen = message->envelope.dataLen;
    waiting_.push_back(std::move(message));
    waitingBytes_ += dataLen;
    WakeLoopLocked();
}

void Inbox::WakeLoopLocked()
{
    if (!loopWaits_ || std::exchange(loopIsWoken_, true))
        return;
    static_cast<void>(eventfd_write(wake_.Get(), 1));
}

void Inbox::HandleReadyLocked(Guard& guard)
{
    const uint64_t number = ready_.front();
    ready_.erase(ready_.begin());
    Entry& entry = entries_.find(number)->second;
    const std::shared_ptr<Watched> watched = entry.watched;
    const uint32_t events = std::exchange(entry.events, 0);
    guard.unlock();
    watched->OnReady(events);
    guard.lock();
}

std::unique_ptr<Message> Inbox::Next()
{
    Guard guard(lock_);
    while (!hasEnded_) {
        if (!waiting_.empty()) {
            std::unique_ptr<Message> message = std::move(waiting_.front());
            waiting_.pop_front();
            waitingBytes_ -= message->envelope.dataLen;
            return message;
        }
        if (std::exchange(hasStalled_, false)) {
            for (auto& [number, entry] : entries_) {
                if (std::exchange(entry.isStalled, false))
                    NoteLocked(number, EPOLLIN);
            }
        }
        if (!ready_.empty()) {
            HandleReadyLocked(guard);
            continue;
        }
        // One event at a time: the reader takes in the others if this one's message takes long.
        loopWaits_ = true;
        guard.unlock();
        epoll_event event;
        const int count = epoll_wait(epoll_.Get(), &event, 1, -1);
        const int error = errno;
        guard.lock();
        loopWaits_ = loopIsWoken_ = false;
        loopResumed_.notify_all();
        if (count == 1)
            NoteLocked(event.data.u64, event.events);
        else if (error != EINTR) {
            Report(kReportError, "waiting for messages failed: %s", strerror(error));
            break;
        }
    }
    return nullptr;
}

void Inbox::TakeInWhileLoopIsBusy()
{
    constexpr std::chrono::milliseconds kMoment(1);
    Guard guard(lock_);
    while (!hasEnded_) {
        guard.unlock();
        epoll_event events[16];
        const int count = epoll_wait(epoll_.Get(), events, 16, -1);
        if (count < 0 && errno != EINTR)
            return;
        guard.lock();
        for (int i = 0; i < count; ++i)
            NoteLocked(events[i].data.u64, events[i].events);
        // A loop that waits is woken; until it is awake the reader must not wait, lest it takes the wake-up.
        loopIsWoken_ = false;
        WakeLoopLocked();
        loopResumed_.wait(guard, [this] { return !loopIsWoken_ || hasEnded_; });
        guard.unlock();
        std::this_thread::sleep_for(kMoment);
        guard.lock();
        while (!ready_.empty() && !hasEnded_)
            HandleReadyLocked(guard);
    }
}

void Inbox::End()
{
    decltype(waiting_) abandoned;
    {
        const Guard guard(lock_);
        hasEnded_ = true;
        abandoned.swap(waiting_);
        // Not edge-triggered from now on, so that it wakes both threads.
        Control(epoll_, EPOLL_CTL_MOD, wake_.Get(), EPOLLIN, kWakeNumber);
        static_cast<void>(eventfd_write(wake_.Get(), 1));
        loopResumed_.notify_all();
    }
    for (;;) {
        decltype(entries_)::node_type next;
        {
            const Guard guard(lock_);
            if (entries_.empty())
                return;
            std::erase(ready_, entries_.begin()->first);
            next = entries_.extract(entries_.begin());
        }
        next.mapped().watched->Close();
    }
}

} // namespace vesk::host
