// The layouts of records, read from their description as text.
#include "decoder/records.h"

#include "base/error.h"
#include "vesk_video/message.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <set>

namespace vesk::decoder {

namespace {

constexpr char kSpaces[] = " \t\v\f\r\n";

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

bool IsDigit(char c)
{
    return c >= '0' && c <= '9';
}

bool IsOfWord(char c)
{
    return IsDigit(c) || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

/// Takes a text apart from its start. Once something else comes than is expected, nothing fits any more.
class Scanner {
public:
    explicit Scanner(std::string_view text) : rest_(text) {}

    Scanner& Text(std::string_view expected)
    {
        Take(rest_.starts_with(expected) ? expected.size() : 0);
        return *this;
    }

    Scanner& Word(std::string& word)
    {
        word = Take(CountOf(IsOfWord));
        return *this;
    }

    /// A number of at most eight digits.
    Scanner& Number(size_t& number)
    {
        const size_t digits = CountOf(IsDigit);
        const std::string_view text = Take(digits <= 8 ? digits : 0);
        std::from_chars(text.data(), text.data() + text.size(), number);
        return *this;
    }

    /// All that is left. A carriage return is not part of any text.
    Scanner& Rest(std::string& rest)
    {
        rest = Take(rest_.find('\r') == rest_.npos ? rest_.size() : 0);
        return *this;
    }

    bool Fits() const { return fits_; }
    bool FitsAll() const { return fits_ && rest_.empty(); }

private:
    size_t CountOf(bool (*isWanted)(char)) const
    {
        return static_cast<size_t>(std::find_if_not(rest_.begin(), rest_.end(), isWanted) - rest_.begin());
    }

    std::string_view Take(size_t count)
    {
        fits_ = fits_ && count != 0;
        const std::string_view taken = rest_.substr(0, count);
        rest_.remove_prefix(count);
        return taken;
    }

    std::string_view rest_;
    bool fits_ = true;
};

/// Nothing but spaces and a comment.
bool IsBlank(std::string_view line)
{
    line.remove_prefix(std::min(line.find_first_not_of(kSpaces), line.size()));
    return line.empty() || (line[0] == '#' && line.find('\r') == line.npos);
}

/// Reads "TYPE (*NAME)(...)"; of several names, the last. @return false if it is none
bool ReadFunction(std::string_view declaration, RecordField& field)
{
    std::string name, arguments;
    bool isFunction = false;
    for (size_t at = declaration.find("(*"); at != declaration.npos; at = declaration.find("(*", at + 1)) {
        if (Scanner(declaration.substr(at)).Text("(*").Word(name).Text(")(").Rest(arguments).Fits() &&
            arguments.ends_with(')')) {
            field.type = "void*";
            field.name = name;
            isFunction = true;
        }
    }
    return isFunction;
}

/// Reads "TYPE NAME" or "TYPE NAME[COUNT]". @return false if it is none
bool ReadVariable(std::string_view declaration, RecordField& field)
{
    if (declaration.ends_with(']')) {
        const size_t bracket = std::min(declaration.rfind('['), declaration.size());
        if (!Scanner(declaration.substr(bracket)).Text("[").Number(field.count).Text("]").FitsAll())
            return false;
        field.isArray = true;
        declaration = declaration.substr(0, bracket);
    }
    const auto nameBegin = std::find_if_not(declaration.rbegin(), declaration.rend(), IsOfWord).base();
    field.name = {nameBegin, declaration.end()};
    field.type = {declaration.begin(), nameBegin};
    field.type.erase(field.type.find_last_not_of(' ') + 1);
    return !field.name.empty() && !field.type.empty() &&
           (IsOfWord(field.type.back()) || field.type.back() == '*');
}

/// What can be shown as a record: another one, or a message's payload or answer.
bool IsSubject(std::string_view text)
{
    std::string name;
    return Scanner(text).Word(name).FitsAll() || Scanner(text).Word(name).Text(" payload").FitsAll() ||
           Scanner(text).Word(name).Text(" answer").FitsAll();
}

bool IsFiller(std::string_view name)
{
    while (!name.empty() && IsDigit(name.back()))
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

    void ReadLine(std::string_view line)
    {
        constexpr size_t kLongestLine = 1000;
        ++line_;
        if (line.size() > kLongestLine)
            Fail("the line has more than " + std::to_string(kLongestLine) + " characters");
        const size_t at = std::min(line.rfind(" at "), line.size());
        const size_t shown = std::min(line.find(" shown as "), line.size());
        std::string name, declaration, view;
        size_t offset = 0, size = 0;
        if (Scanner(line).Word(name).Text(" has ").Number(size).Text(" bytes").FitsAll())
            BeginRecord(name, size);
        else if (Scanner(line.substr(0, at)).Word(name).Text(": ").Rest(declaration).Fits() &&
                 declaration.find_last_of(kSpaces) != declaration.size() - 1 &&
                 Scanner(line.substr(at))
                     .Text(" at ")
                     .Number(offset)
                     .Text(", ")
                     .Number(size)
                     .Text(" bytes")
                     .FitsAll())
            AddField(RecordOf(name), declaration, offset, size);
        else if (IsSubject(line.substr(0, shown)) &&
                 Scanner(line.substr(shown)).Text(" shown as ").Word(view).FitsAll())
            shown_.push_back({std::string(line.substr(0, shown)), view, line_});
        else if (!IsBlank(line))
            Fail("'" + std::string(line) +
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
            ShowNested(name);
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
        RecordField field;
        if (!ReadFunction(declaration, field) && !ReadVariable(declaration, field))
            Fail("'" + declaration + "' is no type and name");
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

    /// Has fields that are such a record shown like one that stands alone, if the view covers all of it.
    void ShowNested(const std::string& name)
    {
        for (auto& [outer, record] : set_.records_) {
            for (RecordField& field : record.fields) {
                if (field.record != nullptr && field.type == name &&
                    set_.Shown(name)->size == field.ElementSize())
                    field.record = set_.Shown(name);
            }
        }
        for (const auto& [outer, record] : set_.records_)
            CheckNesting(record, {});
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
        description.ReadLine(text.substr(0, end));
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
