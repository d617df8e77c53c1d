// How answers and notifications leave the service: at once, late, altered or not at all.
#include "service/deferred_answer.h"
#include "service/log.h"
#include "service/service.h"
#include "vesk_service/control_list.h"

#include <cstring>
#include <exception>
#include <memory>

namespace vesk::service {

namespace {

Bytes DataBlockOf(const PendingNotification& notification)
{
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(notification.notifyId);
    head.ulParam1 = notification.param1;
    head.ulParam2 = notification.param2;
    Bytes data(sizeof head + notification.payload.size());
    std::memcpy(data.data(), &head, sizeof head);
    std::copy(notification.payload.begin(), notification.payload.end(), data.begin() + sizeof head);
    return data;
}

} // namespace

struct Service::Deferral {
    Watchers& watchers;
    DeferredAnswer deferred;
    std::string text; // of its request
    Watchers::WatchedRequest request;
    bool closes;
    Bytes answer;
    std::vector<PendingNotification> notifications; // of its request, which follow it

    ~Deferral()
    {
        if (deferred.IsDeferred()) // it will not be given any more
            watchers.Unanswered(request);
    }
};

void Service::Defer(OsMsgEnvelope& message, const std::string& text, const Effects& effects,
                    const Watchers::WatchedRequest& request, Bytes answer)
{
    const bool closes = effects.fate == Effects::Fate::kClosed;
    const std::shared_ptr<Deferral> deferral(
        new Deferral{watchers, DeferredAnswer(message), text, request, closes, std::move(answer), {}});
    const bool isDeferred = deferral->deferred.IsDeferred();
    if (isDeferred && effects.fate == Effects::Fate::kNone) {
        deferral->deferred.Abandon();
        watchers.Unanswered(request);
        return;
    }
    deferral->notifications = notifications_.TakeAll();
    size_t bytes = deferral->answer.size();
    for (const PendingNotification& notification : deferral->notifications)
        bytes += sizeof notification + notification.payload.size();
    if (isDeferred && timeline.Add(
                          Timeline::Kind::kAnswer, effects.delayMs, bytes,
                          [this, deferral] { GiveDeferred(*deferral); }, request.sender.process))
        return;
    LOG(kError, "%s: not answered, because too many answers are owed", text.c_str());
    deferral->closes = true;
    GiveDeferred(*deferral);
}

void Service::GiveDeferred(Deferral& deferral)
{
    if (deferral.closes) {
        deferral.deferred.Close();
        watchers.Unanswered(deferral.request);
    } else {
        const uint32_t ret = deferral.deferred.Give(deferral.answer);
        counters.Took(deferral.request.msgId, std::chrono::steady_clock::now() - deferral.request.arrived);
        LOG(kInfo, "%s: answered late: %u", deferral.text.c_str(), ret);
        watchers.Answered(deferral.request, ret, deferral.answer);
    }
    NotifyEach(deferral.notifications);
}

void Service::NotifyEach(const std::vector<PendingNotification>& notifications)
{
    for (const PendingNotification& notification : notifications)
        Notify(notification);
}

uint32_t Service::Notify(const PendingNotification& notification)
{
    if (notification.procName != kEveryClient)
        return NotifyOne(notification.procName, notification) ? 1 : 0;
    uint32_t notified = 0;
    for (const std::string& procName : clients.Names())
        notified += NotifyOne(procName, notification) ? 1 : 0;
    return notified;
}

bool Service::NotifyOne(const std::string& procName, const PendingNotification& notification)
try {
    if (!clients.IsKnown(procName))
        return false;
    const uint32_t notifyId = notification.notifyId;
    Bytes data = DataBlockOf(notification);
    const Effects effects = Trigger({VESK_CONTROL_OF_NOTIFICATION, notifyId, procName, data});
    effects.Change(data, sizeof(VeskVideoMsgHead));
    if (effects.fate != Effects::Fate::kGiven) {
        clients.Drop(procName, notifyId, data);
        return false;
    }
    const auto send = [this, procName, notifyId, copies = effects.copies](std::span<const std::byte> block) {
        uint32_t sent = 0; // a receiver that is full is not tried again
        while (sent < copies && clients.Send(procName, notifyId, block) == 0)
            ++sent;
        return sent != 0;
    };
    if (effects.delayMs == 0)
        return send(data);
    if (timeline.Add(
            Timeline::Kind::kNotification, effects.delayMs, data.size(),
            [send, data, waits = clients.WaitOf(procName)] { send(data); }, clients.ProcessOf(procName)))
        return true;
    LOG(kError, "notification %u to %s dropped: too many are late", notifyId, procName.c_str());
    clients.Drop(procName, notifyId, data);
    return false;
} catch (const std::exception& error) {
    LOG(kError, "notification %u to %s dropped: %s", notification.notifyId, procName.c_str(), error.what());
    clients.Drop(procName, notification.notifyId, {});
    return false;
}

Result Service::SendNotification(std::span<const std::byte> payload, uint32_t* notified)
{
    VeskControlNotification asked;
    if (payload.size() < sizeof asked)
        return VESK_SERVICE_ERR_LENGTH;
    std::memcpy(&asked, payload.data(), sizeof asked);
    payload = payload.subspan(sizeof asked);
    const std::string_view named = TextIn(asked.procName);
    const std::string procName(named.empty() ? kEveryClient : named);
    if (messages::FindNotification(asked.notifyId) == nullptr)
        return VESK_SERVICE_ERR_VALUE;
    if (procName != kEveryClient && !clients.IsKnown(procName))
        return VESK_SERVICE_ERR_NUMBER;
    *notified =
        Notify({procName, asked.notifyId, {payload.begin(), payload.end()}, asked.param1, asked.param2});
    return kOk;
}

} // namespace vesk::service
