// Which messages a fault rule, or a step of a scenario, is about.
#include "service/match.h"

#include "service/clients.h"
#include "vesk_service/control_list.h"

#include <cstring>

namespace vesk::service {

namespace {

constexpr uint32_t kAnyNumber = VESK_CONTROL_ANY_NUMBER;

std::span<const VeskControlCondition> ConditionsOf(const VeskControlMatch& match)
{
    return {match.condition, match.conditions};
}

} // namespace

std::string TextOf(const MessageView& message)
{
    const auto nameIn = [](const auto* listed) {
        return listed != nullptr ? listed->name : "an unknown message";
    };
    const bool isRequest = message.kind == VESK_CONTROL_OF_REQUEST;
    std::string text = isRequest ? nameIn(messages::FindRequest(message.number))
                                 : nameIn(messages::FindNotification(message.number));
    text += " (" + std::to_string(message.number) + (isRequest ? ") from " : ") to ");
    return text.append(message.procName);
}

bool IsValid(const VeskControlMatch& match)
{
    const std::string_view procName = TextIn(match.procName);
    if (match.kind > VESK_CONTROL_OF_NOTIFICATION || match.conditions > VESK_CONTROL_MAX_CONDITIONS ||
        match.reserved != 0)
        return false;
    if ((match.number != kAnyNumber && messages::IsControl(match.number)) ||
        (!procName.empty() && !IsClientName(procName)))
        return false;
    const auto conditions = ConditionsOf(match);
    return std::all_of(conditions.begin(), conditions.end(), [](const VeskControlCondition& condition) {
        return condition.size >= 1 && condition.size <= sizeof condition.bytes &&
               condition.offset <= VESK_VIDEO_MAX_MESSAGE_SIZE - condition.size;
    });
}

bool Matches(const VeskControlMatch& match, const MessageView& message)
{
    const std::string_view procName = TextIn(match.procName);
    if ((match.kind != VESK_CONTROL_ANY && match.kind != message.kind) ||
        (match.number != kAnyNumber && match.number != message.number) ||
        (!procName.empty() && procName != message.procName))
        return false;
    const auto conditions = ConditionsOf(match);
    return std::all_of(conditions.begin(), conditions.end(), [&](const VeskControlCondition& condition) {
        return size_t{condition.offset} + condition.size <= message.data.size() &&
               std::memcmp(&message.data[condition.offset], condition.bytes, condition.size) == 0;
    });
}

} // namespace vesk::service
