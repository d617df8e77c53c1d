// The signal by which the service is told that something is due.
#include "service/alarm.h"

#include <cerrno>
#include <csignal>
#include <system_error>

namespace vesk::service {

Alarm::Alarm()
{
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGALRM;
    if (timer_create(CLOCK_MONOTONIC, &event, &timer_) != 0) // the clock of steady_clock
        throw std::system_error(errno, std::generic_category(), "no timer can be created");
}

Alarm::~Alarm()
{
    timer_delete(timer_);
}

void Alarm::Set(std::optional<std::chrono::steady_clock::time_point> at)
{
    constexpr long kAgain = 20'000'000;
    constexpr long kSecond = 1'000'000'000;
    itimerspec times{};
    if (at) {
        const auto nanoseconds = std::chrono::nanoseconds(at->time_since_epoch()).count();
        times.it_value = {nanoseconds / kSecond, nanoseconds % kSecond};
        times.it_interval = {0, kAgain};
    }
    timer_settime(timer_, TIMER_ABSTIME, &times, nullptr); // all of whose arguments are right
}

} // namespace vesk::service
