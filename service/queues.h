// The buffer queues that clients have created and announced.
#pragma once

#include "service/device_description.h"
#include "service/numbered.h"

#include <set>

namespace vesk::service {

class Queues {
public:
    explicit Queues(const DeviceLimits& limits)
        : announced(limits.queues), destroyed_(limits.queues), mostOwn_(limits.ownQueues)
    {
    }

    void Release(HostProcess process)
    {
        announced.Release(process);
        destroyed_.Release(process);
    }

    Numbered<Owned> announced;

    /// True for a queue that has been announced, and for one that is there and was not destroyed.
    bool Has(uint64_t queHandle);
    /// True for a queue that there was.
    bool IsGone(uint32_t queHandle) { return queHandle != 0 && !Has(queHandle); }

    Result Announce(const Sender&, Argument<"queHandle">);
    void Destroy(const Owned& queue);
    Result InitClient(std::string_view server);

    using Names = std::set<std::string, std::less<>>;
    /// The servers that clients have named.
    const Names& Servers() const { return servers_; }

private:
    Numbered<Owned> destroyed_; // that are still there: their creators keep them
    size_t mostOwn_;            // of one process
    Names servers_;
};

} // namespace vesk::service
