// The buffer queues that clients have created and announced.
#include "service/queues.h"

#include "service/log.h"
#include "vesk_host/queue.h"

namespace vesk::service {

bool Queues::Has(uint64_t queHandle)
{
    HostQueueState state;
    return announced.Find(queHandle) != nullptr ||
           (queHandle <= UINT32_MAX && destroyed_.Find(queHandle) == nullptr &&
            HostQueueFind(static_cast<uint32_t>(queHandle), &state) == 0);
}

Result Queues::Announce(const Sender& sender, Argument<"queHandle"> queHandle)
{
    const auto queue = static_cast<uint32_t>(queHandle);
    HostQueueState state;
    if (HostQueueFind(queue, &state) != 0)
        return VESK_SERVICE_ERR_NUMBER;
    if (const Owned* present = announced.Find(queue);
        present != nullptr && announced.Reclaim(*present) != kOk)
        return kOk;
    if (announced.CountOf(sender.process) >= mostOwn_) {
        LOG(kError, "queue %u refused: process %u has announced %zu queues", queue,
            HostProcessNumber(sender.process), mostOwn_);
        return VESK_SERVICE_ERR_ROOM;
    }
    const Result result = announced.CreateAt(queue, sender);
    if (const Owned* again = destroyed_.Find(queue); again != nullptr && result == kOk)
        destroyed_.Erase(*again);
    return result;
}

// Beyond the bound, those that are still there go on as if nobody had announced or destroyed them.
void Queues::Destroy(const Owned& queue)
{
    destroyed_.CreateAt(queue.number, queue.owner);
    announced.Erase(queue);
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
