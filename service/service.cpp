// How the virtual video service handles a message.
#include "service/service.h"

#include "service/log.h"
#include "service/message_text.h"
#include "service/payload_check.h"
#include "service/request_table.h"
#include "vesk_host/message.h"

#include <cstring>
#include <utility>

namespace vesk::service {

namespace {

Sender SenderOf(const OsMsgEnvelope& message)
{
    return {std::string(TextIn(message.sendProcName)), std::string(TextIn(message.sendTaskName)),
            HostMsgSender(&message)};
}

} // namespace

void Service::Begin()
{
    clients.Restore();
    Notify({.procName = kEveryClient, .notifyId = VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, .payload = {}});
}

void Service::End()
{
    Notify({.procName = kEveryClient, .notifyId = VESK_VIDEO_ON_VIDEO_DIE_NOTIFY, .payload = {}});
}

Result Service::Reset()
{
    // What needs memory comes first: without it, nothing has changed.
    Inputs describedInputs(notifications_, described_);
    Outputs describedOutputs(notifications_, described_, inputs, codecs);
    Device describedDevice(notifications_, described_);
    Counters noCounts;
    inputs = std::move(describedInputs);
    outputs = std::move(describedOutputs);
    codecs = Codecs(notifications_, described_, timeline);
    mice = Mice(codecs, described_);
    uvc = Uvc(described_.limits);
    overlays = Overlays(described_);
    queues = Queues(described_.limits);
    device = std::move(describedDevice);
    clients.ForgetCallbacks();
    counters = std::move(noCounts);
    faults.Reset();
    scenario.Reset();
    timeline.Reset();
    links.Reset();
    lostQueues.Look();
    notifications_.Add(kEveryClient, VESK_VIDEO_ON_VIDEO_DIE_NOTIFY, {});
    notifications_.Add(kEveryClient, VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, {});
    return kOk;
}

Result Service::Serve(uint32_t number, const Sender& sender, std::span<const std::byte> data, Bytes& answer)
{
    Request request{.head = {}, .sender = sender, .payload = {}};
    if (data.size() < sizeof request.head)
        return VESK_SERVICE_ERR_LENGTH;
    const Row* row = FindRow(number);
    if (row == nullptr)
        return VESK_SERVICE_ERR_REQUEST;
    std::memcpy(&request.head, data.data(), sizeof request.head);
    request.payload = data.subspan(sizeof request.head);
    if (!Fits(row->payload, request.head, request.payload))
        return VESK_SERVICE_ERR_LENGTH;
    answer.reserve(answer.size() + row->answer.size);
    const Result result = row->serve(*this, request, answer);
    if (!row->isQuery)
        Changed();
    return result;
}

void Service::Changed()
{
    codecs.Settle();
    outputs.NoteGone();
    mice.NoteGone();
    links.Notify();
}

void Service::Ended(HostProcess process)
{
    LOG(kInfo, "process %u has ended", HostProcessNumber(process));
    notifications_.TakeAll(); // of a request that failed for want of memory
    timeline.RunDue();
    clients.Forget(process);
    watchers.Forget(process);
    Release(process);
    Changed();
    timeline.RunAll(process); // its answers fail; what else waits for them is sent
    NotifyEach(notifications_.TakeAll());
}

Result Service::Execute(uint32_t number, std::span<const std::byte> data)
{
    Bytes answer;
    const Result result = Serve(number, {}, data, answer);
    NotifyEach(notifications_.TakeAll());
    return result;
}

Effects Service::Trigger(const MessageView& message)
{
    scenario.Happened(message);
    return faults.Apply(message);
}

// What needs memory is done first: once a thing has been created, its creator is told.
void Service::Handle(OsMsgEnvelope& message)
{
    const auto arrived = std::chrono::steady_clock::now();
    notifications_.TakeAll(); // of a request that failed for want of memory
    timeline.RunDue();
    const std::string text = MessageText(message);
    const Sender sender = SenderOf(message);
    const std::span data(static_cast<const std::byte*>(message.data), message.dataLen);
    Watchers::WatchedRequest request;
    Effects effects;
    if (!messages::IsControl(message.msgId)) {
        request = watchers.Arrived(message, sender, arrived);
        effects = Trigger({VESK_CONTROL_OF_REQUEST, message.msgId, sender.procName, data});
    }
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(message.msgId);
    Bytes answer(sizeof head);
    head.uwSubMsgID = effects.result ? *effects.result : Serve(message.msgId, sender, data, answer);
    counters.Count(message.msgId, head.uwSubMsgID);
    LOG(kInfo, "%s: %u", text.c_str(), head.uwSubMsgID);
    std::memcpy(answer.data(), &head, sizeof head);
    effects.Change(answer, 0);
    const bool isWaiting = message.type == OS_MSG_SYNCHRONOUS;
    if (isWaiting && effects.IsDeferred()) {
        Defer(message, text, effects, request, std::move(answer));
    } else if (isWaiting && effects.fate == Effects::Fate::kGiven) {
        const uint32_t ret = HostMsgReply(&message, answer.data(), static_cast<uint32_t>(answer.size()));
        counters.Took(message.msgId, std::chrono::steady_clock::now() - arrived);
        watchers.Answered(request, ret, answer);
    } else {
        // The connection of a sender that waits is closed. For others, being served is all.
        if (!isWaiting)
            counters.Took(message.msgId, std::chrono::steady_clock::now() - arrived);
        watchers.Unanswered(request);
    }
    NotifyEach(notifications_.TakeAll());
}

// A process whose name is another's is served all the same, but hears nothing.
Result Service::Init(const Sender& sender, const VeskVideoInitInfo& info)
{
    const std::string procName(TextIn(info.procName)), taskName(TextIn(info.taskName));
    if (!IsClientName(procName) || !IsClientName(taskName))
        return VESK_SERVICE_ERR_VALUE;
    const Result result = clients.Add(procName, taskName, sender.process);
    if (result == VESK_SERVICE_ERR_BUSY)
        return kOk;
    if (result == kOk) {
        outputs.Announce(procName);
        inputs.Announce(procName);
    }
    return result;
}

Result Service::Exit(const Sender& sender)
{
    Release(sender.process);
    clients.Remove(sender.procName, sender.process);
    return kOk;
}

void Service::Release(HostProcess process)
{
    outputs.Release(process);
    inputs.Release(process);
    codecs.Release(process);
    mice.Release(process);
    uvc.Release(process);
    overlays.Release(process);
    queues.Release(process);
    lostQueues.Look();
}

Result Service::DestroyQueue(Owned& queue)
{
    queues.Destroy(queue);
    lostQueues.Look();
    return kOk;
}

Result Service::SetCallback(const Sender& sender, const VeskVideoCallbackInfo& info)
{
    return clients.SetCallback(sender.procName, sender.process, info);
}

// To others than the service itself there is no such request.
Result Service::Tick(const Sender& sender)
{
    // What is due is done already.
    return sender.process == HostProcessSelf() ? kOk : Result{VESK_SERVICE_ERR_REQUEST};
}

} // namespace vesk::service
