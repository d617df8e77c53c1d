// The model's time, and what is due at a time of it.
#pragma once

#include "service/request.h"
#include "vesk_service/control.h"

#include <chrono>
#include <functional>
#include <map>
#include <optional>

namespace vesk::service {

/// Milliseconds since the start. They run with the clock, or are moved by command.
class Timeline {
public:
    using MonotonicTime = std::chrono::steady_clock::time_point;

    struct Clock {
        bool isStep = false; ///< Moved by command only.
        double scale = 1;    ///< Else: how many times faster than the clock it runs.
        /// Has RunDue called at a time, and again and again after it until the next call of this function;
        /// nothing means never. What comes meanwhile may be late, but not lost.
        std::function<void(std::optional<MonotonicTime>)> alarm = [](auto) {};
    };

    explicit Timeline(Clock clock) : clock_(std::move(clock)) {}

    uint64_t Now() const;

    enum class Kind { kAnswer, kNotification, kStep };

    /// Has @p run called in @p ms milliseconds, after what is due then already. False when it would hold more
    /// than can wait; @p bytes is what it holds, beside a little for itself unless it is a step. @p receiver
    /// is the process that waits for it, if any.
    bool Add(Kind kind, uint64_t ms, size_t bytes, std::function<void()> run, HostProcess receiver = 0);

    /// Does what is due by now, in order.
    void RunDue();

    /// Does at once whatever a process waits for.
    void RunAll(HostProcess receiver);

    /// Forgets what is due of a kind.
    void Drop(Kind kind);
    void Reset();

    /// Moves the time, by command, with everything that becomes due on the way, each at its own time.
    Result Move(Argument<"advanceMs">, VeskControlTime*);

private:
    struct Entry {
        Kind kind;
        size_t bytes;
        std::function<void()> run;
        HostProcess receiver;
    };
    using Entries = std::multimap<uint64_t, Entry>; // keeps the order of what has the same time

    void Run(Entries::const_iterator entry);
    void Arm();

    const Clock clock_;
    const MonotonicTime start_ = std::chrono::steady_clock::now();
    uint64_t now_ = 0;    // when it is moved by command
    uint64_t target_ = 0; // where it is being moved to
    bool isRunning_ = false;
    Entries due_;
    size_t bytes_ = 0;
    std::optional<uint64_t> armed_; // time that the alarm was called for
};

} // namespace vesk::service
