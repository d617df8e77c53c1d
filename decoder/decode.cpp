// From a message to names and fields.
#include "base/error.h"
#include "base/file.h"
#include "decoder/decoder.h"
#include "decoder/record_text.h"

#include <algorithm>
#include <cstring>

namespace vesk::decoder {

namespace {

using messages::Kind;

constexpr size_t kHeadSize = sizeof(VeskVideoMsgHead);

template <class Number>
Number Load(BytesView bytes)
{
    Number number;
    std::memcpy(&number, bytes.data(), sizeof number);
    return number;
}

uint64_t LoadUnsigned(BytesView bytes)
{
    switch (bytes.size()) {
    case 1:
        return Load<uint8_t>(bytes);
    case 2:
        return Load<uint16_t>(bytes);
    case 4:
        return Load<uint32_t>(bytes);
    default:
        return Load<uint64_t>(bytes);
    }
}

int64_t LoadSigned(BytesView bytes)
{
    switch (bytes.size()) {
    case 1:
        return Load<int8_t>(bytes);
    case 2:
        return Load<int16_t>(bytes);
    case 4:
        return Load<int32_t>(bytes);
    default:
        return Load<int64_t>(bytes);
    }
}

Bytes Copy(BytesView bytes)
{
    return {bytes.begin(), bytes.end()};
}

/// Text up to its NUL, or to the end.
std::string LoadText(BytesView bytes)
{
    const auto end = std::find(bytes.begin(), bytes.end(), std::byte{0});
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<size_t>(end - bytes.begin())};
}

Value LoadElement(const RecordField& field, BytesView bytes)
{
    if (field.isOpaque)
        return Copy(bytes);
    switch (field.kind) {
    case ElementKind::kSigned:
        return LoadSigned(bytes);
    case ElementKind::kFloat:
        return bytes.size() == sizeof(float) ? double{Load<float>(bytes)} : Load<double>(bytes);
    case ElementKind::kText:
        return LoadText(bytes);
    default:
        return LoadUnsigned(bytes);
    }
}

/// Takes one message apart.
class FieldReader {
public:
    FieldReader(BytesView data, Decoder::Zeros zeros, Decoded& out)
        : data_(data), hasFillers_(zeros == Decoder::Zeros::kWithoutFillers), out_(out)
    {
    }

    void ReadArgument(const HeaderArgument& argument)
    {
        const BytesView bytes = data_.subspan(argument.offset, argument.size);
        Value value = LoadUnsigned(bytes);
        if (argument.isSigned) // an int32_t, which a field of 64 bits may hold with or without its sign
            value = int64_t{Load<int32_t>(bytes.first(sizeof(int32_t)))};
        if (!argument.isListed && value == Value(uint64_t{0}))
            return;
        out_.fields.push_back({.path = std::string(argument.name),
                               .value = std::move(value),
                               .offset = argument.offset,
                               .size = argument.size,
                               .isHandle = argument.isHandle});
    }

    /// Reads what is there of a record; what there is of the last field is shown as bytes.
    void ReadRecord(const RecordType& record, const std::string& prefix, size_t offset)
    {
        for (const RecordField& field : record.fields)
            ReadField(record, field, prefix, offset + field.offset);
    }

    void ReadNumber(const messages::Form& form)
    {
        if (data_.size() == kHeadSize + form.size)
            out_.fields.push_back({.path = form.name,
                                   .value = LoadUnsigned(Payload()),
                                   .offset = kHeadSize,
                                   .size = form.size,
                                   .isHandle = std::string_view(form.name).ends_with("Handle")});
        else
            ReadBytes(kHeadSize);
    }

    void ReadText()
    {
        if (!Payload().empty())
            out_.fields.push_back({.path = "text",
                                   .value = LoadText(Payload()),
                                   .offset = kHeadSize,
                                   .size = Payload().size()});
    }

    /// What there is from @p offset on, as bytes.
    void ReadBytes(size_t offset) { Add({.path = "data", .value = {}}, offset, SIZE_MAX); }

    /// What follows the fields of a record, up to @p end.
    void ReadRest(const std::string& prefix, size_t offset, size_t end = SIZE_MAX)
    {
        Add({.path = prefix + "rest", .value = {}, .isFiller = hasFillers_}, offset, end);
    }

    BytesView Payload() const { return data_.subspan(kHeadSize); }

private:
    /// A field of the bytes that there are.
    void Add(Field field, size_t offset, size_t end)
    {
        end = std::min(end, data_.size());
        if (offset >= end)
            return;
        field.offset = offset;
        field.size = end - offset;
        field.value = Copy(data_.subspan(offset, field.size));
        out_.fields.push_back(std::move(field));
    }

    void ReadField(const RecordType& record, const RecordField& field, const std::string& prefix,
                   size_t offset)
    {
        const bool isOneValue = field.isOpaque || !field.isArray;
        const size_t size = isOneValue ? field.size : field.ElementSize();
        for (size_t i = 0; i < (isOneValue ? 1 : field.count) && offset < data_.size(); ++i, offset += size) {
            std::string path = prefix + field.name;
            if (!isOneValue)
                path += '[' + std::to_string(i) + ']';
            if (field.kind == ElementKind::kRecord) {
                ReadRecord(*field.record, path + '.', offset);
                continue;
            }
            const size_t present = std::min(size, data_.size() - offset);
            const BytesView bytes = data_.subspan(offset, present);
            out_.fields.push_back({.path = std::move(path),
                                   .value = present == size ? LoadElement(field, bytes) : Value(Copy(bytes)),
                                   .offset = offset,
                                   .size = present,
                                   .record = record.name,
                                   .isHandle = field.isHandle,
                                   .isFiller = field.isFiller && hasFillers_});
        }
    }

    BytesView data_;
    bool hasFillers_;
    Decoded& out_;
};

std::string Count(size_t count, const char* what)
{
    return std::to_string(count) + ' ' + what + (count == 1 ? "" : "s");
}

/// What is wrong with the payload's length or form.
std::string Problem(const Listing& listing, const Decoded& decoded, BytesView data)
{
    const messages::Form& form = *listing.form;
    const size_t size = data.size() - kHeadSize;
    if (decoded.result != VESK_VIDEO_OK && size == 0)
        return {};
    const std::string has = "the payload has " + Count(size, "byte");
    switch (form.kind) {
    case Kind::kRecord:
        if (size < form.size || (size > form.size && listing.direction != Direction::kNotification))
            return has + " instead of " + std::to_string(form.size);
        return {};
    case Kind::kArray: {
        const uint64_t count =
            listing.direction == Direction::kAnswer
                ? size / form.size
                : messages::ValueOf(Load<VeskVideoMsgHead>(data.first(kHeadSize)), form.count);
        return size % form.size == 0 && size / form.size == count
                   ? std::string()
                   : has + ", not " + std::to_string(count) + " entries of " + Count(form.size, "byte");
    }
    case Kind::kText:
        return size != 0 && size <= form.size && LoadText(data.subspan(kHeadSize)).size() == size - 1
                   ? std::string()
                   : has + ", not a text of at most " + std::to_string(form.size) + " with its NUL";
    case Kind::kBytes:
        return {};
    default:
        return size == 0 ? std::string() : has + " where none is expected";
    }
}

void ReadPayload(FieldReader& reader, const messages::Form& form, const RecordType* record)
{
    const size_t size = reader.Payload().size();
    switch (form.kind) {
    case Kind::kRecord:
        if (form.name[0] != '\0')
            return reader.ReadNumber(form);
        [[fallthrough]];
    case Kind::kBytes:
        if (record == nullptr)
            return reader.ReadBytes(kHeadSize);
        reader.ReadRecord(*record, "", kHeadSize);
        return reader.ReadRest("", kHeadSize + record->size);
    case Kind::kArray:
        if (record == nullptr)
            return reader.ReadBytes(kHeadSize);
        for (size_t i = 0; i * form.size < size; ++i) {
            const size_t offset = kHeadSize + i * form.size;
            const std::string prefix = '[' + std::to_string(i) + "].";
            reader.ReadRecord(*record, prefix, offset);
            reader.ReadRest(prefix, offset + record->size, offset + form.size);
        }
        return;
    case Kind::kText:
        return reader.ReadText();
    default:
        return reader.ReadBytes(kHeadSize);
    }
}

} // namespace

bool Field::IsShown() const
{
    return !isFiller || !IsZero();
}

bool Field::IsZero() const
{
    if (const Bytes* bytes = std::get_if<Bytes>(&value))
        return std::all_of(bytes->begin(), bytes->end(), [](std::byte byte) { return byte == std::byte{0}; });
    return value == Value(uint64_t{0}) || value == Value(int64_t{0}) || value == Value(0.0) ||
           value == Value(std::string());
}

std::string_view Field::LastName() const
{
    std::string_view name = path;
    if (const size_t dot = name.rfind('.'); dot != name.npos)
        name.remove_prefix(dot + 1);
    return name.substr(0, name.find('['));
}

Decoder::Decoder(Peer peer, const std::vector<std::string>& recordFiles, Zeros zeros)
    : peer_(peer), zeros_(zeros)
{
    records_.Read(kRecordText, "records");
    if (peer == Peer::kVirtualService)
        records_.Read(kVirtualServiceViews, "views");
    for (const std::string& path : recordFiles)
        records_.Read(FileContents(path), path);
}

Decoded Decoder::Decode(const Message& message) const
{
    Decoded decoded{message.direction, message.number, {}, {}, 0, {}, {}};
    const Listing listing = Describe(message.direction, message.number);
    decoded.name = listing.name;
    decoded.function = listing.function;
    FieldReader reader(message.data, zeros_, decoded);
    if (message.data.size() < kHeadSize) {
        decoded.problem = "a message of " + Count(message.data.size(), "byte") + " has no header";
        reader.ReadBytes(0);
        return decoded;
    }
    const auto head = Load<VeskVideoMsgHead>(message.data.first(kHeadSize));
    if (message.direction == Direction::kAnswer)
        decoded.result = head.uwSubMsgID;
    for (const HeaderArgument& argument : listing.arguments)
        reader.ReadArgument(argument);
    if (listing.form == nullptr) {
        decoded.problem = "the number is not listed";
        reader.ReadBytes(kHeadSize);
        return decoded;
    }
    ReadPayload(reader, *listing.form, PayloadRecord(listing));
    decoded.problem = Problem(listing, decoded, message.data);
    return decoded;
}

} // namespace vesk::decoder
