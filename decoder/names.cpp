// Names of messages and results, as people write and read them.
#include "decoder/names.h"

#include "base/error.h"
#include "base/nearest.h"
#include "base/text.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>

namespace vesk::decoder {

namespace {

constexpr ResultCode kResultCodes[] = {
#define VESK_RESULT(name, code, meaning, origin) {code, #name, meaning, origin},
#include "decoder/platform_results.def"
#include "vesk_service/results.def"
#include "vesk_video/results.def"
#undef VESK_RESULT
};

void RemovePrefix(std::string_view& text, std::string_view prefix)
{
    if (SameText(text.substr(0, prefix.size()), prefix))
        text.remove_prefix(prefix.size());
}

/// A number that is the whole text, in a base or form.
template <class Number, class Format>
std::optional<Number> Parse(std::string_view text, Format format)
{
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number, format);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
}

template <class Message>
bool HasNumber(const Message& message, std::string_view text)
{
    const std::optional<uint64_t> number = ParseNumber(text);
    return number && *number == message.number;
}

template <class Message>
bool HasName(const Message& message, std::string_view text)
{
    return SameText(text, message.name) || SameText(ShortName(text), ShortName(message.name)) ||
           HasNumber(message, text);
}

template <class Message, size_t count>
const Message* FindIn(const Message (&list)[count], std::string_view text)
{
    const Message* end = list + count;
    const Message* found =
        std::find_if(list, end, [&](const Message& message) { return HasName(message, text); });
    return found != end ? found : nullptr;
}

} // namespace

std::string_view ShortName(std::string_view name)
{
    constexpr std::string_view kSuffix = "_NOTIFY";
    RemovePrefix(name, "VESK_VIDEO_MSG_");
    RemovePrefix(name, "VESK_VIDEO_ON_");
    RemovePrefix(name, "VESK_"); // of control messages: "CONTROL_PLUG"
    if (SameText(name.substr(0, strlen("CONTROL_")), "CONTROL_"))
        return name; // CONTROL_NOTIFY is a name in full
    if (name.size() > kSuffix.size() && SameText(name.substr(name.size() - kSuffix.size()), kSuffix))
        name.remove_suffix(kSuffix.size());
    return name;
}

const messages::Request* FindRequest(std::string_view text)
{
    std::string_view function = text;
    RemovePrefix(function, "VeskVideo");
    for (const messages::Request& request : messages::kRequests) {
        if (HasName(request, text) || SameText(function, request.function + strlen("VeskVideo")))
            return &request;
    }
    return FindIn(messages::kControlRequests, text);
}

const messages::Notification* FindNotification(std::string_view text)
{
    const messages::Notification* notification = FindIn(messages::kNotifications, text);
    return notification != nullptr ? notification : FindIn(messages::kControlNotifications, text);
}

const messages::Request& RequestNamed(std::string_view text)
{
    if (const messages::Request* request = FindRequest(text))
        return *request;
    throw Error("there is no request '" + std::string(text) + "'" + Nearest(ShortName(text), RequestNames()));
}

const messages::Notification& NotificationNamed(std::string_view text)
{
    if (const messages::Notification* notification = FindNotification(text))
        return *notification;
    throw Error("there is no notification '" + std::string(text) + "'" +
                Nearest(ShortName(text), NotificationNames()));
}

std::vector<std::string_view> RequestNames()
{
    std::vector<std::string_view> names;
    for (const messages::Request& request : messages::kRequests)
        names.insert(names.end(), {ShortName(request.name), request.function});
    for (const messages::Request& request : messages::kControlRequests)
        names.push_back(ShortName(request.name));
    return names;
}

std::vector<std::string_view> NotificationNames()
{
    std::vector<std::string_view> names;
    for (const messages::Notification& notification : messages::kNotifications)
        names.push_back(ShortName(notification.name));
    for (const messages::Notification& notification : messages::kControlNotifications)
        names.push_back(ShortName(notification.name));
    return names;
}

std::span<const ResultCode> ResultCodes()
{
    return kResultCodes;
}

std::vector<std::string_view> ResultNames()
{
    std::vector<std::string_view> names;
    for (const ResultCode& known : kResultCodes)
        names.push_back(ResultName(known.code));
    return names;
}

std::string_view ResultName(uint32_t code)
{
    for (const ResultCode& known : kResultCodes) {
        if (known.code == code) {
            std::string_view name = known.name;
            for (const std::string_view prefix :
                 {"VESK_VIDEO_ERR_", "VESK_SERVICE_ERR_", "HOST_MSG_ERR_", "VESK_VIDEO_"})
                RemovePrefix(name, prefix);
            return name;
        }
    }
    return {};
}

std::string ResultText(uint32_t code)
{
    char number[16];
    std::snprintf(number, sizeof number, "0x%x", code);
    const std::string_view name = ResultName(code);
    if (code == VESK_VIDEO_OK)
        return std::string(name);
    return name.empty() ? number : std::string(name) + " (" + number + ")";
}

std::optional<uint32_t> FindResult(std::string_view text)
{
    for (const ResultCode& known : kResultCodes) {
        if (SameText(text, known.name) || SameText(text, ResultName(known.code)))
            return known.code;
    }
    const std::optional<uint64_t> number = ParseNumber(text);
    return number && *number <= UINT32_MAX ? std::optional(static_cast<uint32_t>(*number)) : std::nullopt;
}

std::optional<uint64_t> ParseNumber(std::string_view text)
{
    const bool isHex = text.starts_with("0x") || text.starts_with("0X");
    return isHex ? Parse<uint64_t>(text.substr(2), 16) : Parse<uint64_t>(text, 10);
}

std::optional<int64_t> ParseSigned(std::string_view text)
{
    return Parse<int64_t>(text, 10);
}

std::optional<double> ParseFloat(std::string_view text)
{
    return Parse<double>(text, std::chars_format::general);
}

} // namespace vesk::decoder
