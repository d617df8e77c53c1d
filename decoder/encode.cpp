// From names and fields to a message.
#include "base/error.h"
#include "decoder/locate.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <set>

namespace vesk::decoder {

namespace {

using messages::Kind;

constexpr size_t kHeadSize = sizeof(VeskVideoMsgHead);

[[noreturn]] void Refuse(const Assignment& assignment, const std::string& expected)
{
    throw Error(assignment.path + '=' + assignment.value.substr(0, 64) + ": expected " + expected);
}

std::string SizeText(size_t size)
{
    return std::to_string(size) + (size == 1 ? " byte" : " bytes");
}

template <class Number>
void Store(std::byte* at, Number number)
{
    std::memcpy(at, &number, sizeof number);
}

/// The lowest bytes of a number; all that the tools run on is little-endian, as the device is.
void StoreInteger(std::byte* at, uint64_t number, size_t size)
{
    std::memcpy(at, &number, size);
}

/// The integers that a field can hold.
struct Range {
    int64_t lowest = 0;
    uint64_t highest;

    Range(size_t size, bool isSigned, uint64_t limit = UINT64_MAX)
        : highest(std::min(limit, UINT64_MAX >> (64 - size * 8 + (isSigned ? 1 : 0))))
    {
        if (isSigned)
            lowest = std::numeric_limits<int64_t>::min() >> (64 - size * 8);
    }

    std::string Text() const
    {
        return "a number from " + std::to_string(lowest) + " to " + std::to_string(highest);
    }
};

Range RangeOf(const Place& place)
{
    return {place.size / place.count, place.kind == ElementKind::kSigned, place.limit};
}

/// What the value of a field, or of each of its elements, can be.
std::string ExpectedIn(const Place& place)
{
    if (place.kind == ElementKind::kFloat)
        return "a number such as 0.25";
    if (place.kind == ElementKind::kText)
        return "a text of at most " + std::to_string(place.limit) + " characters";
    return RangeOf(place).Text();
}

/// The number that a value stands for.
uint64_t Integer(const Decoder& decoder, const Place& place, const Assignment& assignment)
{
    const Range range = RangeOf(place);
    std::optional<uint64_t> number = ParseNumber(assignment.value);
    if (!number)
        number = decoder.NamedValue(place, assignment.value);
    if (number && *number <= range.highest)
        return *number;
    const std::optional<int64_t> negative = ParseSigned(assignment.value);
    if (!number && negative && *negative >= range.lowest)
        return static_cast<uint64_t>(*negative);
    Refuse(assignment, ExpectedIn(place));
}

Bytes HexOf(const Assignment& assignment)
{
    try {
        return ParseHex(assignment.value);
    } catch (const Error& error) {
        throw Error(assignment.path + '=' + error.what());
    }
}

void RequireEntries(const Listing& listing, uint64_t count, size_t most)
{
    if (count > most)
        throw Error(std::string(listing.name) + ": expected at most " + std::to_string(most) + " entries");
}

Bytes OpaqueBytes(const Place& place, const Assignment& assignment)
{
    Bytes bytes = HexOf(assignment);
    if (bytes.size() > place.size && place.isOpen && assignment.path == "data")
        throw Error("data: expected at most " + SizeText(place.size));
    if (bytes.size() > place.size)
        Refuse(assignment, "at most " + SizeText(place.size) + ", not " + std::to_string(bytes.size()));
    return bytes;
}

/// A text with its NUL, unless it fills its field.
Bytes TextBytes(const Place& place, const Assignment& assignment)
{
    const std::string& text = assignment.value;
    const bool needsNul = place.limit < place.size;
    if (text.size() > place.limit || (needsNul && text.find('\0') != text.npos))
        Refuse(assignment, ExpectedIn(place));
    const BytesView bytes = std::as_bytes(std::span(text.c_str(), std::min(text.size() + 1, place.size)));
    return {bytes.begin(), bytes.end()};
}

void StoreElement(const Decoder& decoder, const Place& place, const Assignment& assignment, std::byte* at)
{
    const size_t size = place.size / place.count;
    if (place.kind != ElementKind::kFloat)
        return StoreInteger(at, Integer(decoder, place, assignment), size);
    const std::optional<double> number = ParseFloat(assignment.value);
    if (!number)
        Refuse(assignment, ExpectedIn(place));
    size == sizeof(float) ? Store(at, static_cast<float>(*number)) : Store(at, *number);
}

/// One number, or those of an array: "1,2,3".
Bytes NumberBytes(const Decoder& decoder, const Place& place, const Assignment& assignment)
{
    if (!place.isArray) {
        Bytes bytes(place.size);
        StoreElement(decoder, place, assignment, bytes.data());
        return bytes;
    }
    const size_t size = place.size / place.count;
    const auto commas = std::count(assignment.value.begin(), assignment.value.end(), ',');
    Bytes bytes(std::min(place.size, size * (static_cast<size_t>(commas) + 1)));
    std::string_view rest = assignment.value;
    for (size_t i = 0; !rest.empty(); ++i) {
        if (i == place.count)
            Refuse(assignment, "at most " + std::to_string(place.count) + " numbers");
        const size_t end = std::min(rest.find(','), rest.size());
        StoreElement(decoder, place, {assignment.path, std::string(rest.substr(0, end))}, &bytes[i * size]);
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return bytes;
}

/// Builds one message.
class MessageBuilder {
public:
    MessageBuilder(const Decoder& decoder, const Listing& listing, const std::vector<Assignment>& assignments)
        : decoder_(decoder), listing_(listing)
    {
        head_.msgId = static_cast<uint16_t>(listing.number);
        if (listing.form != nullptr)
            record_ = decoder.PayloadRecord(listing);
        std::set<std::string_view> given;
        for (const Assignment& assignment : assignments) {
            if (!given.insert(assignment.path).second)
                throw Error(assignment.path + " is given twice");
            if (!WriteArgument(assignment))
                payload_.push_back(&assignment);
        }
    }

    Bytes Build()
    {
        Bytes data(kHeadSize);
        const bool isFailure =
            listing_.direction == Direction::kAnswer && head_.uwSubMsgID != VESK_VIDEO_OK && payload_.empty();
        if (!isFailure)
            WritePayload(data);
        RequireArguments();
        std::memcpy(data.data(), &head_, sizeof head_);
        return data;
    }

    Bytes BuildWith(BytesView payload) const
    {
        if (!payload_.empty())
            throw Error(payload_[0]->path + ": expected an argument in the header");
        Bytes data(kHeadSize + payload.size());
        std::memcpy(data.data(), &head_, sizeof head_);
        std::copy(payload.begin(), payload.end(), data.begin() + kHeadSize);
        return data;
    }

private:
    void WritePayload(Bytes& data)
    {
        const messages::Form& form = *listing_.form;
        const bool isText = form.kind == Kind::kText;
        if (isText || form.name[0] != '\0')
            RequireOnly(isText ? "text" : form.name);
        if (form.kind == Kind::kRecord)
            data.resize(kHeadSize + form.size);
        if (form.kind == Kind::kArray)
            data.resize(kHeadSize + EntryCount(form, GivenEntries()) * form.size);
        for (const Assignment* assignment : payload_)
            WriteField(data, *assignment);
    }

    /// The payload consists of one field.
    void RequireOnly(std::string_view name) const
    {
        for (const Assignment* assignment : payload_) {
            if (assignment->path != name)
                throw Error(NoSuchField(listing_, assignment->path, {name}));
        }
        if (payload_.empty())
            throw Missing(name, ExpectedIn(decoder_.Locate(listing_, name)));
    }

    uint64_t GivenEntries() const
    {
        uint64_t count = 0;
        for (const Assignment* assignment : payload_) {
            const Place place = decoder_.Locate(listing_, assignment->path);
            if (!place.entry)
                throw Error(place.problem);
            count = std::max<uint64_t>(count, *place.entry + 1);
        }
        return count;
    }

    void WriteField(Bytes& data, const Assignment& assignment) const
    {
        const Place place = decoder_.Locate(listing_, assignment.path);
        const bool isData = place.isOpen && assignment.path == "data";
        if (isData && payload_.size() > 1)
            throw Error(NoSuchField(listing_, assignment.path, FieldNames(record_)));
        const Bytes bytes = decoder_.EncodeValue(listing_, place, assignment);
        size_t end = place.offset + bytes.size();
        if (record_ != nullptr && !isData)
            end = std::max(end, kHeadSize + record_->size);
        data.resize(std::max(data.size(), end));
        std::copy(bytes.begin(), bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(place.offset));
    }

    bool WriteArgument(const Assignment& assignment)
    {
        if (listing_.direction == Direction::kAnswer && assignment.path == "result") {
            const std::optional<uint32_t> code = FindResult(assignment.value);
            if (!code || *code > UINT16_MAX)
                Refuse(assignment, "a result code or its name");
            head_.uwSubMsgID = static_cast<uint16_t>(*code);
            return true;
        }
        for (const HeaderArgument& argument : listing_.arguments) {
            if (assignment.path != argument.name)
                continue;
            SetField(argument, Integer(decoder_, PlaceOf(listing_, argument), assignment));
            return true;
        }
        return false;
    }

    void SetField(const HeaderArgument& argument, uint64_t value)
    {
        StoreInteger(reinterpret_cast<std::byte*>(&head_) + argument.offset, value, argument.size);
        set_.insert(argument.field);
    }

    void RequireArguments() const
    {
        for (const HeaderArgument& argument : listing_.arguments) {
            if (argument.isListed && !set_.contains(argument.field))
                throw Missing(argument.name, ExpectedIn(PlaceOf(listing_, argument)));
        }
    }

    /// The number of entries, which the header holds as well: as given, but no less than there are.
    uint64_t EntryCount(const messages::Form& form, uint64_t entries)
    {
        if (listing_.direction == Direction::kAnswer)
            return entries;
        const auto argument = std::find_if(listing_.arguments.begin(), listing_.arguments.end(),
                                           [&](const auto& known) { return known.field == form.count; });
        if (!set_.contains(form.count))
            SetField(*argument, entries);
        const uint64_t count = messages::ValueOf(head_, form.count);
        if (count < entries)
            throw Error(std::string(argument->name) + '=' + std::to_string(count) + ": expected at least " +
                        std::to_string(entries) + ", the number of entries");
        RequireEntries(listing_, count, MostEntries(form));
        return count;
    }

    Error Missing(std::string_view name, const std::string& expected) const
    {
        return Error(std::string(listing_.name) + ": " + std::string(name) + " is missing; expected " +
                     expected);
    }

    const Decoder& decoder_;
    const Listing& listing_;
    const RecordType* record_ = nullptr;
    VeskVideoMsgHead head_{};
    std::set<messages::HeaderField> set_;
    std::vector<const Assignment*> payload_;
};

} // namespace

Bytes Decoder::Encode(Direction direction, uint32_t number, const std::vector<Assignment>& assignments) const
{
    const Listing listing = Describe(direction, number);
    if (listing.form == nullptr)
        throw Error("there is no message " + std::to_string(number));
    return MessageBuilder(*this, listing, assignments).Build();
}

Bytes Decoder::EncodeValue(const Listing& listing, const Place& place, const Assignment& assignment) const
{
    if (!place.problem.empty())
        throw Error(place.problem);
    if (place.isOpaque)
        return OpaqueBytes(place, assignment);
    if (place.kind == ElementKind::kText)
        return TextBytes(place, assignment);
    Bytes bytes = NumberBytes(*this, place, assignment);
    if (place.mostEntries != SIZE_MAX)
        RequireEntries(listing, Integer(*this, place, assignment), place.mostEntries);
    return bytes;
}

Bytes Decoder::EncodeRaw(Direction direction, uint32_t number, const std::vector<Assignment>& assignments,
                         BytesView payload) const
{
    const Listing listing = Describe(direction, number);
    return MessageBuilder(*this, listing, assignments).BuildWith(payload);
}

} // namespace vesk::decoder
