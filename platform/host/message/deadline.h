// The time by which an exchange must have ended.
#pragma once

#include <algorithm>
#include <chrono>

namespace vesk::host {

class Deadline {
public:
    using Clock = std::chrono::steady_clock;

    explicit Deadline(std::chrono::milliseconds fromNow) : end_(Clock::now() + fromNow) {}

    bool HasPassed() const { return Clock::now() >= end_; }

    /// Milliseconds left, rounded up, for poll().
    int Milliseconds() const
    {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end_ - Clock::now()).count();
        return static_cast<int>(std::clamp<long>(left, 0, 1 << 30));
    }

private:
    Clock::time_point end_;
};

} // namespace vesk::host
