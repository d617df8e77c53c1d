// Where the fields of a message lie.
#include "decoder/locate.h"

#include "base/nearest.h"

#include <algorithm>
#include <cstring>

namespace vesk::decoder {

namespace {

using messages::Kind;

constexpr size_t kHeadSize = sizeof(VeskVideoMsgHead);
constexpr size_t kMostPayload = VESK_VIDEO_MAX_MESSAGE_SIZE - kHeadSize;

/// Follows the path of one field.
class Locator {
public:
    Locator(const Listing& listing, const RecordType* record, std::string_view path)
        : listing_(listing), record_(record), path_(path)
    {
    }

    Place Locate()
    {
        const auto argument = std::find_if(listing_.arguments.begin(), listing_.arguments.end(),
                                           [&](const HeaderArgument& known) { return known.name == path_; });
        if (argument != listing_.arguments.end())
            return PlaceOf(listing_, *argument);
        place_.offset = kHeadSize;
        if (listing_.form == nullptr)
            Fail(path_ + ": expected an argument in the header");
        else
            InPayload(*listing_.form);
        return std::move(place_);
    }

private:
    void Fail(std::string problem) { place_.problem = std::move(problem); }

    void HasNoSuchField(const std::vector<std::string_view>& known)
    {
        Fail(NoSuchField(listing_, path_, known));
    }

    void InPayload(const messages::Form& form)
    {
        if (form.kind == Kind::kArray)
            return InEntry(form);
        const bool isOneName = path_.find_first_of(".[") == path_.npos;
        const std::vector<std::string_view> names = FieldNames(record_);
        const bool isField = std::find(names.begin(), names.end(), path_) != names.end();
        if (form.name[0] != '\0')
            IsWhole(form.name, ElementKind::kUnsigned, form.size);
        else if (form.kind == Kind::kText)
            IsWhole("text", ElementKind::kText, form.size, form.size - 1);
        else if (form.kind == Kind::kBytes && path_ == "data" && !isField)
            IsOpen(kMostPayload, record_ == nullptr ? path_ : "");
        else if (record_ == nullptr || (isOneName && path_ != "rest" && !isField))
            HasNoSuchField(names);
        else if (path_ == "rest")
            IsRest(form);
        else
            InRecord(*record_, path_);
    }

    /// The payload is one value.
    void IsWhole(std::string_view name, ElementKind kind, size_t size, uint64_t limit = UINT64_MAX)
    {
        if (path_ != name)
            return HasNoSuchField({name});
        place_.path = place_.name = name;
        place_.kind = kind;
        place_.size = size;
        place_.limit = limit;
    }

    /// Bytes, as many as there are.
    void IsOpen(size_t most, const std::string& path)
    {
        place_.path = path;
        place_.isOpaque = place_.isOpen = true;
        place_.size = most;
    }

    /// What follows a record; a notification may be longer than it.
    void IsRest(const messages::Form& form)
    {
        place_.offset += record_->size;
        IsOpen(listing_.direction == Direction::kNotification
                   ? kMostPayload - record_->size
                   : std::max(form.size, record_->size) - record_->size,
               path_);
    }

    void InEntry(const messages::Form& form)
    {
        std::string_view path = path_;
        if (!path.starts_with('['))
            return HasNoSuchField(FieldNames(record_));
        if (!TakeIndex(path, MostEntries(form), form.size))
            return;
        place_.entry = (place_.offset - kHeadSize) / form.size;
        if (!path.starts_with('.') || record_ == nullptr)
            return Fail(path_ + ": expected a field of an entry, as in [0].serviceData");
        path.remove_prefix(1);
        if (path != "rest")
            return InRecord(*record_, path);
        place_.offset += record_->size;
        IsOpen(form.size - record_->size, place_.path + ".rest");
    }

    /// Follows @p path, which begins at a field of @p record.
    void InRecord(const RecordType& record, std::string_view path)
    {
        const std::string_view name = path.substr(0, path.find_first_of(".["));
        const auto field =
            std::find_if(record.fields.begin(), record.fields.end(), [&](const RecordField& known) {
                return name == known.name || (known.isArray && name == known.name + 's');
            });
        if (field == record.fields.end())
            return Fail(path_ + ": " + record.name + " has no field '" + std::string(name) + "'" +
                        Nearest(name, FieldNames(&record)));
        path.remove_prefix(name.size());
        place_.offset += field->offset;
        place_.path += (place_.path.empty() ? "" : ".") + field->name;
        const bool hasIndex = path.starts_with('[');
        if (hasIndex && !field->isArray)
            return Fail(path_ + ": " + field->name + " is no array");
        const std::string whole = place_.path;
        if (hasIndex && !TakeIndex(path, field->count, field->ElementSize()))
            return;
        if (field->isArray && !hasIndex && (field->kind == ElementKind::kRecord || !path.empty()))
            return Fail(path_ + " is an array of " + std::to_string(field->count) +
                        "; expected an index, as in " + field->name + "[0]");
        if (field->kind == ElementKind::kRecord) {
            if (!path.starts_with('.'))
                return Fail(path_ + " is a " + field->record->name + "; expected one of its fields");
            return InRecord(*field->record, path.substr(1));
        }
        if (!path.empty())
            return Fail(path_ + ": " + std::string(name) + " has no fields");
        if (field->isOpaque) // is decoded as one value
            place_.path = whole;
        place_.name = field->name;
        place_.record = record.name;
        place_.kind = field->kind;
        place_.isOpaque = field->isOpaque && !hasIndex;
        place_.isArray = field->isArray && !hasIndex;
        place_.count = hasIndex ? 1 : field->count;
        place_.size = hasIndex ? field->ElementSize() : field->size;
        if (field->kind == ElementKind::kText)
            place_.limit = field->size;
    }

    /// Takes "[3]" from the start of @p path. @return false if there is no such element
    bool TakeIndex(std::string_view& path, size_t count, size_t size)
    {
        const size_t end = path.find(']');
        const auto index = end == path.npos ? std::nullopt : ParseSigned(path.substr(1, end - 1));
        if (!index || *index < 0 || static_cast<uint64_t>(*index) >= count) {
            Fail(path_ + ": expected an index from 0 to " + std::to_string(count - 1));
            return false;
        }
        path.remove_prefix(end + 1);
        place_.offset += static_cast<size_t>(*index) * size;
        place_.path += '[' + std::to_string(*index) + ']';
        return true;
    }

    const Listing& listing_;
    const RecordType* record_;
    const std::string path_;
    Place place_;
};

} // namespace

bool Place::Holds(BytesView bytes) const
{
    if (!problem.empty())
        return false;
    uint64_t number = 0;
    if (isOpaque)
        return bytes.size() <= size;
    if (kind == ElementKind::kText) {
        const auto end = std::find(bytes.begin(), bytes.end(), std::byte{0});
        const auto length = static_cast<size_t>(end - bytes.begin());
        return length <= limit && bytes.size() == std::min(length + 1, size);
    }
    if (bytes.size() != size || isArray || size > sizeof number)
        return false;
    std::memcpy(&number, bytes.data(), size); // little-endian, like all machines that this runs on
    return kind != ElementKind::kUnsigned || number <= std::min<uint64_t>(limit, mostEntries);
}

Place PlaceOf(const Listing& listing, const HeaderArgument& argument)
{
    const messages::Form* form = listing.form;
    Place place;
    place.path = place.name = argument.name;
    place.offset = argument.offset;
    place.kind = argument.isSigned ? ElementKind::kSigned : ElementKind::kUnsigned;
    place.size = argument.isSigned ? sizeof(int32_t) : argument.size;
    place.limit = argument.limit;
    if (listing.direction != Direction::kAnswer && form != nullptr && form->kind == Kind::kArray &&
        form->count == argument.field)
        place.mostEntries = MostEntries(*form);
    return place;
}

size_t MostEntries(const messages::Form& form)
{
    return kMostPayload / form.size;
}

std::vector<std::string_view> FieldNames(const RecordType* record)
{
    std::vector<std::string_view> names;
    if (record != nullptr) {
        for (const RecordField& field : record->fields)
            names.push_back(field.name);
    }
    return names;
}

std::string NoSuchField(const Listing& listing, std::string_view path, std::vector<std::string_view> known)
{
    for (const HeaderArgument& argument : listing.arguments) {
        if (argument.isListed)
            known.push_back(argument.name);
    }
    std::string list;
    for (const std::string_view name : known)
        list += (list.empty() ? "" : ", ") + std::string(name);
    const std::string nearest = Nearest(path, known);
    return std::string(listing.name) + " has no field '" + std::string(path) + "'" +
           (!nearest.empty() ? nearest
            : known.empty()  ? "; it has none"
                             : "; it has " + list);
}

Place Decoder::Locate(const Listing& listing, std::string_view path) const
{
    return Locator(listing, listing.form != nullptr ? PayloadRecord(listing) : nullptr, path).Locate();
}

} // namespace vesk::decoder
