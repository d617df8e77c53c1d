// Fault rules: what goes wrong with which messages.
#include "service/faults.h"

#include "service/log.h"
#include "vesk_service/control_list.h"

#include <cinttypes>
#include <iterator>

namespace vesk::service {

namespace {

using Effect = messages::ControlEffect;

bool IsUsable(const VeskControlFault& rule)
{
    const Effect* effect = messages::FindControlEffect(rule.effect);
    if (!IsValid(rule.match) || effect == nullptr || rule.percent > 100 || rule.reserved != 0 ||
        rule.isRelative > (rule.effect == VESK_CONTROL_EFFECT_LENGTH ? 1 : 0))
        return false;
    const bool isFitting = effect->kind == VESK_CONTROL_ANY || rule.match.kind == VESK_CONTROL_ANY ||
                           rule.match.kind == effect->kind;
    const int64_t most = effect->HighestValue();
    return isFitting && rule.value >= (rule.isRelative != 0 ? -most : 0) && rule.value <= most;
}

void LogHit(uint32_t fault, const VeskControlFault& rule, const MessageView& message)
{
    const Effect& known = *messages::FindControlEffect(rule.effect);
    std::string effect = known.name;
    if (known.HighestValue() != 0)
        effect += (rule.isRelative != 0 && rule.value >= 0 ? " +" : " ") + std::to_string(rule.value);
    LOG(kInfo, "fault %u (%s) hits %s", fault, effect.c_str(), TextOf(message).c_str());
}

} // namespace

void Effects::Change(Bytes& data, size_t randomFrom) const
{
    for (const Alteration& alteration : alterations) {
        if (!alteration.isRandom) {
            const int64_t length =
                alteration.length + (alteration.isRelative ? static_cast<int64_t>(data.size()) : 0);
            data.resize(static_cast<size_t>(std::clamp<int64_t>(length, 0, VESK_VIDEO_MAX_MESSAGE_SIZE)));
            continue;
        }
        std::mt19937_64 engine(alteration.seed);
        for (size_t i = randomFrom; i < data.size(); ++i)
            data[i] = static_cast<std::byte>(engine());
    }
}

Result Faults::Add(const VeskControlFault& rule, uint32_t* fault)
{
    if (!IsUsable(rule))
        return VESK_SERVICE_ERR_VALUE;
    if (rules_.size() >= VESK_CONTROL_MAX_FAULTS)
        return VESK_SERVICE_ERR_ROOM;
    *fault = last_ + 1;
    rules_.emplace(*fault, Rule{{*fault, 0, 0, 0, rule}, std::mt19937_64(rule.seed)});
    last_ = *fault;
    return kOk;
}

Result Faults::List(Bytes* states)
{
    const std::vector<VeskControlFaultState> all = States();
    const auto bytes = std::as_bytes(std::span(all));
    states->assign(bytes.begin(), bytes.end());
    return kOk;
}

std::vector<VeskControlFaultState> Faults::States() const
{
    std::vector<VeskControlFaultState> states;
    for (const auto& [number, rule] : rules_)
        states.push_back(rule.state);
    return states;
}

Result Faults::Clear(Argument<"fault"> fault)
{
    const size_t before = rules_.size();
    std::erase_if(rules_, [fault](const auto& entry) { return fault == 0 || entry.first == fault; });
    return fault == 0 || rules_.size() != before ? kOk : Result{VESK_SERVICE_ERR_NUMBER};
}

void Faults::Reset()
{
    rules_.clear();
    last_ = 0;
}

bool Faults::Rule::Hits(const MessageView& message)
{
    const VeskControlFault& rule = state.rule;
    const VeskControlKind only = messages::FindControlEffect(rule.effect)->kind;
    if ((only != VESK_CONTROL_ANY && only != message.kind) || !Matches(rule.match, message) ||
        ++state.matches <= rule.after || (rule.count != 0 && state.hits == rule.count))
        return false;
    if (rule.every > 1 && (state.matches - rule.after) % rule.every != 0)
        return false;
    if (engine() % 100 >= (rule.percent != 0 ? rule.percent : 100))
        return false;
    ++state.hits;
    return true;
}

Effects Faults::Apply(const MessageView& message)
{
    Effects effects;
    for (auto& [number, rule] : rules_) {
        if (!rule.Hits(message))
            continue;
        const VeskControlFault& fault = rule.state.rule;
        LogHit(number, fault, message);
        switch (fault.effect) {
        case VESK_CONTROL_EFFECT_RESULT:
            effects.result = static_cast<Result>(fault.value);
            break;
        case VESK_CONTROL_EFFECT_DELAY:
            effects.delayMs += static_cast<uint64_t>(fault.value);
            break;
        case VESK_CONTROL_EFFECT_CLOSE:
            effects.fate = Effects::Fate::kClosed;
            break;
        case VESK_CONTROL_EFFECT_NO_ANSWER:
        case VESK_CONTROL_EFFECT_DROP:
            effects.fate = Effects::Fate::kNone;
            break;
        case VESK_CONTROL_EFFECT_LENGTH:
            effects.alterations.push_back({.isRelative = fault.isRelative != 0, .length = fault.value});
            break;
        case VESK_CONTROL_EFFECT_GARBAGE:
            effects.alterations.push_back({.isRandom = true, .seed = rule.engine()});
            break;
        case VESK_CONTROL_EFFECT_DUPLICATE:
            ++effects.copies;
            break;
        case VESK_CONTROL_EFFECT_DIE:
            die();
            break;
        default:
            break;
        }
    }
    return effects;
}

} // namespace vesk::service
