// Which messages a user wants to see.
#include "decoder/filter.h"

#include "base/error.h"
#include "decoder/text.h"

#include <algorithm>

#include <fnmatch.h>

namespace vesk::decoder {

namespace {

bool IsPattern(std::string_view text)
{
    return text.find_first_of("*?") != text.npos;
}

bool FitsPattern(const std::string& pattern, std::string_view text)
{
    return fnmatch(pattern.c_str(), std::string(text).c_str(), FNM_CASEFOLD) == 0;
}

} // namespace

Filter::Filter(const Decoder& decoder, const std::vector<std::string>& terms) : decoder_(&decoder)
{
    for (const std::string& term : terms) {
        if (term.find('=') != term.npos) {
            conditions_.push_back(ParseAssignment(term));
            continue;
        }
        // A number of neither is allowed: the message may be from a later version.
        if (!IsPattern(term) && !ParseNumber(term) && FindNotification(term) == nullptr)
            RequestNamed(term);
        names_.push_back(term);
    }
}

Filter Filter::OfNotifications(const Decoder& decoder, const std::vector<std::string>& terms)
{
    for (const std::string& term : terms) {
        if (term.find('=') == term.npos && !IsPattern(term) && !ParseNumber(term))
            NotificationNamed(term);
    }
    return Filter(decoder, terms);
}

bool Filter::Matches(const Decoded& message, const Decoded* answer) const
{
    return (names_.empty() || HasName(message)) &&
           std::all_of(conditions_.begin(), conditions_.end(), [&](const Assignment& condition) {
               return HasValue(message, condition) || (answer != nullptr && HasValue(*answer, condition));
           });
}

bool Filter::HasName(const Decoded& message) const
{
    const bool isNotification = message.direction == Direction::kNotification;
    return std::any_of(names_.begin(), names_.end(), [&](const std::string& name) {
        if (IsPattern(name))
            return FitsPattern(std::string(ShortName(name)), message.name) ||
                   FitsPattern(name, message.function);
        if (const std::optional<uint64_t> number = ParseNumber(name))
            return *number == message.number;
        if (isNotification) {
            const messages::Notification* listed = FindNotification(name);
            return listed != nullptr && listed->number == message.number;
        }
        const messages::Request* listed = FindRequest(name);
        return listed != nullptr && listed->number == message.number;
    });
}

bool Filter::HasValue(const Decoded& message, const Assignment& condition) const
{
    if (condition.path == "result")
        return message.direction == Direction::kAnswer && FindResult(condition.value) == message.result;
    return std::any_of(message.fields.begin(), message.fields.end(), [&](const Field& field) {
        if (field.path != condition.path && field.LastName() != condition.path)
            return false;
        if (const std::string* text = std::get_if<std::string>(&field.value))
            return FitsPattern(condition.value, *text);
        if (const uint64_t* number = std::get_if<uint64_t>(&field.value)) {
            if (ParseNumber(condition.value) == *number)
                return true;
        }
        return condition.value == ValueText(*decoder_, field) ||
               condition.value == decoder_->ValueName(field);
    });
}

} // namespace vesk::decoder
