// A second run of a recording at a service, with a client in the place of each recorded process.
#include "platform/os_queue.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/remote_client.h"
#include "tools/veskctl/rerun.h"

#include <cstring>
#include <deque>
#include <thread>

namespace vesk::ctl {

using namespace decoder;
using namespace recording;

namespace {

class ServiceRerun : public Rerun {
public:
    ServiceRerun(const std::string& service, const Decoder& decoder, const Conversation& conversation,
                 double speed, milliseconds wait)
        : decoder_(decoder), conversation_(conversation), speed_(speed), wait_(wait)
    {
        for (size_t i = 0; i < conversation.participants.size(); ++i)
            clients_.emplace_back(service);
        begun_ = Clock::now();
    }

    bool Has(size_t) const override { return true; }

    std::vector<Process> UnrecordedProcesses() const override { return {}; }

    std::optional<Reply> Perform(size_t index, Numbers& numbers) override
    {
        const Turn& turn = conversation_.turns[index];
        if (speed_ > 0)
            std::this_thread::sleep_until(begun_ + SinceBegin(turn.request));
        if (!turn.request.IsWhole())
            return Reply{.isWhole = false};
        RemoteClient& client = clients_[turn.participant];
        Reply reply{.request = RequestFor(turn, client, numbers)};
        constexpr uint32_t kDefaultMs = VESK_VIDEO_SYNC_TIMEOUT;
        reply.outcome = client.Send(turn.request.number, reply.request, turn.request.isSynchronous,
                                    turn.request.timeoutMs != 0 ? turn.request.timeoutMs : kDefaultMs);
        if (turn.end && reply.outcome->platformResult != turn.PlatformResult()) {
            const Decoded sent = decoder_.Decode({Direction::kRequest, turn.request.number, reply.request});
            if (const Failure failure = NoAnswer(std::string(sent.name), *reply.outcome);
                failure.status == kNoService)
                throw Failure(failure);
        }
        return reply;
    }

    std::vector<const Event*> TakeUnrecorded(size_t) override { return {}; }

    Clock::time_point Deadline(size_t, std::chrono::nanoseconds) const override
    {
        return Clock::now() + wait_;
    }

    std::optional<Arrived> Next(size_t participant, Clock::time_point deadline) override
    {
        const auto left = std::chrono::ceil<milliseconds>(deadline - Clock::now());
        return left.count() > 0 ? clients_[participant].Next(left) : std::nullopt;
    }

    /// What comes without a pause, for a few seconds at the most.
    std::vector<Arrived> TakeArrived(size_t participant) override
    {
        constexpr milliseconds kMoment(50);
        const Clock::time_point end = Clock::now() + std::chrono::seconds(5);
        std::vector<Arrived> all;
        while (auto arrived = clients_[participant].Next(kMoment)) {
            all.push_back(std::move(*arrived));
            if (Clock::now() >= end)
                break;
        }
        return all;
    }

    bool LeavesBefore(size_t, Clock::time_point) const override { return false; }

private:
    std::chrono::nanoseconds SinceBegin(const Event& event) const
    {
        const auto ns = static_cast<int64_t>(event.monotonicNs - conversation_.turns[0].request.monotonicNs);
        return std::chrono::nanoseconds(static_cast<int64_t>(static_cast<double>(ns) / speed_));
    }

    /// The request with this run's numbers and the name of the client that sends it.
    Bytes RequestFor(const Turn& turn, const RemoteClient& client, Numbers& numbers)
    {
        const Message recorded{Direction::kRequest, turn.request.number, turn.request.data};
        if (turn.request.number == VESK_VIDEO_MSG_CREATE_QUEUE)
            CreateQueue(turn, decoder_.Decode(recorded), numbers);
        Bytes data = numbers.Translate(decoder_, recorded);
        VeskVideoInitInfo info{};
        if (turn.request.number == VESK_VIDEO_MSG_INIT &&
            data.size() == sizeof(VeskVideoMsgHead) + sizeof info) {
            std::memcpy(info.procName, client.Name().c_str(), client.Name().size());
            std::memcpy(info.taskName, kOwnTaskName, sizeof kOwnTaskName);
            std::memcpy(data.data() + sizeof(VeskVideoMsgHead), &info, sizeof info);
        }
        return data;
    }

    /// Stands for the queue that the application had created before it told the service.
    void CreateQueue(const Turn& turn, const Decoded& request, Numbers& numbers)
    {
        const std::optional<uint64_t> recorded = NumberIn(request, kQueueIdentity);
        if (!recorded || !turn.end || !turn.end->HasMessage() ||
            decoder_.Decode(turn.end->Message()).result != VESK_VIDEO_OK)
            return;
        OsMemQueReq description{"", 1, 2000};
        std::snprintf(description.name, sizeof description.name, "replay_%u", ++queues_);
        uint32_t created = 0;
        if (const uint32_t result = OsShmAdvancedBuffCreateQueue(&description, &created); result != 0)
            throw Failure(kFailed, "a queue cannot be created: " + ResultText(result));
        numbers.Learn(kQueueIdentity, *recorded, created);
    }

    const Decoder& decoder_;
    const Conversation& conversation_;
    double speed_;
    milliseconds wait_;
    std::deque<RemoteClient> clients_; ///< By participant.
    Clock::time_point begun_;
    uint32_t queues_ = 0;
};

} // namespace

std::unique_ptr<Rerun> RerunAtService(const std::string& service, const Decoder& decoder,
                                      const Conversation& conversation, double speed, milliseconds wait)
{
    return std::make_unique<ServiceRerun>(service, decoder, conversation, speed, wait);
}

} // namespace vesk::ctl
