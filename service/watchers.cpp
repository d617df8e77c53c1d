// Those who watch what the service receives, answers and notifies.
#include "service/watchers.h"

#include "base/envelope.h"
#include "service/clients.h"
#include "vesk_host/message.h"

#include <algorithm>
#include <cstring>
#include <exception>

namespace vesk::service {

namespace {

using std::chrono::steady_clock;

template <class Clock>
uint64_t Nanoseconds(std::chrono::time_point<Clock> time)
{
    return static_cast<uint64_t>(std::chrono::nanoseconds(time.time_since_epoch()).count());
}

} // namespace

Result Watchers::Watch(const Sender& sender, Argument<"enable"> enable)
{
    if (!IsClientName(sender.procName) || !IsClientName(sender.taskName))
        return VESK_SERVICE_ERR_VALUE;
    const auto isSender = [&](const Watcher& watcher) {
        return watcher.task.procName == sender.procName && watcher.task.taskName == sender.taskName;
    };
    const auto known = std::find_if(watchers_.begin(), watchers_.end(), isSender);
    if (enable == 0 && known != watchers_.end()) {
        VeskControlMessage last{};
        last.kind = VESK_CONTROL_SAW_LAST;
        Show(last, sender, {}, &*known);
    }
    std::erase_if(watchers_, [&](const Watcher& watcher) {
        const bool isObsolete = enable == 0 || watcher.task.process != sender.process;
        return (isSender(watcher) && isObsolete) || HostProcessIsAlive(watcher.task.process) == 0;
    });
    if (enable == 0 || std::any_of(watchers_.begin(), watchers_.end(), isSender))
        return kOk;
    if (watchers_.size() >= VESK_CONTROL_MAX_WATCHERS)
        return VESK_SERVICE_ERR_ROOM;
    watchers_.push_back({.task = sender});
    return kOk;
}

void Watchers::Forget(HostProcess process)
{
    std::erase_if(watchers_, [process](const Watcher& watcher) { return watcher.task.process == process; });
}

Watchers::WatchedRequest Watchers::Arrived(const OsMsgEnvelope& message, const Sender& sender,
                                           steady_clock::time_point when)
{
    WatchedRequest request{.number = ++lastExchange_,
                           .msgId = message.msgId,
                           .sender = sender,
                           .arrived = when,
                           .wasWatched = !watchers_.empty()};
    if (!request.wasWatched)
        return request;
    VeskControlMessage shown{};
    shown.kind = VESK_CONTROL_SAW_REQUEST;
    shown.number = message.msgId;
    shown.isSynchronous = message.type == OS_MSG_SYNCHRONOUS ? 1 : 0;
    shown.exchange = request.number;
    Show(shown, sender, {static_cast<const std::byte*>(message.data), message.dataLen});
    return request;
}

void Watchers::Answered(const WatchedRequest& request, uint32_t platformResult,
                        std::span<const std::byte> data)
{
    if (platformResult == HOST_MSG_ERR_BROKEN) // its sender has gone
        Unanswered(request);
    else
        End(VESK_CONTROL_SAW_ANSWER, request, platformResult, data);
}

void Watchers::Unanswered(const WatchedRequest& request)
{
    End(VESK_CONTROL_SAW_NO_ANSWER, request, 0, {});
}

void Watchers::End(VeskControlMessageKind kind, const WatchedRequest& request, uint32_t platformResult,
                   std::span<const std::byte> data)
{
    if (watchers_.empty() || request.number == 0)
        return;
    VeskControlMessage shown{};
    shown.kind = kind;
    shown.number = request.msgId;
    shown.platformResult = platformResult;
    shown.exchange = request.number;
    if (request.wasWatched)
        shown.durationNs = Nanoseconds(steady_clock::now()) - Nanoseconds(request.arrived);
    Show(shown, request.sender, data);
}

void Watchers::Notified(VeskControlMessageKind kind, const Sender& client, uint32_t notifyId,
                        uint32_t platformResult, std::span<const std::byte> data)
{
    if (watchers_.empty())
        return;
    VeskControlMessage shown{};
    shown.kind = kind;
    shown.number = notifyId;
    shown.platformResult = platformResult;
    Show(shown, client, data);
}

void Watchers::Show(VeskControlMessage shown, const Sender& peer, std::span<const std::byte> data,
                    const Watcher* only)
try {
    shown.process = HostProcessNumber(peer.process);
    shown.dataLen = static_cast<uint32_t>(data.size());
    PutText(shown.procName, peer.procName);
    PutText(shown.taskName, peer.taskName);
    shown.realtimeNs = Nanoseconds(std::chrono::system_clock::now());
    shown.monotonicNs = Nanoseconds(steady_clock::now());

    VeskVideoMsgHead head{};
    head.msgId = VESK_CONTROL_ON_MESSAGE;
    constexpr size_t kMost = VESK_VIDEO_MAX_MESSAGE_SIZE - sizeof head - sizeof shown;
    Bytes block;
    block.reserve(sizeof head + sizeof shown + std::min(data.size(), kMost));
    const auto append = [&](std::span<const std::byte> bytes) {
        block.insert(block.end(), bytes.begin(), bytes.end());
    };
    append(BytesOf(head));
    append(BytesOf(shown));
    append(data.first(std::min(data.size(), kMost)));
    std::erase_if(watchers_, [&](Watcher& watcher) {
        return (only == nullptr || only == &watcher) && !ShowTo(watcher, block);
    });
} catch (const std::exception&) { // no memory
    for (Watcher& watcher : watchers_)
        ++watcher.lost;
}

// Trying to send what a watcher does not read may take a moment. Of the time that follows only a small part
// may go into that.
bool Watchers::ShowTo(Watcher& watcher, Bytes& block)
{
    constexpr int kPause = 50;
    const auto begin = steady_clock::now();
    if (begin < watcher.pausedUntil) {
        ++watcher.lost;
        return true;
    }
    std::memcpy(&block[sizeof(VeskVideoMsgHead) + offsetof(VeskControlMessage, lost)], &watcher.lost,
                sizeof watcher.lost);
    OsMsgEnvelope envelope = MakeEnvelope(VESK_CONTROL_ON_MESSAGE, {self_.procName, self_.taskName},
                                          {watcher.task.procName, watcher.task.taskName}, block);
    const uint32_t ret = OsMsgAsynSend(&envelope);
    if (ret == 0)
        return true;
    ++watcher.lost;
    const auto end = steady_clock::now();
    watcher.pausedUntil = end + kPause * (end - begin);
    return ret != HOST_MSG_ERR_ABSENT || HostProcessIsAlive(watcher.task.process) != 0;
}

} // namespace vesk::service
