// What a task receives.
#include "message/inbox.h"

#include "runtime/report.h"

#include <sys/eventfd.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <span>
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
    if (IsUsable() && !Control(epoll_, EPOLL_CTL_ADD, wake_.Get(), EPOLLIN, kWakeNumber))
        wake_.Close();
}

void Inbox::SetDepth(uint32_t depth)
{
    const Guard guard(lock_);
    depth_ = std::max(depth, 1U);
}

void Inbox::TellEnds()
{
    const Guard guard(lock_);
    tellsEnds_ = true;
}

uint64_t Inbox::Watch(int fd, uint32_t events, std::shared_ptr<Watched> watched)
{
    if (hasEnded_) {
        errno = ESHUTDOWN;
        return 0;
    }
    const uint64_t number = ++lastNumber_;
    entries_.emplace(number, Entry{std::move(watched), {number}});
    if (fd == kNoDescriptor || Control(epoll_, EPOLL_CTL_ADD, fd, events | EPOLLET, number))
        return number;
    entries_.erase(number);
    return 0;
}

void Inbox::Change(int fd, uint32_t events, uint64_t number)
{
    Control(epoll_, EPOLL_CTL_MOD, fd, events | EPOLLET, number);
}

void Inbox::PutInto(std::list<uint64_t>& list, uint64_t number, bool comesFirst)
{
    if (const auto entry = entries_.find(number); entry != entries_.end())
        list.splice(comesFirst ? list.begin() : list.end(), entry->second.turn);
    WakeLoop();
}

void Inbox::CallAgain(uint64_t number)
{
    PutInto(toBeCalled_, number);
}

void Inbox::PutOff(uint64_t number, bool keepsTurn)
{
    PutInto(toBeCalled_, number, keepsTurn && isCalling_);
    areSomePutOff_ = !toBeCalled_.empty();
}

void Inbox::CallLater(uint64_t number)
{
    if (!laterIsDue_)
        laterIsDue_.emplace(std::chrono::milliseconds(100));
    PutInto(later_, number);
}

bool Inbox::HasRoom() const
{
    return !areSomePutOff_ && waiting_.size() < depth_ && waitingBytes_ < kMaxWaitingBytes;
}

void Inbox::Push(std::unique_ptr<Message> message)
{
    const uint32_t dataLen = message->envelope.dataLen;
    waiting_.push_back(std::move(message));
    waitingBytes_ += dataLen;
    WakeLoop();
}

void Inbox::PushEnd(HostProcess sender)
{
    auto message = std::make_unique<Message>();
    message->sender = sender;
    message->isEnd = true;
    Push(std::move(message));
}

void Inbox::WakeLoop()
{
    if (loopWaits_ && !std::exchange(loopIsWoken_, true))
        static_cast<void>(eventfd_write(wake_.Get(), 1));
}

int Inbox::Wait(Guard& guard, Events& events, int timeoutMs)
{
    guard.unlock();
    const int count = epoll_wait(epoll_.Get(), events.data(), static_cast<int>(events.size()), timeoutMs);
    const int error = errno;
    guard.lock();
    errno = error;
    return count < 0 && error == EINTR ? 0 : count;
}

void Inbox::Handle(const Events& events, int count)
{
    for (const epoll_event& event : std::span(events).first(static_cast<size_t>(count))) {
        const uint64_t number = event.data.u64; // which is not aligned where the record is packed
        const auto entry = entries_.find(number);
        if (entry == entries_.end())
            continue;
        const std::shared_ptr<Watched> watched = entry->second.watched; // OnReady may forget it
        watched->OnReady(event.events);
    }
}

void Inbox::CallInTurn()
{
    // In turn, so that one that fills the queue each time does not starve the others.
    areSomePutOff_ = false;
    size_t left = toBeCalled_.size();
    for (; left != 0 && HasRoom(); --left) {
        const auto entry = entries_.find(toBeCalled_.front());
        if (entry == entries_.end()) {
            toBeCalled_.pop_front(); // forgotten since
            continue;
        }
        entry->second.turn.splice(entry->second.turn.end(), toBeCalled_, toBeCalled_.begin());
        const std::shared_ptr<Watched> watched = entry->second.watched;
        isCalling_ = true;
        watched->OnReady(EPOLLIN);
        isCalling_ = false;
    }
    areSomePutOff_ = areSomePutOff_ || left != 0;
}

std::unique_ptr<Message> Inbox::Next()
{
    Guard guard(lock_);
    while (!hasEnded_) {
        if (laterIsDue_ && laterIsDue_->HasPassed()) {
            laterIsDue_.reset();
            toBeCalled_.splice(toBeCalled_.end(), later_);
            areSomePutOff_ = !toBeCalled_.empty(); // lest messages that keep coming starve them
        }
        if (waiting_.empty() && !toBeCalled_.empty())
            CallInTurn();
        if (!waiting_.empty()) {
            std::unique_ptr<Message> message = std::move(waiting_.front());
            waiting_.pop_front();
            waitingBytes_ -= message->envelope.dataLen;
            return message;
        }
        Events events;
        loopWaits_ = true;
        const int count = Wait(guard, events,
                               !toBeCalled_.empty() ? 0
                               : laterIsDue_        ? laterIsDue_->Milliseconds()
                                                    : -1);
        loopWaits_ = false;
        if (count < 0) {
            Report(kReportError, "waiting for messages failed: %s", strerror(errno));
            break;
        }
        if (std::exchange(loopIsWoken_, false) && !hasEnded_) {
            eventfd_t wakes = 0;
            eventfd_read(wake_.Get(), &wakes);
        }
        Handle(events, count);
    }
    return nullptr;
}

void Inbox::TakeInWhileLoopIsBusy()
{
    constexpr std::chrono::milliseconds kMoment(1);
    Guard guard(lock_);
    while (!hasEnded_) {
        Events events;
        const int count = Wait(guard, events, -1);
        if (count < 0)
            return;
        Handle(events, count);
        guard.unlock();
        std::this_thread::sleep_for(kMoment);
        guard.lock();
    }
}

void Inbox::End()
{
    decltype(entries_) entries;
    {
        const Guard guard(lock_);
        hasEnded_ = true;
        entries.swap(entries_);
        waiting_.clear();
        static_cast<void>(eventfd_write(wake_.Get(), 1)); // which nobody reads any more
    }
    for (const auto& [number, entry] : entries) {
        Contained([&entry = entry] {
            entry.watched->Close();
            return 0U;
        });
    }
}

} // namespace vesk::host
