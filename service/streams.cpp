// Mouse streams, UVC streams, overlay channels and the queues that clients announce.
#include "service/streams.h"

#include "vesk_host/queue.h"

namespace vesk::service {

namespace {

Result StartIf(bool isReady, bool& isStarted)
{
    if (!isReady || isStarted)
        return VESK_SERVICE_ERR_STATE;
    isStarted = true;
    return kOk;
}

} // namespace

void Mice::Release(pid_t process)
{
    remote.Release(process);
    local.Release(process);
}

Result Mice::Connect(const Request& request, Remote& mouse)
{
    if (codecs_.decoders.Find(request.head.ulParam1) == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    mouse.decStmNo = static_cast<uint32_t>(request.head.ulParam1);
    return kOk;
}

Result Mice::StartRemote(const Request&, Remote& mouse)
{
    return StartIf(mouse.decStmNo != 0, mouse.isStarted);
}

Result Mice::StartLocal(const Request&, Local& mouse)
{
    return StartIf(true, mouse.isStarted);
}

void Uvc::Release(pid_t process)
{
    users_.erase(process);
    streams.Release(process);
}

Result Uvc::Init(const Request& request)
{
    users_.insert(request.sender.process);
    return kOk;
}

// Closes the streams of the process that asks for it.
Result Uvc::Deinit(const Request& request)
{
    Release(request.sender.process);
    return kOk;
}

Result Uvc::Open(const Request& request, uint32_t* uvcStmNo)
{
    if (users_.count(request.sender.process) == 0)
        return VESK_SERVICE_ERR_STATE;
    return streams.CreateLowest(request.sender, uvcStmNo);
}

Result Uvc::SetParam(const Request&, Stream& stream, const VeskVideoUvcParam& param)
{
    stream.param = param;
    stream.hasParam = true;
    return kOk;
}

Result Uvc::Start(const Request&, Stream& stream)
{
    return StartIf(stream.hasParam, stream.isStarted);
}

Result Uvc::ForceKeyFrame(const Request&, Stream& stream)
{
    if (!stream.isStarted)
        return VESK_SERVICE_ERR_STATE;
    ++stream.keyFrames;
    return kOk;
}

// The channel's number is the client's choice; it is given the number of its layer, from 1.
Result Overlays::Create(const Request& request, uint32_t* layer)
{
    if (request.head.ulParam1 > UINT32_MAX)
        return VESK_SERVICE_ERR_NUMBER;
    if (const Channel* present = channels.Find(request.head.ulParam1); present != nullptr) {
        if (IsAlive(present->owner.process))
            return VESK_SERVICE_ERR_BUSY;
        channels.Erase(request.head.ulParam1);
    }
    const Result result = channels.CreateAt(static_cast<uint32_t>(request.head.ulParam1), request.sender);
    *layer = static_cast<uint32_t>(channels.All().size());
    return result;
}

Result Overlays::GetQueue(const Request& request, Channel& channel, uint32_t* handle)
{
    *handle = channel.queue.Id("overlay", request.head.ulParam1);
    return *handle != 0 ? kOk : Result{VESK_SERVICE_ERR_ROOM};
}

Result Overlays::SetParam(const Request&, Channel& channel, const VeskVideoOverlayParam& param)
{
    channel.param = param;
    channel.hasParam = true;
    return kOk;
}

Result Overlays::Enable(const Request& request, Channel& channel)
{
    if (!channel.hasParam)
        return VESK_SERVICE_ERR_STATE;
    channel.isEnabled = request.head.ulParam2 != 0;
    return kOk;
}

Result Queues::Announce(const Request& request)
{
    HostQueueState state;
    if (HostQueueFind(request.head.ulParam2, &state) != 0)
        return VESK_SERVICE_ERR_NUMBER;
    constexpr size_t kMost = 1024;
    if (announced_.size() >= kMost) // those of processes that have ended make room
        std::erase_if(announced_, [&state](uint32_t queueId) { return HostQueueFind(queueId, &state) != 0; });
    if (announced_.size() >= kMost)
        return VESK_SERVICE_ERR_ROOM;
    announced_.insert(request.head.ulParam2);
    return kOk;
}

Result Queues::Withdraw(const Request& request)
{
    return announced_.erase(request.head.ulParam2) != 0 ? kOk : Result{VESK_SERVICE_ERR_NUMBER};
}

Result Queues::InitClient(const Request& request)
{
    constexpr size_t kMost = 64;
    const std::string server = reinterpret_cast<const char*>(request.payload.data());
    if (server.empty())
        return VESK_SERVICE_ERR_VALUE;
    if (servers_.size() >= kMost && servers_.count(server) == 0)
        return VESK_SERVICE_ERR_ROOM;
    servers_.insert(server);
    return kOk;
}

} // namespace vesk::service
