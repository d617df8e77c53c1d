// A message that steers the virtual device, as its bytes.
#include "control/message.h"

#include "decoder/error.h"

#include <algorithm>
#include <cstring>

namespace vesk::control {

ControlMessage MakeMessage(uint32_t number, Arguments arguments, std::initializer_list<BytesView> payload)
{
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(number);
    head.uwSubMsgID = arguments.sub;
    head.ulParam1 = arguments.param1;
    const BytesView headBytes = BytesOf(head);
    ControlMessage message{number, {headBytes.begin(), headBytes.end()}};
    for (const BytesView part : payload)
        message.data.insert(message.data.end(), part.begin(), part.end());
    if (message.data.size() > VESK_VIDEO_MAX_MESSAGE_SIZE)
        throw tools::Error("the message has " + std::to_string(message.data.size()) +
                           " bytes; expected at most " + std::to_string(VESK_VIDEO_MAX_MESSAGE_SIZE));
    return message;
}

void StoreApplication(char (&field)[16], const std::string& name, const std::string& option)
{
    const auto isControl = [](unsigned char c) { return c < ' ' || c == 0x7f; };
    if (name.size() >= sizeof field || std::any_of(name.begin(), name.end(), isControl))
        throw tools::Error(option + ' ' + name + ": expected an application's name of at most 15 characters");
    std::memcpy(field, name.c_str(), name.size() + 1);
}

} // namespace vesk::control
