// Which messages a fault or a step of a scenario is about: words to a VeskControlMatch and back.
#include "steering/match.h"

#include "base/error.h"
#include "base/nearest.h"
#include "decoder/text.h"
#include "steering/message.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <cstring>
#include <set>

namespace vesk::steering {

using namespace decoder;

namespace {

constexpr uint32_t kAnyNumber = VESK_CONTROL_ANY_NUMBER;
constexpr size_t kHeadSize = sizeof(VeskVideoMsgHead);

constexpr std::string_view kKindPrefixes[] = {"any:", "request:", "notification:"}; // by VeskControlKind

/// What a match is about.
struct Subject {
    uint32_t kind;
    uint32_t number;
};

/// Removes the prefix of a kind.
std::optional<uint32_t> TakeKind(std::string_view& text)
{
    for (uint32_t kind = 0; kind < std::size(kKindPrefixes); ++kind) {
        if (text.starts_with(kKindPrefixes[kind])) {
            text.remove_prefix(kKindPrefixes[kind].size());
            return kind;
        }
    }
    return std::nullopt;
}

[[noreturn]] void RefuseUnknown(std::string_view name, std::optional<uint32_t> kind)
{
    if (kind == VESK_CONTROL_OF_REQUEST)
        RequestNamed(name);
    if (kind == VESK_CONTROL_OF_NOTIFICATION)
        NotificationNamed(name);
    std::vector<std::string_view> known = RequestNames();
    for (const std::string_view notification : NotificationNames())
        known.push_back(notification);
    throw Error("there is no request or notification '" + std::string(name) + "'" +
                Nearest(ShortName(name), known));
}

/// A "*" or a number of both kinds is of @p unsaidKind unless the text says which.
Subject SubjectOf(std::string_view text, uint32_t unsaidKind)
{
    std::string_view name = text;
    const std::optional<uint32_t> said = TakeKind(name);
    if (name == "*")
        return {said.value_or(unsaidKind), kAnyNumber};
    const auto* request = said != VESK_CONTROL_OF_NOTIFICATION ? FindRequest(name) : nullptr;
    const auto* notification = said != VESK_CONTROL_OF_REQUEST ? FindNotification(name) : nullptr;
    std::optional<uint64_t> number = ParseNumber(name);
    if (request != nullptr)
        number = request->number;
    else if (notification != nullptr)
        number = notification->number;
    if (!number)
        RefuseUnknown(name, said);
    if (*number >= kAnyNumber)
        throw Error(std::string(text) + ": expected a number up to " + std::to_string(kAnyNumber - 1));
    if (messages::IsControl(static_cast<uint32_t>(*number)))
        throw Error(std::string(text) + ": control messages are never matched");
    const bool isOneKind = (request == nullptr) != (notification == nullptr);
    const uint32_t listedKind = request != nullptr ? VESK_CONTROL_OF_REQUEST : VESK_CONTROL_OF_NOTIFICATION;
    return {said.value_or(isOneKind ? listedKind : unsaidKind), static_cast<uint32_t>(*number)};
}

std::string SubjectText(const Subject& subject, uint32_t unsaidKind)
{
    const bool isAny = subject.number == kAnyNumber;
    std::string text = isAny ? "*" : std::to_string(subject.number);
    const auto* request = messages::FindRequest(subject.number);
    const auto* notification = messages::FindNotification(subject.number);
    if (request != nullptr && subject.kind == VESK_CONTROL_OF_REQUEST)
        text = ShortName(request->name);
    if (notification != nullptr && subject.kind == VESK_CONTROL_OF_NOTIFICATION)
        text = ShortName(notification->name);
    if (subject.kind >= std::size(kKindPrefixes) || (!isAny && messages::IsControl(subject.number)))
        return text; // from a service that knows more
    return SubjectOf(text, unsaidKind).kind == subject.kind ? text
                                                            : std::string(kKindPrefixes[subject.kind]) + text;
}

/// What is known about the fields of the subject's messages: of those of both kinds only the header's.
Listing ListingOf(const Decoder& decoder, const Subject& subject)
{
    return decoder.Describe(subject.kind == VESK_CONTROL_OF_NOTIFICATION ? Direction::kNotification
                                                                         : Direction::kRequest,
                            subject.kind == VESK_CONTROL_ANY ? kAnyNumber : subject.number);
}

/// Bytes that a data block must have.
struct Piece {
    size_t offset;
    Bytes bytes;
};

/// "@24=01ff"
Piece RawPiece(const Assignment& assignment)
{
    const std::optional<uint64_t> offset = ParseNumber(std::string_view(assignment.path).substr(1));
    const Bytes bytes = ParseHex(assignment.value);
    if (!offset || bytes.size() > VESK_VIDEO_MAX_MESSAGE_SIZE ||
        *offset > VESK_VIDEO_MAX_MESSAGE_SIZE - bytes.size())
        throw Error(assignment.path + '=' + assignment.value + ": expected @OFFSET=HEX within " +
                    std::to_string(VESK_VIDEO_MAX_MESSAGE_SIZE) + " bytes");
    return {*offset, bytes};
}

Piece PieceOf(const Decoder& decoder, const Listing& listing, const Assignment& assignment)
{
    if (assignment.path.starts_with('@'))
        return RawPiece(assignment);
    const Place place = decoder.Locate(listing, assignment.path);
    Bytes bytes = decoder.EncodeValue(listing, place, assignment);
    if (place.path != assignment.path || (place.isOpen && bytes.empty()))
        throw Error(assignment.path + '=' + assignment.value + ": expected the value of one field");
    return {place.offset, std::move(bytes)};
}

/// Refuses fields of a number that two messages have.
void RequireOneKind(const Subject& subject, const std::string& text)
{
    const auto* request = messages::FindRequest(subject.number);
    const auto* notification = messages::FindNotification(subject.number);
    const std::string number = std::to_string(subject.number);
    if (subject.kind == VESK_CONTROL_ANY && request != nullptr && notification != nullptr)
        throw Error(text + " is the request " + std::string(ShortName(request->name)) +
                    " and the notification " + std::string(ShortName(notification->name)) +
                    "; expected a name, request:" + number + " or notification:" + number + " before fields");
}

void AddCondition(VeskControlMatch& match, const Piece& piece, const Assignment& assignment)
{
    if (piece.bytes.empty())
        throw Error(assignment.path + "=: expected at least one byte");
    for (size_t done = 0; done < piece.bytes.size();) {
        if (match.conditions == VESK_CONTROL_MAX_CONDITIONS)
            throw Error(assignment.path + ": a match has at most " +
                        std::to_string(VESK_CONTROL_MAX_CONDITIONS) + " conditions, of at most " +
                        std::to_string(sizeof(VeskControlCondition::bytes)) + " bytes each");
        VeskControlCondition& condition = match.condition[match.conditions++];
        condition.offset = static_cast<uint32_t>(piece.offset + done);
        condition.size = static_cast<uint32_t>(std::min(sizeof condition.bytes, piece.bytes.size() - done));
        std::memcpy(condition.bytes, &piece.bytes[done], condition.size);
        done += condition.size;
    }
}

/// A message of the listed form that ends with the piece, or after it, and has its bytes.
Bytes MessageWith(const Decoder& decoder, const Listing& listing, const Piece& piece)
{
    size_t size = std::max(kHeadSize, piece.offset + piece.bytes.size());
    if (listing.form != nullptr) {
        const RecordType* record = decoder.PayloadRecord(listing);
        const size_t entry = std::max<size_t>(listing.form->size, record != nullptr ? record->size : 0);
        if (listing.form->kind == messages::Kind::kArray)
            size = kHeadSize + (size - kHeadSize + entry - 1) / entry * entry;
        else if (listing.form->kind != messages::Kind::kText)
            size = std::max(size, kHeadSize + entry);
    }
    Bytes data(size);
    std::copy(piece.bytes.begin(), piece.bytes.end(),
              data.begin() + static_cast<std::ptrdiff_t>(piece.offset));
    return data;
}

/// A number or a text as Encode takes it.
std::string PlainValue(const Decoder& decoder, const Field& field)
{
    if (const std::string* text = std::get_if<std::string>(&field.value))
        return *text;
    const std::string_view name = decoder.ValueName(field);
    return name.empty() ? ValueText(decoder, field) : std::string(name);
}

std::string ConditionText(const Decoder& decoder, const Subject& subject, const Listing& listing,
                          const VeskControlCondition& condition)
{
    constexpr size_t kFurthest = 8192; // what is beyond is not worth decoding a message of that size
    const auto* bytes = reinterpret_cast<const std::byte*>(condition.bytes);
    const Piece piece{condition.offset,
                      {bytes, bytes + std::min<size_t>(condition.size, sizeof condition.bytes)}};
    const bool isAmbiguous =
        subject.kind == VESK_CONTROL_ANY && messages::FindRequest(subject.number) != nullptr;
    if (piece.offset < kFurthest && !isAmbiguous) {
        const Bytes data = MessageWith(decoder, listing, piece);
        for (const Field& field : decoder.Decode({listing.direction, listing.number, data}).fields) {
            if (field.offset != piece.offset)
                continue;
            const Place place = decoder.Locate(listing, field.path);
            if (place.path != field.path || place.offset != piece.offset || !place.Holds(piece.bytes))
                continue;
            const Assignment assignment{field.path,
                                        place.isOpaque ? FoldedHex(piece.bytes) : PlainValue(decoder, field)};
            if (decoder.EncodeValue(listing, place, assignment) == piece.bytes) // but for some NaNs
                return assignment.path + '=' + assignment.value;
        }
    }
    return '@' + std::to_string(piece.offset) + '=' + FoldedHex(piece.bytes);
}

} // namespace

VeskControlMatch MatchOf(const Decoder& decoder, std::span<const std::string> words,
                         const std::string& application, uint32_t kind)
{
    if (words.empty())
        throw Error("expected a request, a notification, a number or *");
    const Subject subject = SubjectOf(words[0], kind);
    VeskControlMatch match{};
    match.kind = subject.kind;
    match.number = subject.number;
    StoreApplication(match.procName, application, "--app");
    const Listing listing = ListingOf(decoder, subject);
    std::set<std::string> given;
    for (const std::string& word : words.subspan(1)) {
        const Assignment assignment = ParseAssignment(word);
        if (!given.insert(assignment.path).second)
            throw Error(assignment.path + " is given twice");
        if (!assignment.path.starts_with('@'))
            RequireOneKind(subject, words[0]);
        AddCondition(match, PieceOf(decoder, listing, assignment), assignment);
    }
    return match;
}

std::vector<std::string> MatchWords(const Decoder& decoder, const VeskControlMatch& match, uint32_t kind)
{
    const Subject subject{match.kind, match.number};
    const Listing listing = ListingOf(decoder, subject);
    std::vector<std::string> words{SubjectText(subject, kind)};
    for (size_t i = 0; i < std::min<size_t>(match.conditions, VESK_CONTROL_MAX_CONDITIONS); ++i)
        words.push_back(ConditionText(decoder, subject, listing, match.condition[i]));
    return words;
}

} // namespace vesk::steering
