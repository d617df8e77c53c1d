// How often each request was answered with which result, and how long that took.
#include "service/counters.h"

#include "vesk_service/control_list.h"

#include <algorithm>

namespace vesk::service {

Counters::Counters()
{
    for (const messages::Request& request : messages::kRequests)
        listed_[request.number];
    for (const messages::Request& request : messages::kControlRequests)
        listed_[request.number];
}

void Counters::Count(uint32_t number, Result result) noexcept
{
    const auto found = listed_.find(number);
    if (found == listed_.end()) {
        ++unlisted_;
        return;
    }
    Row& row = found->second;
    const auto end = row.tallies.begin() + row.used;
    const auto same = std::find_if(row.tallies.begin(), end,
                                   [result](const Tally& tally) { return tally.result == result; });
    if (same != end)
        ++same->count;
    else if (row.used < Row::kMost)
        row.tallies[row.used++] = {result, 1};
    else
        ++row.others;
}

void Counters::Took(uint32_t number, std::chrono::steady_clock::duration duration) noexcept
{
    const auto found = listed_.find(number);
    if (found == listed_.end())
        return;
    const auto ns = static_cast<uint64_t>(std::chrono::nanoseconds(duration).count());
    Durations& durations = found->second.durations;
    const auto bound = std::lower_bound(kBoundsNs.begin(), kBoundsNs.end(), ns);
    ++durations.counts[static_cast<size_t>(bound - kBoundsNs.begin())];
    durations.sumNs += ns;
}

} // namespace vesk::service
