// An answer that is deferred.
#pragma once

#include "vesk_host/message.h"

#include <cstddef>
#include <span>
#include <utility>

namespace vesk::service {

/// Its sender's connection is closed unless it is given or abandoned.
class DeferredAnswer {
public:
    /// @param message  The synchronous message that is being handled.
    explicit DeferredAnswer(OsMsgEnvelope& message) : deferred_(HostMsgDefer(&message)) {}
    DeferredAnswer(const DeferredAnswer&) = delete;
    DeferredAnswer& operator=(const DeferredAnswer&) = delete;
    ~DeferredAnswer() { Close(); }

    /// False when as many are deferred as can be.
    bool IsDeferred() const { return deferred_ != 0; }

    /// Returns 0 or a HostMsgResult.
    uint32_t Give(std::span<const std::byte> data)
    {
        return HostMsgReplyDeferred(std::exchange(deferred_, 0), data.data(),
                                    static_cast<uint32_t>(data.size()));
    }
    /// The sender waits until its time-out.
    void Abandon() { deferred_ = 0; }
    void Close()
    {
        if (deferred_ != 0)
            HostMsgCloseDeferred(std::exchange(deferred_, 0));
    }

private:
    HostMsgDeferred deferred_;
};

} // namespace vesk::service
