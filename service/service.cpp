// The road of one message through the virtual video service.
#include "service/service.h"

#include "service/log.h"
#include "service/request_table.h"
#include "vesk_host/message.h"
#include "vesk_video/messages.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vesk::service {

namespace {

/// A name field that can be an endpoint's name: not empty, ended by its NUL, without control characters.
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

void Service::Handle(OsMsgEnvelope& message)
{
    Result result = VESK_SERVICE_ERR_LENGTH;
    std::vector<std::byte> answer(sizeof(VeskVideoMsgHead));
    VeskVideoMsgHead head{};
    const char* name = "a message without a header";
    if (message.dataLen >= sizeof head) {
        const Request request = Unpack(message);
        head.msgId = request.head.msgId;
        const ServedRequest* served = FindRequest(message.msgId);
        name = served != nullptr ? served->name : "an unknown request";
        if (served == nullptr)
            result = VESK_SERVICE_ERR_REQUEST;
        else if (request.payload.size() == served->payloadSize)
            result = served->serve(*this, request, answer);
    }
    head.uwSubMsgID = result;
    std::memcpy(answer.data(), &head, sizeof head);
    LOG(kInfo, "%s (%u) from %.16s: %u", name, message.msgId, message.sendProcName, result);
    constexpr uint32_t kSynchronous = 1;
    if (message.type == kSynchronous)
        HostMsgReply(&message, answer.data(), static_cast<uint32_t>(answer.size()));
    SendNotifications();
}

void Service::SendNotifications()
{
    for (const Notification& notification : std::exchange(notifications_, {}))
        clients.Notify(notification);
}

Result Service::Init(const Request& request, const VeskVideoInitInfo& info)
{
    if (!IsName(info.procName) || !IsName(info.taskName))
        return VESK_SERVICE_ERR_VALUE;
    clients.Add(info.procName, info.taskName, request.sender.process);
    outputs.Announce(info.procName);
    return kOk;
}

Result Service::Exit(const Request& request)
{
    outputs.Release(request.sender.process);
    clients.Remove(request.sender.procName);
    return kOk;
}

Result Service::SetCallback(const Request& request, const VeskVideoCallbackInfo&)
{
    // The record's meaning is the device's; the virtual service takes it from any client it knows.
    return clients.IsKnown(request.sender.procName) ? kOk : Result{VESK_SERVICE_ERR_STATE};
}

} // namespace vesk::service
