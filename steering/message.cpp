// A message that steers the virtual device, as its bytes.
#include "steering/message.h"

#include "base/error.h"
#include "base/text.h"

#include <algorithm>
#include <cstring>

namespace vesk::steering {

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
        throw Error("the message has " + std::to_string(message.data.size()) + " bytes; expected at most " +
                    std::to_string(VESK_VIDEO_MAX_MESSAGE_SIZE));
    return message;
}

void StoreApplication(char (&field)[16], const std::string& name, const std::string& option)
{
    if (name.size() >= sizeof field || !IsPrintable(name))
        throw Error(option + ' ' + name + ": expected an application's name of at most 15 characters");
    PutText(field, name);
}

} // namespace vesk::steering
