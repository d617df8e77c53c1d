// What the virtual service receives, answers and notifies, message by message.
#include "tools/veskctl/watch.h"

#include "base/text.h"

#include <cstring>
#include <utility>

namespace vesk::ctl {

using recording::Event;
using recording::Kind;

void RequireNoSession(const Settings& settings, const char* command)
{
    if (settings.steer)
        throw Failure(kUsage, std::string("device ") + command +
                                  ": a session shows no messages of others; run it beside the session");
}

Watch::Watch(Client& client, Settings& settings)
    : client_(client), settings_(settings), service_(ParseService(settings.service))
{
    RequireOk(Switch(true));
}

void Watch::Stop()
{
    RequireOk(Switch(false));
}

bool Watch::Renew()
{
    return SwitchIfServed(true);
}

bool Watch::Finish(const OnEvent& onEvent, const OnLost& onLost)
{
    client_.GoOn();
    const bool isServed = SwitchIfServed(false);
    // What waits is read in no time. Which is the last cannot be said by a service that has ended, nor to a
    // watcher that has read too slowly.
    const std::chrono::milliseconds longest(isServed ? 1000 : 100);
    while (!isLast_ && Next(Clock::now() + longest, onEvent, onLost))
        continue;
    return isServed;
}

bool Watch::SwitchIfServed(bool isOn)
{
    const Call call = Switch(isOn);
    if (call.outcome.platformResult != 0 && NoAnswer(call.request.Title(), call.outcome).status == kNoService)
        return false;
    RequireOk(call);
    return true;
}

Call Watch::Switch(bool isOn)
{
    const Prepared request =
        Prepare(settings_.Decoder(), "VESK_CONTROL_WATCH", {{"enable", isOn ? "1" : "0"}});
    return Perform(client_, settings_.Decoder(), request, VESK_VIDEO_SYNC_TIMEOUT);
}

bool Watch::Next(std::optional<Clock::time_point> deadline, const OnEvent& onEvent, const OnLost& onLost)
{
    const std::optional<Arrived> arrived = client_.Next(deadline);
    if (!arrived)
        return false;
    VeskControlMessage seen;
    const BytesView data = BytesView(arrived->data);
    if (arrived->number != VESK_CONTROL_ON_MESSAGE || data.size() < sizeof(VeskVideoMsgHead) + sizeof seen)
        return true;
    std::memcpy(&seen, data.data() + sizeof(VeskVideoMsgHead), sizeof seen);
    const BytesView bytes = data.subspan(sizeof(VeskVideoMsgHead) + sizeof seen);
    Event event = Begin(seen);
    // A service that has started anew counts anew.
    const uint64_t before = std::exchange(lost_, seen.lost);
    if (const uint64_t lost = lost_ - (lost_ < before ? 0 : before); lost != 0)
        onLost(lost);
    event.data.assign(bytes.begin(), bytes.end());
    switch (seen.kind) {
    case VESK_CONTROL_SAW_LAST:
        isLast_ = true;
        return true;
    case VESK_CONTROL_SAW_REQUEST:
        event.kind = Kind::kRequest;
        break;
    case VESK_CONTROL_SAW_ANSWER:
        event.kind = Kind::kAnswer;
        break;
    case VESK_CONTROL_SAW_NO_ANSWER:
        event.kind = Kind::kDone;
        break;
    case VESK_CONTROL_SAW_NOTIFICATION:
        event.isSent = seen.platformResult != 0; // then it is still the service's
        AddNotification(event, onEvent);
        break;
    case VESK_CONTROL_SAW_DROPPED:
        AddNotification(event, onEvent);
        event.comment = "dropped";
        break;
    default:
        event.comment = "a message of the unknown kind " + std::to_string(seen.kind);
    }
    onEvent(std::move(event));
    return true;
}

Event Watch::Begin(const VeskControlMessage& seen) const
{
    Event event;
    event.isSent = true;
    event.isSynchronous = seen.isSynchronous != 0;
    event.process = seen.process;
    event.program = TextIn(seen.procName);
    event.exchange = seen.exchange;
    event.realtimeNs = seen.realtimeNs;
    event.monotonicNs = seen.monotonicNs;
    event.durationNs = seen.durationNs;
    event.platformResult = seen.platformResult;
    event.number = seen.number;
    event.dataLen = seen.dataLen;
    event.sendProcName = event.program;
    event.sendTaskName = TextIn(seen.taskName);
    event.recvProcName = service_.process;
    event.recvTaskName = service_.task;
    return event;
}

/// Begins the exchange of a notification and makes @p event its end.
void Watch::AddNotification(Event& event, const OnEvent& onEvent)
{
    event.kind = Kind::kNotification;
    event.exchange = ++lastNotification_;
    std::swap(event.sendProcName, event.recvProcName);
    std::swap(event.sendTaskName, event.recvTaskName);
    onEvent(Event(event));
    event.kind = Kind::kDone;
    event.data.clear();
    event.dataLen = 0;
}

} // namespace vesk::ctl
