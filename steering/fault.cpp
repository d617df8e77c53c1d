// Fault rules: words to a VeskControlFault and back.
#include "steering/fault.h"

#include "base/error.h"
#include "base/nearest.h"
#include "base/text.h"
#include "base/words.h"
#include "steering/match.h"
#include "vesk_service/control_list.h"

#include <algorithm>

namespace vesk::steering {

using namespace decoder;

namespace {

using messages::ControlValue;
using messages::kControlEffects;
using Effect = messages::ControlEffect;

std::string ValueHelp(ControlValue value)
{
    constexpr const char* kHelp[] = {"", " CODE", " MS", " +N|-N|=N"};
    return kHelp[static_cast<size_t>(value)];
}

const Effect& EffectNamed(const std::string& name)
{
    for (const Effect& effect : kControlEffects) {
        if (effect.name == name)
            return effect;
    }
    const std::string nearest = Nearest(name, EffectNames());
    throw Error("'" + name + "': there is no such effect" +
                (nearest.empty() ? "; expected " + EffectHelp() : nearest));
}

void StoreLength(VeskControlFault& fault, const std::string& text)
{
    const bool hasSign = !text.empty() && std::string_view("+-=").find(text[0]) != std::string_view::npos;
    const std::optional<uint64_t> bytes = ParseNumber(std::string_view(text).substr(hasSign ? 1 : 0));
    if (!hasSign || !bytes || *bytes > VESK_VIDEO_MAX_MESSAGE_SIZE)
        throw Error("length " + text + ": expected +N, -N or =N bytes, of at most " +
                    std::to_string(VESK_VIDEO_MAX_MESSAGE_SIZE));
    fault.isRelative = text[0] != '=';
    fault.value = static_cast<int64_t>(*bytes) * (text[0] == '-' ? -1 : 1);
}

void StoreValue(VeskControlFault& fault, const Effect& effect, const std::string& text)
{
    if (effect.value == ControlValue::kResult) {
        const std::optional<uint32_t> code = FindResult(text);
        if (!code || *code > UINT16_MAX)
            throw Error("result " + text + ": expected a result code or its name");
        fault.value = *code;
    } else if (effect.value == ControlValue::kMilliseconds) {
        const std::optional<uint64_t> ms = ParseNumber(text);
        if (!ms || *ms > VESK_CONTROL_MAX_DELAY_MS)
            throw Error("delay " + text + ": expected milliseconds, 0 to " +
                        std::to_string(VESK_CONTROL_MAX_DELAY_MS));
        fault.value = static_cast<int64_t>(*ms);
    } else {
        StoreLength(fault, text);
    }
}

std::string ValueText(const Effect& effect, const VeskControlFault& fault)
{
    std::string number = std::to_string(fault.value);
    if (effect.value == ControlValue::kResult) {
        const std::string_view name = ResultName(static_cast<uint32_t>(fault.value));
        return name.empty() ? number : std::string(name);
    }
    if (effect.value == ControlValue::kLength)
        return fault.isRelative == 0 ? '=' + number : fault.value < 0 ? number : '+' + number;
    return number;
}

void RequireFitting(const Effect& effect, const VeskControlMatch& match, const std::string& subject)
{
    const std::string name(effect.name);
    const bool isForRequests = effect.kind == VESK_CONTROL_OF_REQUEST;
    if (effect.kind != VESK_CONTROL_ANY && match.kind != VESK_CONTROL_ANY && match.kind != effect.kind)
        throw Error(name + " is an effect of " + (isForRequests ? "requests" : "notifications") + "; " +
                    subject + " is a " + (isForRequests ? "notification" : "request"));
    const messages::Request* request = messages::FindRequest(match.number);
    if (effect.isOfAnswer && match.kind == VESK_CONTROL_OF_REQUEST && request != nullptr &&
        request->answer.kind == messages::Kind::kUnanswered)
        throw Error(name + " is about answers; " + subject + " is asynchronous and has none");
}

} // namespace

std::vector<std::string_view> EffectNames()
{
    std::vector<std::string_view> names;
    for (const Effect& effect : kControlEffects)
        names.push_back(effect.name);
    return names;
}

std::string EffectHelp()
{
    std::string help;
    for (const Effect& effect : kControlEffects)
        help += (help.empty() ? "" : ", ") + std::string(effect.name) + ValueHelp(effect.value);
    return help;
}

VeskControlFault FaultOf(const Decoder& decoder, const std::vector<std::string>& words,
                         const FaultOptions& options)
{
    const auto isCondition = [](const std::string& word) { return word.find('=', 1) != word.npos; };
    const auto matchEnd = std::find_if_not(words.begin() + (words.empty() ? 0 : 1), words.end(), isCondition);
    if (matchEnd == words.end())
        throw Error("expected an effect after the match: " + EffectHelp());
    const Effect& effect = EffectNamed(*matchEnd);
    VeskControlFault fault{};
    fault.match = MatchOf(decoder, {words.begin(), matchEnd}, options.application, effect.kind);
    RequireFitting(effect, fault.match, words[0]);
    fault.effect = effect.number;
    const std::vector<std::string> values(matchEnd + 1, words.end());
    if (values.size() != (effect.value == ControlValue::kNone ? 0 : 1))
        throw Error("expected " + std::string(effect.name) + ValueHelp(effect.value) + ", not " +
                    JoinWords({matchEnd, words.end()}));
    if (!values.empty())
        StoreValue(fault, effect, values[0]);
    fault.after = options.after;
    fault.every = options.every;
    fault.count = options.count;
    fault.percent = options.percent;
    fault.seed = options.seed;
    return fault;
}

std::string FaultText(const Decoder& decoder, const VeskControlFault& fault)
{
    const Effect* effect = messages::FindControlEffect(fault.effect);
    const bool isKnown = effect != nullptr;
    std::vector<std::string> words =
        MatchWords(decoder, fault.match, isKnown ? effect->kind : VESK_CONTROL_ANY);
    words.push_back(isKnown ? std::string(effect->name) : "effect-" + std::to_string(fault.effect));
    if (isKnown && effect->value != ControlValue::kNone)
        words.push_back(ValueText(*effect, fault));
    if (const std::string_view application = TextIn(fault.match.procName); !application.empty())
        words.insert(words.end(), {"--app", std::string(application)});
    const std::pair<const char*, uint64_t> numbers[] = {{"--after", fault.after},
                                                        {"--every", fault.every},
                                                        {"--count", fault.count},
                                                        {"--percent", fault.percent},
                                                        {"--seed", fault.seed}};
    for (const auto& [option, number] : numbers) {
        if (number != 0)
            words.insert(words.end(), {option, std::to_string(number)});
    }
    return JoinWords(words);
}

} // namespace vesk::steering
