// The model's time, and what is due at a time of it.
#include "service/timeline.h"

#include "service/log.h"

#include <exception>

namespace vesk::service {

namespace {

constexpr size_t kMostBytes = 64U << 20U; // of all that is due
constexpr size_t kEntryBytes = 512;       // of what is due, beside what it says itself

using ClockMilliseconds = std::chrono::duration<double, std::milli>;

uint64_t Later(uint64_t time, uint64_t ms)
{
    return ms <= UINT64_MAX - time ? time + ms : UINT64_MAX;
}

} // namespace

uint64_t Timeline::Now() const
{
    if (clock_.isStep)
        return now_;
    const ClockMilliseconds passed = std::chrono::steady_clock::now() - start_;
    return static_cast<uint64_t>(passed.count() * clock_.scale);
}

bool Timeline::Add(Kind kind, uint64_t ms, size_t bytes, std::function<void()> run, HostProcess receiver)
{
    if (kind != Kind::kStep)
        bytes += kEntryBytes;
    if (bytes > kMostBytes - bytes_)
        return false;
    due_.emplace(Later(Now(), ms), Entry{kind, bytes, std::move(run), receiver});
    bytes_ += bytes;
    Arm();
    return true;
}

void Timeline::RunDue()
{
    if (isRunning_ || due_.empty())
        return;
    isRunning_ = true;
    while (!due_.empty() && due_.begin()->first <= (clock_.isStep ? target_ : Now())) {
        now_ = std::max(now_, due_.begin()->first);
        Run(due_.begin());
    }
    isRunning_ = false;
    Arm();
}

void Timeline::RunAll(HostProcess receiver)
{
    const auto isReceivers = [receiver](const auto& entry) { return entry.second.receiver == receiver; };
    const auto next = [&] { return std::find_if(due_.begin(), due_.end(), isReceivers); };
    for (auto entry = next(); entry != due_.end(); entry = next()) // each may change what is due
        Run(entry);
    Arm();
}

void Timeline::Run(Entries::const_iterator entry)
try {
    const auto node = due_.extract(entry);
    bytes_ -= node.mapped().bytes;
    node.mapped().run();
} catch (const std::exception& error) {
    LOG(kError, "what was due cannot be done: %s", error.what());
}

void Timeline::Drop(Kind kind)
{
    std::erase_if(due_, [&](const auto& entry) {
        const bool isOfKind = entry.second.kind == kind;
        bytes_ -= isOfKind ? entry.second.bytes : 0;
        return isOfKind;
    });
    Arm();
}

void Timeline::Reset()
{
    due_.clear();
    bytes_ = 0;
    Arm();
}

// A step of a scenario may move the time while it is being moved: then it goes as far as either says.
Result Timeline::Move(Argument<"advanceMs"> advanceMs, VeskControlTime* time)
{
    if (advanceMs != 0 && !clock_.isStep)
        return VESK_SERVICE_ERR_STATE;
    if (advanceMs > UINT64_MAX - now_)
        return VESK_SERVICE_ERR_VALUE;
    if (clock_.isStep) {
        target_ = std::max(target_, now_ + advanceMs);
        RunDue();
        now_ = isRunning_ ? now_ : target_;
    }
    *time = {Now(), due_.size(), clock_.isStep ? 1U : 0U, 0};
    return kOk;
}

void Timeline::Arm()
{
    if (clock_.isStep || isRunning_)
        return;
    const std::optional<uint64_t> first = due_.empty() ? std::nullopt : std::optional(due_.begin()->first);
    if (std::exchange(armed_, first) == first)
        return;
    std::optional<MonotonicTime> at;
    if (first) {
        constexpr double kLongest = 1e12; // which fits into nanoseconds
        const ClockMilliseconds passed(std::min(static_cast<double>(*first) / clock_.scale, kLongest));
        // Rather a moment late than one too early.
        at = start_ + std::chrono::duration_cast<std::chrono::nanoseconds>(passed) +
             std::chrono::microseconds(1);
    }
    clock_.alarm(at);
}

} // namespace vesk::service
