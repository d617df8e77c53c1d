// Things of the model that clients create and name by a number.
#pragma once

#include "service/process.h"
#include "service/request.h"

#include <map>
#include <utility>

namespace vesk::service {

/// Base of such a thing: who created it.
struct Owned {
    Sender owner;
};

template <class Thing>
class Numbered {
public:
    /// Numbers run from @p first; @p most can be there at once.
    explicit Numbered(size_t most, uint32_t first = 1) : most_(most), first_(first) {}

    /// A new thing under a number that is free; VESK_SERVICE_ERR_ROOM when as many as can be are there.
    Result Create(const Sender& owner, uint32_t* number)
    {
        do {
            *number = next_ + first_;
            next_ = (next_ + 1) % kNumbers;
        } while (things_.count(*number) != 0); // there are always fewer things than numbers
        return CreateAt(*number, owner);
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
        if (things_.size() >= most_)
            std::erase_if(things_, [](const auto& entry) { return !IsAlive(entry.second.owner.process); });
        if (things_.size() >= most_)
            return VESK_SERVICE_ERR_ROOM;
        things_[number].owner = owner;
        return kOk;
    }

    Thing* Find(uint64_t number)
    {
        const auto found = number <= UINT32_MAX ? things_.find(static_cast<uint32_t>(number)) : things_.end();
        return found != things_.end() ? &found->second : nullptr;
    }

    void Erase(uint64_t number) { things_.erase(static_cast<uint32_t>(number)); }

    /// Forgets what a process has created.
    void Release(pid_t process)
    {
        std::erase_if(things_,
                      [process](const auto& entry) { return entry.second.owner.process == process; });
    }

    const std::map<uint32_t, Thing>& All() const { return things_; }

private:
    static constexpr uint32_t kNumbers = 0xffff; // every number can travel in 16 bits

    const size_t most_;
    const uint32_t first_;
    uint32_t next_ = 0;
    std::map<uint32_t, Thing> things_;
};

/// Stops a thing that is started.
inline Result StopIfStarted(bool& isStarted)
{
    return std::exchange(isStarted, false) ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

/// Opens the port of the request's first parameter: a new engine for it, unless a living one has it.
template <class Engine>
Result OpenPort(Numbered<Engine>& engines, const Request& request, uint32_t* engineNo)
{
    const auto port = static_cast<uint32_t>(request.head.ulParam1);
    for (const auto& [number, engine] : engines.All()) {
        if (engine.port != port)
            continue;
        if (IsAlive(engine.owner.process))
            return VESK_SERVICE_ERR_BUSY;
        engines.Erase(number);
        break;
    }
    const Result result = engines.Create(request.sender, engineNo);
    if (result == kOk)
        engines.Find(*engineNo)->port = port;
    return result;
}

/// Stops the engine of the port of the request's first parameter.
template <class Engine>
void StopPort(Numbered<Engine>& engines, const Request& request)
{
    for (const auto& [number, engine] : engines.All()) {
        if (engine.port == request.head.ulParam1)
            engines.Find(number)->isStarted = false;
    }
}

} // namespace vesk::service
