// The buffer queues that clients have created and announced.
#include "service/queues.h"

#include "vesk_host/queue.h"

namespace vesk::service {

Result Queues::Announce(Argument<"queHandle"> queHandle)
{
    const auto announced = static_cast<uint32_t>(queHandle);
    HostQueueState state;
    if (HostQueueFind(announced, &state) != 0)
        return VESK_SERVICE_ERR_NUMBER;
    constexpr size_t kMost = 1024;
    if (announced_.size() >= kMost) // those of processes that have ended make room
        std::erase_if(announced_, [&state](uint32_t queueId) { return HostQueueFind(queueId, &state) != 0; });
    if (announced_.size() >= kMost)
        return VESK_SERVICE_ERR_ROOM;
    announced_.insert(announced);
    return kOk;
}

Result Queues::Withdraw(Argument<"queHandle"> queHandle)
{
    return announced_.erase(static_cast<uint32_t>(queHandle)) != 0 ? kOk : Result{VESK_SERVICE_ERR_NUMBER};
}

Result Queues::InitClient(std::string_view server)
{
    constexpr size_t kMost = 64;
    if (server.empty())
        return VESK_SERVICE_ERR_VALUE;
    if (servers_.size() >= kMost && servers_.find(server) == servers_.end())
        return VESK_SERVICE_ERR_ROOM;
    servers_.emplace(server);
    return kOk;
}

} // namespace vesk::service
