// How the virtual video service handles a message.
#include "service/service.h"

#include "service/log.h"
#include "service/message_text.h"
#include "service/payload_check.h"
#include "service/request_table.h"
#include "vesk_host/message.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vesk::service {

namespace {

std::string_view NameIn(const char (&field)[VESK_VIDEO_NAME_SIZE])
{
    return {field, strnlen(field, sizeof field)};
}

Request Unpack(const OsMsgEnvelope& message)
{
    Request request;
    std::memcpy(&request.head, message.data, sizeof request.head);
    request.sender.procName = NameIn(message.sendProcName);
    request.sender.process = HostMsgSenderProcess(&message);
    request.payload =
        std::span(static_cast<const std::byte*>(message.data), message.dataLen).subspan(sizeof request.head);
    return request;
}

} // namespace

void Service::Begin()
{
    clients.Restore();
    clients.NotifyAll(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY);
}

void Service::End()
{
    clients.NotifyAll(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY);
}

Result Service::Serve(const OsMsgEnvelope& message, Bytes& answer)
{
    if (message.dataLen < sizeof(VeskVideoMsgHead))
        return VESK_SERVICE_ERR_LENGTH;
    const Row* row = FindRow(message.msgId);
    if (row == nullptr)
        return VESK_SERVICE_ERR_REQUEST;
    const Request request = Unpack(message);
    if (!Fits(row->listed.payload, request.head, request.payload))
        return VESK_SERVICE_ERR_LENGTH;
    answer.reserve(answer.size() + row->listed.answer.size);
    return row->serve(*this, request, answer);
}

// What needs memory is done first: once a thing has been created, its creator is told.
void Service::Handle(OsMsgEnvelope& message)
{
    const std::string text = MessageText(message);
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(message.msgId);
    Bytes answer(sizeof head);
    head.uwSubMsgID = Serve(message, answer);
    counters.Count(message.msgId, head.uwSubMsgID);
    LOG(kInfo, "%s: %u", text.c_str(), head.uwSubMsgID);
    if (message.type == OS_MSG_SYNCHRONOUS) {
        std::memcpy(answer.data(), &head, sizeof head);
        HostMsgReply(&message, answer.data(), static_cast<uint32_t>(answer.size()));
    }
    for (const Notification& notification : notifications_.TakeAll())
        clients.Notify(notification);
}

// A process whose name is another's is served all the same, but hears nothing.
Result Service::Init(const Sender& sender, const VeskVideoInitInfo& info)
{
    const std::string procName(NameIn(info.procName)), taskName(NameIn(info.taskName));
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
    const pid_t process = sender.process;
    outputs.Release(process);
    inputs.Release(process);
    codecs.Release(process);
    mice.Release(process);
    uvc.Release(process);
    overlays.Release(process);
    queues.Release(process);
    clients.Remove(sender.procName, process);
    return kOk;
}

Result Service::SetCallback(const Sender& sender, const VeskVideoCallbackInfo&)
{
    // What the record says concerns the client alone.
    return clients.IsKnown(sender.procName) ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

} // namespace vesk::service
