// A recording as the exchange between applications and the service that it shows.
#include "tools/recording/conversation.h"

#include "base/error.h"
#include "tools/recording/reader.h"

#include <algorithm>
#include <map>

namespace vesk::recording {

namespace {

/// Puts events together, one after the other.
class Builder {
public:
    explicit Builder(bool isServiceSide) : isServiceSide_(isServiceSide) {}

    void Add(Event&& event)
    {
        const bool isRequest = event.kind == Kind::kRequest;
        if (isRequest || event.kind == Kind::kNotification) {
            if (event.isSent != (isRequest != isServiceSide_)) // seen on the other side
                return;
            const size_t participant = ParticipantOf(event);
            Saw(participant, event);
            if (isRequest)
                Begin(participant, std::move(event));
            else
                LatestNotifications(participant).push_back(std::move(event));
        } else if (event.kind != Kind::kNote) {
            const auto turn = turnOf_.find({event.process, event.exchange});
            if (turn == turnOf_.end() || event.exchange == 0)
                return;
            Turn& ended = conversation_.turns[turn->second];
            Saw(ended.participant, event);
            ended.end = std::move(event);
        }
    }

    Conversation Take() { return std::move(conversation_); }

private:
    size_t ParticipantOf(const Event& event)
    {
        const std::string& name = event.kind == Kind::kRequest ? event.sendProcName : event.recvProcName;
        // The service knows a client by its name alone.
        const auto key = isServiceSide_ ? std::pair(name, 0U) : std::pair(std::string(), event.process);
        const auto [entry, isNew] = participantOf_.emplace(key, conversation_.participants.size());
        if (isNew) {
            conversation_.participants.push_back({event.program, event.process, name, 0});
            early_.emplace_back();
            latest_.emplace_back();
        }
        return entry->second;
    }

    void Saw(size_t participant, const Event& event)
    {
        uint64_t& last = conversation_.participants[participant].lastNs;
        last = std::max(last, event.monotonicNs);
    }

    void Begin(size_t participant, Event&& event)
    {
        const size_t turn = conversation_.turns.size();
        turnOf_[{event.process, event.exchange}] = turn;
        latest_[participant] = turn;
        conversation_.turns.push_back(
            {participant, std::move(event), std::nullopt, std::move(early_[participant])});
        early_[participant].clear();
    }

    std::vector<Event>& LatestNotifications(size_t participant)
    {
        const std::optional<size_t> latest = latest_[participant];
        return latest ? conversation_.turns[*latest].notifications : early_[participant];
    }

    bool isServiceSide_;
    Conversation conversation_;
    std::map<std::pair<std::string, uint32_t>, size_t> participantOf_;
    std::map<std::pair<uint32_t, uint64_t>, size_t> turnOf_; ///< By process and exchange.
    std::vector<std::vector<Event>> early_;                  ///< By participant, before its first request.
    std::vector<std::optional<size_t>> latest_;              ///< By participant.
};

} // namespace

uint32_t Turn::PlatformResult() const
{
    const bool isHandlers = end->kind == Kind::kDone && !request.isSent; // of the service, which has none
    return isHandlers ? 0 : end->platformResult;
}

Conversation ReadConversation(const std::string& path, const OnRead& onRead)
{
    std::vector<Event> events;
    ReadFile(
        path, [&](Event&& event) { events.push_back(std::move(event)); }, onRead);
    Builder builder(std::none_of(events.begin(), events.end(), [](const Event& event) {
        return event.kind == Kind::kRequest && event.isSent;
    }));
    for (Event& event : events)
        builder.Add(std::move(event));
    Conversation conversation = builder.Take();
    if (conversation.turns.empty())
        throw Error(path + ": there is no request in the recording");
    return conversation;
}

} // namespace vesk::recording
