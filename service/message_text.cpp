// A message as the service's log line shows it.
#include "service/message_text.h"

#include "vesk_service/control_list.h"

#include <cinttypes>
#include <cstdio>
#include <cstring>
#include <string_view>

namespace vesk::service {

namespace {

using messages::HeaderField;

std::string ValueText(const messages::Argument& argument, uint64_t value)
{
    if (argument.IsSigned())
        return std::to_string(static_cast<int32_t>(value));
    if (!argument.IsPointer())
        return std::to_string(value);
    char text[20];
    std::snprintf(text, sizeof text, "0x%" PRIx64, value);
    return text;
}

/// "inEngNo=1 stmNo=2, ", or nothing.
std::string ArgumentsText(const messages::Request& request, const VeskVideoMsgHead& head)
{
    std::string text;
    for (const HeaderField field : {HeaderField::kSubMsgID, HeaderField::kParam1, HeaderField::kParam2}) {
        const messages::Argument& argument = request.At(field);
        if (!argument.IsUsed())
            continue;
        text += text.empty() ? "" : " ";
        text += argument.Name() + ('=' + ValueText(argument, ValueOf(head, field)));
    }
    return text.empty() ? text : text + ", ";
}

} // namespace

std::string MessageText(const OsMsgEnvelope& message)
{
    const std::string sender(message.sendProcName,
                             strnlen(message.sendProcName, sizeof message.sendProcName));
    const std::string from = " (" + std::to_string(message.msgId) + ") from " + sender + ": ";
    VeskVideoMsgHead head;
    if (message.dataLen < sizeof head)
        return "a message without a header" + from + std::to_string(message.dataLen) + " bytes";
    std::memcpy(&head, message.data, sizeof head);
    const std::string payload = std::to_string(message.dataLen - sizeof head) + " bytes";
    const messages::Request* request = messages::FindAnyRequest(message.msgId);
    return request != nullptr ? request->name + from + ArgumentsText(*request, head) + payload
                              : "an unknown request" + from + payload;
}

} // namespace vesk::service
