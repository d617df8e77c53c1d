// Remote and local mouse streams.
#include "service/mice.h"

#include "service/record_check.h"

#include <bit>

namespace vesk::service {

Result RemoteMouse::SetArea(const VeskVideoMouseArea& value)
{
    const Result result =
        CheckRect(std::bit_cast<VeskServiceRect>(value), "area", "remote mouse " + std::to_string(number));
    if (result == kOk)
        area = value;
    return result;
}

// The mouse must be connected to a decoder.
Result RemoteMouse::Start()
{
    return decStmNo != 0 ? Startable::Start() : Result{VESK_SERVICE_ERR_STATE};
}

void Mice::Release(HostProcess process)
{
    remote.Release(process);
    local.Release(process);
}

Result Mice::OpenRemote(const Sender& sender, Argument<"openParam"> openParam, uint32_t* mouseStmNo)
{
    const Result result = remote.Create(sender, mouseStmNo);
    if (result == kOk)
        remote.Find(*mouseStmNo)->openParam = static_cast<uint32_t>(openParam);
    return result;
}

void Mice::NoteGone()
{
    for (auto& [number, mouse] : remote.All())
        mouse.isDecoderGone |= mouse.decStmNo != 0 && codecs_->decoders.Find(mouse.decStmNo) == nullptr;
}

Result Mice::Connect(RemoteMouse& mouse, Argument<"decStmNo"> decStmNo)
{
    const DecoderChannel* decoder = codecs_->decoders.Find(decStmNo);
    if (decoder == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    mouse.decStmNo = decoder->number;
    mouse.isDecoderGone = false;
    return kOk;
}

} // namespace vesk::service
