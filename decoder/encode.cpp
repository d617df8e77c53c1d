// From names and fields to a message.
#include "base/error.h"
#include "decoder/decoder.h"

#include <algorithm>
#include <charconv>
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

template <class Number>
std::optional<Number> ParseWhole(std::string_view text)
{
    Number number{};
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return error == std::errc() && stop == end ? std::optional(number) : std::nullopt;
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

Range RangeOf(const HeaderArgument& argument)
{
    return {argument.isSigned ? sizeof(int32_t) : argument.size, argument.isSigned, argument.limit};
}

/// The number that a value of a field @p name stands for.
uint64_t Integer(const Decoder& decoder, const Assignment& assignment, std::string_view name,
                 const Range& range)
{
    std::optional<uint64_t> number = ParseNumber(assignment.value);
    if (!number)
        number = decoder.NamedValue(name, assignment.value);
    if (number && *number <= range.highest)
        return *number;
    const std::optional<int64_t> negative = ParseWhole<int64_t>(assignment.value);
    if (!number && negative && *negative >= range.lowest)
        return static_cast<uint64_t>(*negative);
    Refuse(assignment, range.Text());
}

Bytes HexOf(const Assignment& assignment)
{
    try {
        return ParseHex(assignment.value);
    } catch (const Error& error) {
        throw Error(assignment.path + '=' + error.what());
    }
}

/// Puts the fields of a payload into its bytes.
class Writer {
public:
    Writer(const Decoder& decoder, std::span<std::byte> payload) : decoder_(decoder), payload_(payload) {}

    /// Follows @p path, which begins at a field of @p record, and stores the value there.
    void Write(const RecordType& record, size_t offset, std::string_view path, const Assignment& assignment)
    {
        const size_t nameEnd = std::min(path.find_first_of(".["), path.size());
        const std::string_view name = path.substr(0, nameEnd);
        const auto field =
            std::find_if(record.fields.begin(), record.fields.end(), [&](const RecordField& known) {
                return name == known.name || (known.isArray && name == known.name + 's');
            });
        if (field == record.fields.end()) {
            std::vector<std::string_view> known;
            for (const RecordField& one : record.fields)
                known.push_back(one.name);
            throw Error(assignment.path + ": " + record.name + " has no field '" + std::string(name) + "'" +
                        Nearest(name, known));
        }
        path.remove_prefix(nameEnd);
        offset += field->offset;
        if (path.starts_with('['))
            offset += TakeIndex(path, *field, assignment) * field->ElementSize();
        else if (field->isArray)
            return WriteArray(*field, offset, path, assignment);
        if (field->kind == ElementKind::kRecord) {
            if (!path.starts_with('.'))
                throw Error(assignment.path + " is a " + field->record->name +
                            "; expected one of its fields");
            return Write(*field->record, offset, path.substr(1), assignment);
        }
        if (!path.empty())
            throw Error(assignment.path + ": " + std::string(name) + " has no fields");
        WriteElement(*field, offset, assignment);
    }

    /// Takes "[3]" from the start of @p path.
    static size_t TakeIndex(std::string_view& path, size_t count, const Assignment& assignment)
    {
        const size_t end = path.find(']');
        const auto index = end == path.npos ? std::nullopt : ParseWhole<size_t>(path.substr(1, end - 1));
        if (!index || *index >= count)
            throw Error(assignment.path + ": expected an index from 0 to " + std::to_string(count - 1));
        path.remove_prefix(end + 1);
        return *index;
    }

private:
    static size_t TakeIndex(std::string_view& path, const RecordField& field, const Assignment& assignment)
    {
        if (!field.isArray)
            throw Error(assignment.path + ": " + field.name + " is no array");
        return TakeIndex(path, field.count, assignment);
    }

    /// An array of numbers in full: "1,2,3", or hexadecimal if it is opaque. The rest of it stays 0.
    void WriteArray(const RecordField& field, size_t offset, std::string_view path,
                    const Assignment& assignment)
    {
        if (field.kind == ElementKind::kRecord || !path.empty())
            throw Error(assignment.path + " is an array of " + std::to_string(field.count) +
                        "; expected an index, as in " + field.name + "[0]");
        if (field.isOpaque)
            return WriteBytes(field, offset, assignment);
        std::string_view rest = assignment.value;
        for (size_t i = 0; !rest.empty(); ++i) {
            if (i == field.count)
                Refuse(assignment, "at most " + std::to_string(field.count) + " numbers");
            const size_t end = std::min(rest.find(','), rest.size());
            const Assignment element{assignment.path, std::string(rest.substr(0, end))};
            WriteElement(field, offset + i * field.ElementSize(), element);
            rest.remove_prefix(std::min(end + 1, rest.size()));
        }
    }

    void WriteBytes(const RecordField& field, size_t offset, const Assignment& assignment)
    {
        const Bytes bytes = HexOf(assignment);
        if (bytes.size() > field.size)
            Refuse(assignment, "at most " + SizeText(field.size) + ", not " + std::to_string(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), payload_.begin() + static_cast<std::ptrdiff_t>(offset));
    }

    void WriteElement(const RecordField& field, size_t offset, const Assignment& assignment)
    {
        std::byte* at = &payload_[offset];
        const size_t size = field.ElementSize();
        if (field.kind == ElementKind::kFloat) {
            const std::optional<double> number = ParseWhole<double>(assignment.value);
            if (!number)
                Refuse(assignment, "a number such as 0.25");
            size == sizeof(float) ? Store(at, static_cast<float>(*number)) : Store(at, *number);
        } else if (field.kind == ElementKind::kText) {
            if (assignment.value.size() > size)
                Refuse(assignment, "a text of at most " + std::to_string(size) + " characters");
            std::memcpy(at, assignment.value.data(), assignment.value.size());
        } else {
            const Range range(size, field.kind == ElementKind::kSigned);
            StoreInteger(at, Integer(decoder_, assignment, field.name, range), size);
        }
    }

    const Decoder& decoder_;
    std::span<std::byte> payload_;
};

/// Builds one message.
class Builder {
public:
    Builder(const Decoder& decoder, const Listing& listing, const std::vector<Assignment>& assignments)
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
        switch (listing_.form->kind) {
        case Kind::kRecord:
            return listing_.form->name[0] != '\0' ? WriteNumber(data) : WriteRecord(data);
        case Kind::kArray:
            return WriteEntries(data);
        case Kind::kText:
            return WriteText(data);
        case Kind::kBytes:
            return WriteData(data);
        default:
            if (!payload_.empty())
                throw NoSuchField(*payload_[0], {});
        }
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
            SetField(argument, Integer(decoder_, assignment, argument.name, RangeOf(argument)));
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
                throw Missing(argument.name, RangeOf(argument).Text());
        }
    }

    void WriteRecord(Bytes& data)
    {
        data.resize(kHeadSize + listing_.form->size);
        WriteFields(data);
    }

    void WriteFields(Bytes& data)
    {
        for (const Assignment* assignment : payload_) {
            if (record_ == nullptr)
                throw NoSuchField(*assignment, {});
            if (assignment->path == "rest") {
                WriteRest(data, kHeadSize + record_->size, data.size(), *assignment);
                continue;
            }
            const bool isFirstName = assignment->path.find_first_of(".[") == assignment->path.npos;
            if (isFirstName && !HasField(assignment->path))
                throw NoSuchField(*assignment, FieldNames());
            Writer(decoder_, std::span(data).subspan(kHeadSize))
                .Write(*record_, 0, assignment->path, *assignment);
        }
    }

    /// What follows the fields of a record, up to @p end; a notification may be longer than its record.
    void WriteRest(Bytes& data, size_t offset, size_t end, const Assignment& assignment) const
    {
        const Bytes bytes = HexOf(assignment);
        if (listing_.direction == Direction::kNotification && end == data.size()) {
            end = std::clamp<size_t>(offset + bytes.size(), end, VESK_VIDEO_MAX_MESSAGE_SIZE);
            data.resize(end);
        }
        if (bytes.size() > end - offset)
            Refuse(assignment, "at most " + SizeText(end - offset) + ", not " + std::to_string(bytes.size()));
        std::copy(bytes.begin(), bytes.end(), data.begin() + static_cast<std::ptrdiff_t>(offset));
    }

    void WriteEntries(Bytes& data)
    {
        const messages::Form& form = *listing_.form;
        const size_t most = (VESK_VIDEO_MAX_MESSAGE_SIZE - kHeadSize) / form.size;
        uint64_t count = 0;
        for (const Assignment* assignment : payload_) {
            std::string_view path = assignment->path;
            if (!path.starts_with('['))
                throw NoSuchField(*assignment, FieldNames());
            count = std::max<uint64_t>(count, Writer::TakeIndex(path, most, *assignment) + 1);
        }
        if (listing_.direction != Direction::kAnswer)
            count = EntryCount(form, count);
        if (count > most)
            throw Error(std::string(listing_.name) + ": expected at most " + std::to_string(most) +
                        " entries");
        data.resize(kHeadSize + count * form.size);
        Writer writer(decoder_, std::span(data).subspan(kHeadSize));
        for (const Assignment* assignment : payload_) {
            std::string_view path = assignment->path;
            const size_t index = Writer::TakeIndex(path, most, *assignment);
            if (!path.starts_with('.') || record_ == nullptr)
                throw Error(assignment->path + ": expected a field of an entry, as in [0].serviceData");
            if (path == ".rest") {
                const size_t entry = kHeadSize + index * form.size;
                WriteRest(data, entry + record_->size, entry + form.size, *assignment);
                continue;
            }
            writer.Write(*record_, index * form.size, path.substr(1), *assignment);
        }
    }

    /// The number of entries, which the header holds as well: as given, but no less than there are.
    uint64_t EntryCount(const messages::Form& form, uint64_t entries)
    {
        for (const HeaderArgument& argument : listing_.arguments) {
            if (argument.field != form.count)
                continue;
            if (!set_.contains(form.count))
                SetField(argument, entries);
            const uint64_t count = messages::ValueOf(head_, form.count);
            if (count < entries)
                throw Error(std::string(argument.name) + '=' + std::to_string(count) +
                            ": expected at least " + std::to_string(entries) + ", the number of entries");
            return count;
        }
        return entries;
    }

    void WriteNumber(Bytes& data)
    {
        const messages::Form& form = *listing_.form;
        const Range range(form.size, false);
        const Assignment& number = Only(form.name, range.Text());
        data.resize(kHeadSize + form.size);
        StoreInteger(&data[kHeadSize], Integer(decoder_, number, form.name, range), form.size);
    }

    void WriteText(Bytes& data)
    {
        const size_t longest = listing_.form->size - 1;
        const Assignment& text = Only("text", "a text of at most " + std::to_string(longest) + " characters");
        if (text.value.size() > longest || text.value.find('\0') != text.value.npos)
            Refuse(text, "a text of at most " + std::to_string(longest) + " characters");
        const auto* bytes = reinterpret_cast<const std::byte*>(text.value.c_str());
        data.insert(data.end(), bytes, bytes + text.value.size() + 1);
    }

    void WriteData(Bytes& data)
    {
        if (payload_.size() == 1 && payload_[0]->path == "data") {
            const Bytes bytes = HexOf(*payload_[0]);
            if (bytes.size() > VESK_VIDEO_MAX_MESSAGE_SIZE - kHeadSize)
                throw Error("data: expected at most " + SizeText(VESK_VIDEO_MAX_MESSAGE_SIZE - kHeadSize));
            data.insert(data.end(), bytes.begin(), bytes.end());
        } else if (!payload_.empty()) {
            data.resize(kHeadSize + (record_ != nullptr ? record_->size : 0));
            WriteFields(data);
        }
    }

    /// The one field of a payload that consists of it.
    const Assignment& Only(std::string_view name, const std::string& expected) const
    {
        for (const Assignment* assignment : payload_) {
            if (assignment->path != name)
                throw NoSuchField(*assignment, {name});
        }
        if (payload_.empty())
            throw Missing(name, expected);
        return *payload_[0];
    }

    bool HasField(std::string_view name) const
    {
        const std::vector<std::string_view> names = FieldNames();
        return std::find(names.begin(), names.end(), name) != names.end();
    }

    std::vector<std::string_view> FieldNames() const
    {
        std::vector<std::string_view> names;
        if (record_ != nullptr) {
            for (const RecordField& field : record_->fields)
                names.push_back(field.name);
        }
        return names;
    }

    Error NoSuchField(const Assignment& assignment, std::vector<std::string_view> known) const
    {
        for (const HeaderArgument& argument : listing_.arguments) {
            if (argument.isListed)
                known.push_back(argument.name);
        }
        std::string list;
        for (const std::string_view name : known)
            list += (list.empty() ? "" : ", ") + std::string(name);
        const std::string nearest = Nearest(assignment.path, known);
        return Error(std::string(listing_.name) + " has no field '" + assignment.path + "'" +
                     (!nearest.empty() ? nearest
                      : known.empty()  ? "; it has none"
                                       : "; it has " + list));
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
    return Builder(*this, listing, assignments).Build();
}

Bytes Decoder::EncodeRaw(Direction direction, uint32_t number, const std::vector<Assignment>& assignments,
                         BytesView payload) const
{
    const Listing listing = Describe(direction, number);
    return Builder(*this, listing, assignments).BuildWith(payload);
}

} // namespace vesk::decoder
