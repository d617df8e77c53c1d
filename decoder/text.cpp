// Messages as people and programs read them: a line, or JSON.
#include "decoder/text.h"

#include "base/error.h"
#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <cinttypes>
#include <cstdio>

#include <nlohmann/json.hpp>

namespace vesk::decoder {

namespace {

using nlohmann::ordered_json;

template <class Number>
std::string NumberText(Number number)
{
    char text[32];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

/// The shortest text that reads back as the same number of the field's size.
std::string FloatText(double number, size_t size)
{
    return size == sizeof(float) ? NumberText(static_cast<float>(number)) : NumberText(number);
}

/// "subPic[3]" of "subPic[3].inputId"; empty if the field is in no array of records.
std::string_view EntryOf(std::string_view path)
{
    const size_t end = path.find("].");
    return end == path.npos ? std::string_view() : path.substr(0, end + 1);
}

/// "value" of "value[3]"; empty if the field is no element.
std::string_view ArrayOf(std::string_view path)
{
    return path.ends_with(']') ? path.substr(0, path.rfind('[')) : std::string_view();
}

/// The fields of a message, each after a separator.
class LineWriter {
public:
    LineWriter(const Decoder& decoder, const std::vector<Field>& fields, std::string separator)
        : decoder_(decoder), fields_(fields), separator_(std::move(separator))
    {
    }

    std::string Text()
    {
        while (at_ < fields_.size()) {
            if (IsAtEntry() && IsZeroEntry(EntryOf(fields_[at_].path)))
                FoldEntries();
            else if (!ArrayOf(fields_[at_].path).empty())
                WriteElements();
            else
                WriteField(fields_[at_++]);
        }
        return std::move(text_);
    }

private:
    void WriteField(const Field& field)
    {
        if (field.IsShown())
            text_ += separator_ + field.path + '=' + ValueText(decoder_, field);
    }

    /// True if the current field is the first of an entry.
    bool IsAtEntry() const
    {
        const std::string_view entry = EntryOf(fields_[at_].path);
        return !entry.empty() && (at_ == 0 || EntryOf(fields_[at_ - 1].path) != entry);
    }

    /// Where the entry that begins at the current field ends.
    size_t EntryEnd(std::string_view entry) const
    {
        size_t end = at_;
        while (end < fields_.size() && EntryOf(fields_[end].path) == entry)
            ++end;
        return end;
    }

    bool IsZeroEntry(std::string_view entry) const
    {
        const size_t end = EntryEnd(entry);
        return std::all_of(&fields_[at_], &fields_[0] + end,
                           [](const Field& field) { return field.IsZero(); });
    }

    /// " subPic[1..24]=0"
    void FoldEntries()
    {
        const std::string_view first = EntryOf(fields_[at_].path);
        std::string_view entry = first;
        std::string_view last = first;
        while (!entry.empty() && ArrayOf(entry) == ArrayOf(first) && IsZeroEntry(entry)) {
            last = entry;
            at_ = EntryEnd(entry);
            entry = at_ < fields_.size() ? EntryOf(fields_[at_].path) : std::string_view();
        }
        text_ += separator_ + std::string(first);
        if (last != first) {
            text_.pop_back();
            text_ += ".." + std::string(last.substr(ArrayOf(last).size() + 1));
        }
        text_ += "=0";
    }

    /// " value=1,2,0*6"
    void WriteElements()
    {
        const std::string_view array = ArrayOf(fields_[at_].path);
        text_ += separator_ + std::string(array);
        char before = '=';
        while (at_ < fields_.size() && ArrayOf(fields_[at_].path) == array) {
            const std::string value = ValueText(decoder_, fields_[at_]);
            size_t count = 0;
            while (at_ < fields_.size() && ArrayOf(fields_[at_].path) == array &&
                   ValueText(decoder_, fields_[at_]) == value) {
                ++count;
                ++at_;
            }
            text_ += before + value + (count > 1 ? '*' + std::to_string(count) : "");
            before = ',';
        }
    }

    const Decoder& decoder_;
    const std::vector<Field>& fields_;
    std::string separator_;
    size_t at_ = 0;
    std::string text_;
};

std::string_view KindName(Direction direction)
{
    return direction == Direction::kRequest  ? "request"
           : direction == Direction::kAnswer ? "answer"
                                             : "notification";
}

ordered_json JsonValue(const Field& field)
{
    if (const Bytes* bytes = std::get_if<Bytes>(&field.value))
        return Hex(*bytes);
    if (const double* number = std::get_if<double>(&field.value);
        number != nullptr && field.size == sizeof(float))
        return std::strtod(FloatText(*number, field.size).c_str(), nullptr); // 0.1, not 0.10000000149
    return std::visit([](const auto& value) -> ordered_json { return value; }, field.value);
}

/// "/subPic/0/inputId" of "subPic[0].inputId".
ordered_json::json_pointer Pointer(std::string_view path)
{
    std::string pointer = path.starts_with('[') ? "" : "/";
    for (const char c : path) {
        if (c != ']')
            pointer += c == '[' || c == '.' ? '/' : c;
    }
    return ordered_json::json_pointer(pointer);
}

/// Adds a field to the header's or the payload's; of one that is not shown, the entry that it is in, since
/// entries are counted.
void AddField(ordered_json& fields, const Field& field)
{
    const ordered_json::json_pointer pointer = Pointer(field.path);
    if (field.IsShown())
        fields[pointer] = JsonValue(field);
    else if (ordered_json& entry = fields[pointer.parent_pointer()]; entry.is_null())
        entry = ordered_json::object();
}

bool IsShallow(int depth, ordered_json::parse_event_t, ordered_json&)
{
    constexpr int kDeepest = 100;
    if (depth > kDeepest)
        throw Error("the JSON is nested more than " + std::to_string(kDeepest) + " deep");
    return true;
}

void AddAssignments(const ordered_json& value, const std::string& path, std::vector<Assignment>& assignments)
{
    constexpr size_t kLongestPath = 1000;
    if (path.size() > kLongestPath)
        throw Error(path.substr(0, 64) + "...: no field is nested so deeply");
    if (value.is_object()) {
        const std::string prefix = path.empty() ? "" : path + '.';
        for (const auto& [key, member] : value.items())
            AddAssignments(member, prefix + key, assignments);
    } else if (value.is_array()) {
        for (size_t i = 0; i < value.size(); ++i)
            AddAssignments(value[i], path + '[' + std::to_string(i) + ']', assignments);
    } else if (value.is_string()) {
        assignments.push_back({path, value.get<std::string>()});
    } else if (value.is_number()) {
        assignments.push_back({path, value.dump()});
    } else if (value.is_boolean()) {
        assignments.push_back({path, value.get<bool>() ? "1" : "0"});
    } else {
        throw Error(path + ": expected a number or a text, not " + Dump(value));
    }
}

} // namespace

std::string ValueText(const Decoder& decoder, const Field& field)
{
    if (const Bytes* bytes = std::get_if<Bytes>(&field.value))
        return FoldedHex(*bytes);
    if (const std::string* text = std::get_if<std::string>(&field.value))
        return Quoted(*text);
    if (const double* number = std::get_if<double>(&field.value))
        return FloatText(*number, field.size);
    const std::string_view name = decoder.ValueName(field);
    const std::string suffix = name.empty() ? "" : '(' + std::string(name) + ')';
    if (const int64_t* number = std::get_if<int64_t>(&field.value))
        return std::to_string(*number) + suffix;
    const uint64_t number = std::get<uint64_t>(field.value);
    if (!field.isHandle)
        return std::to_string(number) + suffix;
    char hex[20];
    std::snprintf(hex, sizeof hex, "0x%" PRIx64, number);
    return hex;
}

std::string NameOf(const Decoded& message)
{
    return message.name.empty() ? std::to_string(message.number) : std::string(message.name);
}

std::string Line(const Decoder& decoder, const Decoded& message)
{
    std::string text;
    if (message.direction == Direction::kAnswer)
        text = ResultText(message.result);
    else if (message.direction == Direction::kNotification || message.name.empty())
        text = std::to_string(message.number);
    if (message.direction != Direction::kAnswer && !message.name.empty())
        text += (text.empty() ? "" : " ") + std::string(message.name);
    text += LineWriter(decoder, message.fields, " ").Text();
    return message.problem.empty() ? text : text + " (" + message.problem + ')';
}

std::string FieldLines(const Decoder& decoder, const Decoded& message, const std::string& indent)
{
    const std::string lines = LineWriter(decoder, message.fields, '\n' + indent).Text();
    return lines.empty() ? lines : lines.substr(1) + '\n';
}

ordered_json ToJson(const Decoded& message)
{
    ordered_json json;
    json["kind"] = KindName(message.direction);
    json["number"] = message.number;
    if (!message.name.empty())
        json["name"] = message.name;
    if (!message.function.empty())
        json["function"] = message.function;
    if (message.direction == Direction::kAnswer) {
        json["result"] = message.result;
        if (const std::string_view name = ResultName(message.result); !name.empty())
            json["resultName"] = name;
    }
    for (const Field& field : message.fields)
        AddField(json[field.IsPayload() ? "payload" : "arguments"], field);
    if (!message.problem.empty())
        json["problem"] = message.problem;
    return json;
}

std::string JsonProblem(std::string_view text)
{
    const auto skip = [&text](std::string_view end, size_t from = 0) {
        if (const size_t found = text.find(end, from); found != text.npos)
            text.remove_prefix(found + end.size());
    };
    std::string place;
    skip("] "); // its name for the kind of error
    if (text.starts_with("parse error at ")) {
        skip(" at ");
        place = text.substr(0, text.find(": ") + 2);
        skip(": ");
        if (text.starts_with("syntax error while parsing "))
            skip(" - ");
    }
    return place + std::string(text);
}

ordered_json ParseJson(std::string_view text, const std::string& origin)
{
    try {
        return ordered_json::parse(text, IsShallow);
    } catch (const ordered_json::exception& error) {
        throw Error(origin + ": " + JsonProblem(error.what()));
    } catch (const Error& error) {
        throw Error(origin + ": " + error.what());
    }
}

std::vector<Assignment> AssignmentsOf(std::string_view text, const std::string& origin)
{
    const ordered_json document = ParseJson(text, origin);
    std::vector<Assignment> assignments;
    if (!document.is_object() && !document.is_array())
        throw Error("expected a JSON object with the fields of the message, not " +
                    Dump(document).substr(0, 64));
    const bool isMessage =
        document.is_object() &&
        (document.contains("kind") || document.contains("payload") || document.contains("arguments"));
    if (!isMessage) {
        AddAssignments(document, "", assignments);
    } else {
        for (const char* part : {"arguments", "payload"}) {
            if (document.contains(part))
                AddAssignments(document[part], "", assignments);
        }
        if (document.contains("result"))
            AddAssignments(document["result"], "result", assignments);
    }
    return assignments;
}

Assignment ParseAssignment(std::string_view text)
{
    const size_t equals = text.find('=');
    if (equals == text.npos || equals == 0)
        throw Error("'" + std::string(text) + "': expected name=value");
    return {std::string(text.substr(0, equals)), std::string(text.substr(equals + 1))};
}

std::string Quoted(const std::string& text)
{
    return Dump(text);
}

std::string Dump(const ordered_json& document)
{
    return Printable(document.dump(-1, ' ', false, ordered_json::error_handler_t::replace));
}

} // namespace vesk::decoder
