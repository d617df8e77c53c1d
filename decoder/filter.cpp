// Which messages a user wants to see.
#include "decoder/filter.h"

#include "base/error.h"
#include "base/nearest.h"
#include "decoder/text.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <iterator>
#include <set>

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

std::vector<uint32_t> NumbersOf(Direction direction)
{
    std::vector<uint32_t> numbers;
    const auto add = [&numbers](const auto& messages) {
        for (const auto& message : messages)
            numbers.push_back(message.number);
    };
    if (direction == Direction::kNotification) {
        add(messages::kNotifications);
        add(messages::kControlNotifications);
    } else {
        add(messages::kRequests);
        add(messages::kControlRequests);
    }
    return numbers;
}

/// A message in which every field that is known occurs.
Decoded ExampleOf(const Decoder& decoder, Direction direction, uint32_t number)
{
    constexpr size_t kMore = 8; // after what is known, of a payload of any length
    const Listing listing = decoder.Describe(direction, number);
    const RecordType* record = decoder.PayloadRecord(listing);
    const Bytes data(sizeof(VeskVideoMsgHead) +
                         std::max(listing.form->size, record != nullptr ? record->size : 0) +
                         (listing.form->kind == messages::Kind::kBytes ? kMore : 0),
                     std::byte{1}); // fields of the header that carry no argument are shown if they are not 0
    return decoder.Decode({direction, number, data});
}

/// Whether a field can have a value, which may be given as it is shown: "16(PORT_TYPE_NET_CAMERA)".
bool CanBe(const Decoder& decoder, const Field& field, const std::string& value)
{
    if (!std::holds_alternative<uint64_t>(field.value) && !std::holds_alternative<int64_t>(field.value))
        return true;
    const std::string number = value.substr(0, value.find('('));
    Place place;
    place.name = field.LastName();
    place.record = field.record;
    return ParseNumber(number) || ParseSigned(number) || decoder.NamedValue(place, value);
}

/// Refuses a condition that none of the fields can fulfil.
void RequirePossible(const Decoder& decoder, const Assignment& condition, const std::vector<Field>& fields)
{
    if (condition.path == "result") {
        if (!FindResult(condition.value))
            throw Error("result=" + condition.value + ": there is no such result code" +
                        Nearest(condition.value, ResultNames()));
        return;
    }
    if (condition.path.ends_with('!'))
        throw Error(condition.path + '=' + condition.value + ": a value can only be required, with =");
    const Field wanted{.path = condition.path, .value = {}};
    bool isFound = false;
    std::set<std::string_view> known;
    for (const Field& field : fields) {
        known.insert(field.LastName());
        if (field.LastName() != wanted.LastName())
            continue;
        if (CanBe(decoder, field, condition.value))
            return;
        isFound = true;
    }
    if (isFound)
        throw Error(condition.path + '=' + condition.value + ": expected a number");
    throw Error("there is no field '" + condition.path + "' in such messages" +
                Nearest(wanted.LastName(), {known.begin(), known.end()}));
}

} // namespace

Filter::Filter(const Decoder& decoder, const std::vector<std::string>& terms)
    : Filter(decoder, terms, {Direction::kRequest, Direction::kAnswer, Direction::kNotification})
{
}

Filter Filter::OfOneMessage(const Decoder& decoder, const std::vector<std::string>& terms)
{
    return Filter(decoder, terms, {});
}

Filter Filter::OfNotifications(const Decoder& decoder, const std::vector<std::string>& terms)
{
    for (const std::string& term : terms) {
        if (term.find('=') == term.npos && !IsPattern(term) && !ParseNumber(term))
            NotificationNamed(term);
    }
    return Filter(decoder, terms, {Direction::kNotification});
}

Filter::Filter(const Decoder& decoder, const std::vector<std::string>& terms,
               std::initializer_list<Direction> directions)
    : decoder_(&decoder)
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
    if (conditions_.empty())
        return;
    std::vector<Field> fields;
    for (const Direction direction : directions) {
        for (const uint32_t number : NumbersOf(direction)) {
            Decoded message = ExampleOf(decoder, direction, number);
            if (names_.empty() || HasName(message))
                std::move(message.fields.begin(), message.fields.end(), std::back_inserter(fields));
        }
    }
    if (fields.empty()) // of numbers that are not listed
        return;
    for (const Assignment& condition : conditions_)
        RequirePossible(decoder, condition, fields);
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
