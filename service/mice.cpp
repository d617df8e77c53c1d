// Remote and local mouse streams.
#include "service/mice.h"

namespace vesk::service {

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

Result Mice::Connect(RemoteMouse& mouse, Argument<"decStmNo"> decStmNo)
{
    const DecoderChannel* decoder = codecs_->decoders.Find(decStmNo);
    if (decoder == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    mouse.decStmNo = decoder->number;
    return kOk;
}

} // namespace vesk::service
