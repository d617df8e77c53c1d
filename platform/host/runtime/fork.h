// What a forked child does not share with its parent: its state, and the descriptors of the platform.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>

namespace vesk::host {

/// How many forks lie between this process and the one that loaded the library.
uint64_t ForkCount();

/**
 * State of this process. A forked child starts with a new one: its parent's may have been in the middle of a
 * change, or locked by a thread that the child does not have. Never destroyed: detached threads use it until
 * the very end.
 */
template <class State>
class PerProcess {
public:
    /// May throw std::bad_alloc at the first call in a process.
    State& Get()
    {
        Slot* slot = slot_.load();
        while (slot == nullptr || slot->forks != ForkCount()) {
            auto* own = new Slot{ForkCount(), slot, {}};
            if (slot_.compare_exchange_strong(slot, own))
                return own->state;
            delete own;
        }
        return slot->state;
    }
    State* operator->() { return &Get(); }

private:
    struct Slot {
        uint64_t forks;
        Slot* parents; // kept reachable, never touched
        State state;
    };
    std::atomic<Slot*> slot_ = nullptr;
};

/// Opens a descriptor that a forked child is not to have. No fork comes between opening and noting it.
int OpenDescriptor(const std::function<int()>& open);

/// Closes it, unless a fork has done so already.
void CloseDescriptor(int fd);

/// Gives it up to another owner; forked children keep it open.
void ForgetDescriptor(int fd);

} // namespace vesk::host
