// Things of the model that clients create and name by a number.
#pragma once

#include "service/numbers.h"
#include "service/request.h"

#include <map>
#include <utility>

namespace vesk::service {

/// Base of such a thing: its number, and who created it.
struct Owned {
    uint32_t number = 0;
    Sender owner;
};

/// Base of such a thing that clients start and stop.
struct Startable : Owned {
    bool isStarted = false;

    Result Start() { return std::exchange(isStarted, true) ? Result{VESK_SERVICE_ERR_STATE} : kOk; }
    Result Stop() { return std::exchange(isStarted, false) ? kOk : Result{VESK_SERVICE_ERR_STATE}; }
};

template <class Thing>
class Numbered {
public:
    /// At most @p most things exist at a time, fewer than there are numbers.
    explicit Numbered(size_t most, NumberRange range = {}) : most_(most), range_(range), next_(range.first) {}

    /// A new thing under a free number; VESK_SERVICE_ERR_ROOM when there are as many as there can be.
    Result Create(const Sender& owner, uint32_t* number)
    {
        if (!HasRoom())
            return VESK_SERVICE_ERR_ROOM;
        do {
            *number = range_.lowest + next_;
            next_ = (next_ + 1) % kRangeSize;
        } while (things_.count(*number) != 0); // there are always fewer things than numbers
        return Add(*number, owner);
    }

    /// The same, always under the lowest free number: for numbers that have a bound.
    Result CreateLowest(const Sender& owner, uint32_t* number)
    {
        next_ = 0;
        return Create(owner, number);
    }

    /// The same under a number that the client chose.
    Result CreateAt(uint32_t number, const Sender& owner)
    {
        return HasRoom() ? Add(number, owner) : Result{VESK_SERVICE_ERR_ROOM};
    }

    Thing* Find(uint64_t number)
    {
        const auto found = number <= UINT32_MAX ? things_.find(static_cast<uint32_t>(number)) : things_.end();
        return found != things_.end() ? &found->second : nullptr;
    }

    void Erase(const Thing& thing) { things_.erase(thing.number); }

    /// Erases a thing whose owner has ended, should that not be noticed yet; VESK_SERVICE_ERR_BUSY while it
    /// lives.
    Result Reclaim(const Thing& thing)
    {
        if (HostProcessIsAlive(thing.owner.process) != 0)
            return VESK_SERVICE_ERR_BUSY;
        Erase(thing);
        return kOk;
    }

    /// Erases what a process has created.
    void Release(HostProcess process)
    {
        std::erase_if(things_,
                      [process](const auto& entry) { return entry.second.owner.process == process; });
    }

    /// How many a process has.
    size_t CountOf(HostProcess process) const
    {
        return static_cast<size_t>(
            std::count_if(things_.begin(), things_.end(),
                          [process](const auto& entry) { return entry.second.owner.process == process; }));
    }

    /// All of them, by number.
    std::map<uint32_t, Thing>& All() { return things_; }

private:
    /// Makes room at the cost of dead owners.
    bool HasRoom()
    {
        if (things_.size() < most_)
            return true;
        std::map<HostProcess, bool> isAlive; // asked once each, as an owner may have many
        std::erase_if(things_, [&](const auto& entry) {
            const auto [owner, isNew] = isAlive.try_emplace(entry.second.owner.process, true);
            if (isNew)
                owner->second = HostProcessIsAlive(owner->first) != 0;
            return !owner->second;
        });
        return things_.size() < most_;
    }

    Result Add(uint32_t number, const Sender& owner)
    {
        Thing thing;
        thing.number = number;
        thing.owner = owner;
        things_.insert_or_assign(number, std::move(thing));
        return kOk;
    }

    size_t most_;
    NumberRange range_;
    uint32_t next_;
    std::map<uint32_t, Thing> things_;
};

} // namespace vesk::service
