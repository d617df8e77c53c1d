// The recording of a run: what each of its clients sent and got.
#include "tools/veskctl/check/recorder.h"

namespace vesk::ctl::check {

using recording::Event;
using recording::Kind;
using std::chrono::duration_cast;
using std::chrono::nanoseconds;

namespace {

uint64_t Nanoseconds(auto time)
{
    return static_cast<uint64_t>(duration_cast<nanoseconds>(time.time_since_epoch()).count());
}

} // namespace

Recorder::Recorder(const std::string& file, const ServiceName& service)
    : output_(file, "veskctl check", "a test of a service"), service_(service)
{
}

Event Recorder::Begin(const Actor& actor, uint32_t number, BytesView data) const
{
    Event event;
    event.process = static_cast<uint32_t>(actor.Process());
    event.thread = event.process;
    event.program = "check";
    event.exchange = exchange_;
    event.realtimeNs = Nanoseconds(std::chrono::system_clock::now());
    event.monotonicNs = Nanoseconds(Clock::now());
    event.number = number;
    event.data.assign(data.begin(), data.end());
    event.dataLen = static_cast<uint32_t>(data.size());
    event.sendProcName = actor.Name();
    event.sendTaskName = kOwnTaskName;
    event.recvProcName = service_.process;
    event.recvTaskName = service_.task;
    return event;
}

void Recorder::Request(const Actor& actor, uint32_t number, BytesView data, const Reply& reply)
{
    ++exchange_;
    const auto duration = static_cast<uint64_t>(duration_cast<nanoseconds>(reply.outcome.duration).count());
    Event event = Begin(actor, number, data);
    event.kind = Kind::kRequest;
    event.isSent = true;
    event.isSynchronous = reply.answer || reply.outcome.platformResult != 0;
    event.realtimeNs -= duration;
    event.monotonicNs -= duration;
    output_.Append(event);
    Event end = Begin(actor, number, reply.outcome.answer);
    end.kind = event.isSynchronous ? Kind::kAnswer : Kind::kDone;
    end.isSynchronous = event.isSynchronous;
    end.durationNs = duration;
    end.platformResult = reply.outcome.platformResult;
    output_.Append(end);
}

void Recorder::Notification(const Actor& actor, const Arrived& arrived)
{
    ++exchange_;
    Event event = Begin(actor, arrived.number, arrived.data);
    event.kind = Kind::kNotification;
    const uint64_t since = event.realtimeNs - std::min(event.realtimeNs, Nanoseconds(arrived.time));
    event.realtimeNs -= since;
    event.monotonicNs -= since;
    std::swap(event.sendProcName, event.recvProcName);
    std::swap(event.sendTaskName, event.recvTaskName);
    output_.Append(event);
    event.kind = Kind::kDone;
    event.data.clear();
    event.dataLen = 0;
    output_.Append(event);
}

} // namespace vesk::ctl::check
