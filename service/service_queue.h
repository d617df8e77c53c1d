// A buffer queue that the service itself provides.
#pragma once

#include "vesk_host/queue.h"

#include <cstdint>
#include <cstdio>
#include <utility>

namespace vesk::service {

/// Created on first use, removed with its owner.
class ServiceQueue {
public:
    ServiceQueue() = default;
    ServiceQueue(ServiceQueue&& other) noexcept : queueId_(std::exchange(other.queueId_, 0)) {}
    ServiceQueue& operator=(ServiceQueue&& other) noexcept
    {
        std::swap(queueId_, other.queueId_);
        return *this;
    }
    ~ServiceQueue()
    {
        if (queueId_ != 0)
            HostQueueRemove(queueId_);
    }

    /// Its identifier; 0 while it does not exist.
    uint32_t Id() const { return queueId_; }

    /// The same, but it is created; 0 when it cannot be created.
    uint32_t Id(const char* kind, uint64_t number)
    {
        constexpr uint32_t kEntries = 32;
        OsMemQueReq request{};
        std::snprintf(request.name, sizeof request.name, "%s_%llu", kind,
                      static_cast<unsigned long long>(number));
        request.cnt = kEntries;
        if (queueId_ == 0 && OsShmAdvancedBuffCreateQueue(&request, &queueId_) != 0)
            queueId_ = 0;
        return queueId_;
    }

private:
    uint32_t queueId_ = 0;
};

} // namespace vesk::service
