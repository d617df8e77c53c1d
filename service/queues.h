// The buffer queues that clients have created and announced.
#pragma once

#include "service/device_description.h"
#include "service/numbered.h"

#include <set>

namespace vesk::service {

class Queues {
public:
    explicit Queues(const DeviceLimits& limits) : announced(limits.queues), mostOwn_(limits.ownQueues) {}

    void Release(HostProcess process) { announced.Release(process); }

    Numbered<Owned> announced;

    /// True for a queue that is there or, whatever became of it since, has been announced.
    bool Has(uint64_t queHandle);

    Result Announce(const Sender&, Argument<"queHandle">);
    Result InitClient(std::string_view server);

    using Names = std::set<std::string, std::less<>>;
    /// The servers that clients have named.
    const Names& Servers() const { return servers_; }

private:
    size_t mostOwn_; // of one process
    Names servers_;
};

} // namespace vesk::service
