// The signal by which the service is told that something is due.
#pragma once

#include <chrono>
#include <ctime>
#include <optional>

namespace vesk::service {

/// Raises SIGALRM, which some thread waits for, at a time and every 20 ms after it: one of several may be
/// lost.
class Alarm {
public:
    /// @throws std::system_error when the system has no timer.
    Alarm();
    Alarm(const Alarm&) = delete;
    Alarm& operator=(const Alarm&) = delete;
    ~Alarm();

    /// Replaces the time; nothing means never.
    void Set(std::optional<std::chrono::steady_clock::time_point> at);

private:
    timer_t timer_{};
};

} // namespace vesk::service
