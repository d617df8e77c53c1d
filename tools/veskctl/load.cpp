// What a service has to do in an interval: requests, answers and notifications, in bounded memory.
#include "tools/veskctl/load.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace vesk::ctl {

using namespace recording;
using decoder::Decoded;

namespace {

/// The tally of a subject. Once there are many, what is new is counted together.
Tally& TallyOf(Tallies& tallies, Subject&& subject)
{
    constexpr size_t kMost = 512;
    if (tallies.size() >= kMost && !tallies.contains(subject))
        subject = {Kind::kNote, "others", 0};
    return tallies[std::move(subject)];
}

void CountAnswer(Tally& tally, const Event& answer)
{
    constexpr size_t kMost = 64;
    VeskVideoMsgHead head{};
    const bool isWhole = answer.data.size() >= sizeof head;
    if (isWhole)
        std::memcpy(&head, answer.data.data(), sizeof head);
    const uint32_t result = answer.platformResult != 0 ? answer.platformResult : head.uwSubMsgID;
    const bool hasResult = isWhole || answer.platformResult != 0;
    if (hasResult && (tally.results.size() < kMost || tally.results.contains(result)))
        ++tally.results[result];
    else
        ++tally.otherResults;
}

void CountNotification(Tally& tally, const Exchange& exchange)
{
    const bool isDropped =
        exchange.end && (exchange.end->platformResult != 0 || !exchange.end->comment.empty());
    ++(isDropped ? tally.dropped : tally.sent);
}

void CountRequest(Tally& tally, const Exchange& exchange)
{
    const Event& end = exchange.end ? *exchange.end : exchange.begin;
    ++tally.requests;
    if (end.kind == Kind::kAnswer)
        CountAnswer(tally, end);
    else if (exchange.begin.isSynchronous)
        ++tally.unanswered;
    const bool isHandled = end.kind == Kind::kAnswer || (exchange.end && !exchange.begin.isSynchronous);
    if (isHandled && end.durationNs != 0)
        tally.durations.Add(end.durationNs);
}

} // namespace

void LoadMeter::Add(Event&& event)
{
    if (const std::optional<Exchange> exchange = joiner_.Add(std::move(event)))
        Count(*exchange);
}

// What was lost may have been the end of a request that is waiting. If it was not, its answer still counts.
void LoadMeter::AddLost(uint64_t lost)
{
    load_.lost += lost;
    joiner_ = {};
}

Load LoadMeter::Take()
{
    load_.waiting = isFiltered_ ? 0 : joiner_.Open();
    return std::exchange(load_, {});
}

bool LoadMeter::Matches(const Exchange& exchange) const
{
    if (!isFiltered_)
        return true;
    const Decoded message = decoder_.Decode(exchange.begin.Message());
    if (!exchange.end || !exchange.end->HasMessage())
        return filter_.Matches(message);
    const Decoded answer = decoder_.Decode(exchange.end->Message());
    return filter_.Matches(message, &answer);
}

void LoadMeter::Count(const Exchange& exchange)
{
    const Event& begin = exchange.begin;
    const bool isNotification = begin.kind == Kind::kNotification;
    const bool isRequest = begin.kind == Kind::kRequest || begin.kind == Kind::kAnswer;
    if ((!isNotification && !isRequest) || !Matches(exchange))
        return;
    const Kind kind = isNotification ? Kind::kNotification : Kind::kRequest;
    const auto direction = isNotification ? decoder::Direction::kNotification : decoder::Direction::kRequest;
    const std::string_view name = decoder_.Describe(direction, begin.number).name;
    for (Tally* tally :
         {&load_.all, &TallyOf(load_.applications, {Kind::kNote, begin.program, begin.process}),
          &TallyOf(load_.messages, {kind, std::string(name), begin.number})})
        (isNotification ? CountNotification : CountRequest)(*tally, exchange);
}

} // namespace vesk::ctl
