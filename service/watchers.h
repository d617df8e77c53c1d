// Those who watch what the service receives, answers and notifies.
#pragma once

#include "platform/os_msg.h"
#include "service/request.h"
#include "vesk_service/control.h"

#include <chrono>

namespace vesk::service {

struct Identity;

/// Nothing here fails or waits; who does not read loses messages and is told how many. Without watchers it
/// costs next to nothing.
class Watchers {
public:
    /// A request, and what it takes to show what became of it.
    struct WatchedRequest {
        uint64_t number = 0; ///< 0: it is not shown.
        uint32_t msgId = 0;
        Sender sender;
        std::chrono::steady_clock::time_point arrived;
        bool wasWatched = false; ///< When it arrived.
    };

    explicit Watchers(const Identity& self) : self_(self) {}

    Result Watch(const Sender&, Argument<"enable">);

    /// Shows a process nothing more.
    void Forget(HostProcess process);

    WatchedRequest Arrived(const OsMsgEnvelope& message, const Sender& sender,
                           std::chrono::steady_clock::time_point when);
    void Answered(const WatchedRequest& request, uint32_t platformResult, std::span<const std::byte> data);
    void Unanswered(const WatchedRequest& request);
    /// @param kind  VESK_CONTROL_SAW_NOTIFICATION or VESK_CONTROL_SAW_DROPPED.
    void Notified(VeskControlMessageKind kind, const Sender& client, uint32_t notifyId,
                  uint32_t platformResult, std::span<const std::byte> data);

    struct Watcher {
        Sender task;
        uint64_t lost = 0;
        std::chrono::steady_clock::time_point pausedUntil{};
    };
    const std::vector<Watcher>& All() const { return watchers_; }

private:
    void End(VeskControlMessageKind kind, const WatchedRequest& request, uint32_t platformResult,
             std::span<const std::byte> data);
    /// @param only  Null: every watcher.
    void Show(VeskControlMessage shown, const Sender& peer, std::span<const std::byte> data,
              const Watcher* only = nullptr);
    /// False when it has ended.
    bool ShowTo(Watcher& watcher, Bytes& block);

    const Identity& self_;
    std::vector<Watcher> watchers_;
    uint64_t lastExchange_ = 0;
};

} // namespace vesk::service
