// UVC streams.
#include "service/uvc.h"

namespace vesk::service {

Result UvcStream::SetParam(const VeskVideoUvcParam& value)
{
    param = value;
    hasParam = true;
    return kOk;
}

Result UvcStream::Start()
{
    return hasParam ? Startable::Start() : Result{VESK_SERVICE_ERR_STATE};
}

Result UvcStream::ForceKeyFrame()
{
    if (!isStarted)
        return VESK_SERVICE_ERR_STATE;
    ++keyFrames;
    return kOk;
}

void Uvc::Release(HostProcess process)
{
    users_.erase(process);
    streams.Release(process);
}

Result Uvc::Init(const Sender& sender)
{
    std::erase_if(users_, [](HostProcess user) { return HostProcessIsAlive(user) == 0; });
    users_.insert(sender.process);
    return kOk;
}

// Closes the streams of the sender.
Result Uvc::Deinit(const Sender& sender)
{
    Release(sender.process);
    return kOk;
}

Result Uvc::Open(const Sender& sender, uint32_t* uvcStmNo)
{
    if (users_.count(sender.process) == 0)
        return VESK_SERVICE_ERR_STATE;
    return streams.CreateLowest(sender, uvcStmNo);
}

} // namespace vesk::service
