// The layouts of records, read from their description as text.
#include "decoder/records.h"

#include "base/error.h"
#include "vesk_video/message.h"

#include <algorithm>
#include <array>
#include <regex>
#include <set>

namespace vesk::decoder {

namespace {

struct Scalar {
    std::string_view type;
    size_t size;
    ElementKind kind;
};

constexpr std::array kScalars = {
    Scalar{"uint8_t", 1, ElementKind::kUnsigned},  Scalar{"uint16_t", 2, ElementKind::kUnsigned},
    Scalar{"uint32_t", 4, ElementKind::kUnsigned}, Scalar{"uint64_t", 8, ElementKind::kUnsigned},
    Scalar{"int8_t", 1, ElementKind::kSigned},     Scalar{"int16_t", 2, ElementKind::kSigned},
    Scalar{"int32_t", 4, ElementKind::kSigned},    Scalar{"int64_t", 8, ElementKind::kSigned},
    Scalar{"float", 4, ElementKind::kFloat},       Scalar{"double", 8, ElementKind::kFloat},
    Scalar{"char", 1, ElementKind::kText},         Scalar{"bool", 1, ElementKind::kUnsigned},
};

bool IsFiller(std::string_view name)
{
    while (!name.empty() && name.back() >= '0' && name.back() <= '9')
        name.remove_suffix(1);
    return name == "padding" || name == "reserved" || name == "serviceData" || name == "bytes";
}

RecordField Opaque(size_t offset, size_t size)
{
    RecordField field;
    field.type = "uint8_t";
    field.name = "bytes" + std::to_string(offset);
    field.offset = offset;
    field.size = field.count = size;
    field.isArray = field.isOpaque = field.isFiller = true;
    return field;
}

/// Sorts the fields and describes the bytes between them.
void FillGaps(RecordType& record)
{
    std::stable_sort(record.fields.begin(), record.fields.end(),
                     [](const RecordField& a, const RecordField& b) { return a.offset < b.offset; });
    std::vector<RecordField> fields;
    size_t end = 0;
    for (RecordField& field : record.fields) {
        if (field.offset > end)
            fields.push_back(Opaque(end, field.offset - end));
        end = std::max(end, field.offset + field.size);
        fields.push_back(std::move(field));
    }
    if (end < record.size)
        fields.push_back(Opaque(end, record.size - end));
    record.fields = std::move(fields);
}

} // namespace

/// One description while it is read; line numbers stay at hand for errors.
class RecordSet::Description {
public:
    Description(RecordSet& set, const std::string& source) : set_(set), source_(source) {}

    void ReadLine(const std::string& line)
    {
        static const std::regex s_record(R"((\w+) has (\d{1,8}) bytes)");
        static const std::regex s_field(R"((\w+): (.*\S) at (\d{1,8}), (\d{1,8}) bytes)");
        static const std::regex s_shown(R"((\w+|\w+ payload|\w+ answer) shown as (\w+))");
        static const std::regex s_blank(R"(\s*(#.*)?)");
        constexpr size_t kLongestLine = 1000;
        ++line_;
        if (line.size() > kLongestLine)
            Fail("the line has more than " + std::to_string(kLongestLine) + " characters");
        std::smatch match;
        if (std::regex_match(line, match, s_record))
            BeginRecord(match[1], std::stoul(match[2]));
        else if (std::regex_match(line, match, s_field))
            AddField(RecordOf(match[1]), match[2], std::stoul(match[3]), std::stoul(match[4]));
        else if (std::regex_match(line, match, s_shown))
            shown_.push_back({match[1], match[2], line_});
        else if (!std::regex_match(line, s_blank))
            Fail("'" + line +
                 "' is not 'RECORD has N bytes', 'RECORD: TYPE FIELD at OFFSET, N bytes' or "
                 "'NAME shown as RECORD'");
    }

    void Finish()
    {
        for (const auto& [name, line] : begun_) {
            line_ = line;
            RecordType& record = set_.records_.at(name);
            for (RecordField& field : record.fields)
                ResolveRecord(record, field);
            FillGaps(record);
        }
        for (const auto& [name, line] : begun_) {
            line_ = line;
            CheckNesting(set_.records_.at(name), {});
        }
        for (const auto& [name, view, line] : shown_) {
            line_ = line;
            AddView(name, view);
        }
    }

private:
    struct ShownAs {
        std::string name;
        std::string view;
        size_t line;
    };

    [[noreturn]] void Fail(const std::string& what) const
    {
        throw Error(source_ + ':' + std::to_string(line_) + ": " + what);
    }

    void BeginRecord(const std::string& name, size_t size)
    {
        RecordType& record = set_.records_[name];
        if (begun_.contains(name))
            Fail(name + " is described twice");
        if (!record.name.empty() && record.size != size)
            Fail(name + " has " + std::to_string(record.size) + " bytes, not " + std::to_string(size));
        if (size == 0 || size > VESK_VIDEO_MAX_MESSAGE_SIZE)
            Fail(name + " cannot have " + std::to_string(size) + " bytes");
        record = {name, size, {}};
        begun_[name] = line_;
    }

    /// The record that a field line belongs to. A known one needs no line with its size.
    RecordType& RecordOf(const std::string& name)
    {
        if (!begun_.contains(name)) {
            const RecordType* known = set_.Find(name);
            if (known == nullptr)
                Fail("a line '" + name + " has N bytes' must come first");
            BeginRecord(name, known->size);
        }
        return set_.records_.at(name);
    }

    void AddField(RecordType& record, const std::string& declaration, size_t offset, size_t size)
    {
        static const std::regex s_plain(R"((.*[\w*]) *\b(\w+)(\[(\d{1,8})\])?)");
        static const std::regex s_function(R"(.*\(\*(\w+)\)\(.*\))");
        RecordField field;
        std::smatch match;
        if (std::regex_match(declaration, match, s_function)) {
            field.type = "void*";
            field.name = match[1];
        } else if (std::regex_match(declaration, match, s_plain)) {
            field.type = match[1];
            field.name = match[2];
            field.isArray = match[3].matched;
            field.count = field.isArray ? std::stoul(match[4]) : 1;
        } else {
            Fail("'" + declaration + "' is no type and name");
        }
        field.offset = offset;
        field.size = size;
        if (size == 0 || field.count == 0 || size % field.count != 0 || offset > record.size ||
            size > record.size - offset)
            Fail(record.name + "." + field.name + ": " + std::to_string(size) + " bytes at " +
                 std::to_string(offset) + " do not fit the record or the field's elements");
        field.isFiller = IsFiller(field.name);
        field.isOpaque = field.isArray && field.isFiller;
        field.isHandle = field.name.ends_with("Handle");
        for (const RecordField& other : record.fields) {
            if (other.name == field.name)
                Fail(record.name + "." + field.name + " is described twice");
        }
        ResolveScalar(record, field);
        record.fields.push_back(std::move(field));
    }

    void ResolveScalar(const RecordType& record, RecordField& field) const
    {
        const auto scalar = std::find_if(kScalars.begin(), kScalars.end(),
                                         [&](const Scalar& known) { return known.type == field.type; });
        if (scalar == kScalars.end()) {
            field.kind = ElementKind::kRecord; // or a pointer; decided when all records are known
            return;
        }
        if (scalar->size != field.ElementSize())
            Fail(record.name + "." + field.name + ": a " + field.type + " has " +
                 std::to_string(scalar->size) + " bytes");
        field.kind = scalar->kind;
        if (field.kind == ElementKind::kText) {
            field.count = 1;
            field.isArray = false;
        }
    }

    void ResolveRecord(const RecordType& record, RecordField& field) const
    {
        if (field.kind != ElementKind::kRecord)
            return;
        field.record = set_.Find(field.type);
        const size_t size = field.ElementSize();
        if (field.record == nullptr && (size == 1 || size == 2 || size == 4 || size == 8)) {
            field.kind = ElementKind::kUnsigned; // a pointer, or a type that this tool does not know
            field.isHandle = true;
        } else if (field.record == nullptr || field.record->size != size) {
            Fail(record.name + "." + field.name + ": no " + field.type + " of " + std::to_string(size) +
                 " bytes is known");
        }
    }

    void CheckNesting(const RecordType& record, std::set<std::string> outer) const
    {
        if (!outer.insert(record.name).second)
            Fail(record.name + " contains itself");
        for (const RecordField& field : record.fields) {
            if (field.record != nullptr)
                CheckNesting(*field.record, outer);
        }
    }

    void AddView(const std::string& name, const std::string& view)
    {
        const RecordType* shown = set_.Find(view);
        if (shown == nullptr)
            Fail("there is no record " + view);
        if (name.find(' ') == name.npos) {
            const RecordType* record = set_.Find(name);
            if (record == nullptr)
                Fail("there is no record " + name);
            if (record->size < shown->size)
                Fail(view + " has more bytes than " + name);
        }
        set_.shownAs_[name] = view;
    }

    RecordSet& set_;
    const std::string& source_;
    size_t line_ = 0;
    std::map<std::string, size_t> begun_; ///< Records of this description, and where they begin.
    std::vector<ShownAs> shown_;
};

void RecordSet::Read(std::string_view text, const std::string& source)
{
    Description description(*this, source);
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        description.ReadLine(std::string(text.substr(0, end)));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    description.Finish();
}

const RecordType* RecordSet::Find(std::string_view name) const
{
    const auto found = records_.find(name);
    return found == records_.end() ? nullptr : &found->second;
}

const RecordType* RecordSet::Shown(std::string_view name) const
{
    const auto view = shownAs_.find(name);
    return Find(view == shownAs_.end() ? name : std::string_view(view->second));
}

} // namespace vesk::decoder
