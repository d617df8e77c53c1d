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

/// True when a name field can be an endpoint's name: not empty, NUL-terminated, without control characters.
bool IsName(const char (&field)[VESK_VIDEO_NAME_SIZE])
{
    const size_t length = strnlen(field, sizeof field);
    return length != 0 && length != sizeof field &&
           std::none_of(field, field + length, [](unsigned char c) { return c < ' ' || c == 0x7f; });
}

Request Unpack(const OsMsgEnvelope& message)
{
    Request request;
    std::memcpy(&request.head, message.data, sizeof request.head);
    request.sender.procName.assign(message.sendProcName,
                                   strnlen(message.sendProcName, sizeof message.sendProcName));
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
    return row->serve(*this, request, answer);
}

void Service::Handle(OsMsgEnvelope& message)
{
    Bytes payload;
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(message.msgId);
    head.uwSubMsgID = Serve(message, payload);
    LOG(kInfo, "%s: %u", MessageText(message).c_str(), head.uwSubMsgID);
    if (message.type == OS_MSG_SYNCHRONOUS) {
        const auto headBytes = std::as_bytes(std::span(&head, 1));
        payload.insert(payload.begin(), headBytes.begin(), headBytes.end());
        HostMsgReply(&message, payload.data(), static_cast<uint32_t>(payload.size()));
    }
    for (const Notification& notification : std::exchange(notifications_, {}))
        clients.Notify(notification);
}

Result Service::Init(const Sender& sender, const VeskVideoInitInfo& info)
{
    if (!IsName(info.procName) || !IsName(info.taskName))
        return VESK_SERVICE_ERR_VALUE;
    if (const Result result = clients.Add(info.procName, info.taskName, sender.process); result != kOk)
        return result;
    outputs.Announce(info.procName);
    inputs.Announce(info.procName);
    return kOk;
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
    clients.Remove(sender.procName);
    return kOk;
}

Result Service::SetCallback(const Sender& sender, const VeskVideoCallbackInfo&)
{
    // What the record says concerns the client alone.
    return clients.IsKnown(sender.procName) ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

} // namespace vesk::service
