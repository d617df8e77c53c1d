// Writes the tables of the Wireshark dissector: messages, records and result codes, as Lua.
#include "decoder/decoder.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <cstdio>
#include <map>

using namespace vesk::decoder;
namespace messages = vesk::messages;

namespace {

/// Quotes a name, of which none needs an escape.
std::string Quoted(std::string_view text)
{
    return '"' + std::string(text) + '"';
}

/// As the dissector registers fields: u, i, f, s, b (bytes) or r (record); h is a u in hexadecimal.
std::string Letter(ElementKind kind, bool isOpaque, bool isHandle)
{
    constexpr char kLetters[] = "uifsr";
    return Quoted(isOpaque ? "b" : isHandle ? "h" : std::string(1, kLetters[static_cast<size_t>(kind)]));
}

/// What follows the header.
std::string_view FormName(messages::Kind kind)
{
    constexpr std::string_view kNames[] = {"none", "record", "array", "text", "bytes", "none"};
    return kNames[static_cast<size_t>(kind)];
}

/// The records of all messages, and those that they consist of.
using Records = std::map<std::string, const RecordType*>;

void Collect(const RecordType& record, Records& records)
{
    if (!records.emplace(record.name, &record).second)
        return;
    for (const RecordField& field : record.fields) {
        if (field.record != nullptr)
            Collect(*field.record, records);
    }
}

void PrintRecords(const Records& records)
{
    std::printf(
        "-- {name, offset, bytes of an element, elements (0: no array), kind, record}\nlocal records = {\n");
    for (const auto& [name, record] : records) {
        std::printf("  [%s] = {size = %zu,\n", Quoted(name).c_str(), record->size);
        for (const RecordField& field : record->fields) {
            const bool isOneValue = field.isOpaque || !field.isArray;
            std::printf("    {%s, %zu, %zu, %zu, %s, %s},\n", Quoted(field.name).c_str(), field.offset,
                        isOneValue ? field.size : field.ElementSize(), isOneValue ? 0 : field.count,
                        Letter(field.kind, field.isOpaque, field.isHandle).c_str(),
                        Quoted(field.record != nullptr ? field.record->name : "").c_str());
        }
        std::printf("  },\n");
    }
    std::printf("}\n");
}

/// Prints a message, and collects the records that its payload consists of.
void PrintMessage(const Decoder& decoder, Direction direction, uint32_t number, Records& records)
{
    const Listing listing = decoder.Describe(direction, number);
    std::printf("  [%u] = {name = %s, arguments = {", number, Quoted(listing.name).c_str());
    for (const HeaderArgument& argument : listing.arguments) {
        const auto kind = argument.isSigned ? ElementKind::kSigned : ElementKind::kUnsigned;
        std::printf("{%s, %zu, %zu, %s, %s}, ", Quoted(argument.name).c_str(), argument.offset,
                    argument.isSigned ? sizeof(int32_t) : argument.size,
                    Letter(kind, false, argument.isHandle).c_str(), argument.isListed ? "true" : "false");
    }
    const messages::Form& form = *listing.form;
    const RecordType* record = decoder.PayloadRecord(listing);
    const bool isNumber = form.name[0] != '\0';
    std::printf("}, form = %s, size = %zu", Quoted(FormName(form.kind)).c_str(), form.size);
    if (isNumber)
        std::printf(", number = {%s, %s}", Quoted(form.name).c_str(),
                    std::string_view(form.name).ends_with("Handle") ? "\"h\"" : "\"u\"");
    else if (record != nullptr) {
        Collect(*record, records);
        std::printf(", record = %s", Quoted(record->name).c_str());
    }
    for (const HeaderArgument& argument : listing.arguments) {
        if (form.kind == messages::Kind::kArray && argument.field == form.count)
            std::printf(", count = {%zu, %zu}", argument.offset, argument.size);
    }
    std::printf("},\n");
}

template <class Message>
void PrintMessages(const Decoder& decoder, const char* name, Direction direction,
                   std::span<const Message> listed, std::span<const Message> control, Records& records)
{
    std::printf("local %s = {\n", name);
    for (const auto& table : {listed, control}) {
        for (const Message& message : table)
            PrintMessage(decoder, direction, message.number, records);
    }
    std::printf("}\n");
}

/// The names of values, by their field, or "RECORD.FIELD" if only one record's field has them.
void PrintValueNames()
{
    std::map<std::string, std::string> tables;
    for (const ValueWithName& known : ValuesWithNames()) {
        std::string& table =
            tables[std::string(known.record) + (known.record.empty() ? "" : ".") + std::string(known.field)];
        table += '[' + std::to_string(known.value) + "] = " + Quoted(known.name) + ", ";
    }
    std::printf("local value_names = {\n");
    for (const auto& [field, table] : tables)
        std::printf("  [%s] = {%s},\n", Quoted(field).c_str(), table.c_str());
    std::printf("}\n");
}

} // namespace

int main()
{
    const Decoder decoder;
    Records records;
    std::printf("-- The messages between applications and the video service, for Wireshark. Generated.\n");
    const std::span<const messages::Request> requests = messages::kRequests;
    const std::span<const messages::Request> control = messages::kControlRequests;
    PrintMessages(decoder, "requests", Direction::kRequest, requests, control, records);
    PrintMessages(decoder, "answers", Direction::kAnswer, requests, control, records);
    PrintMessages<messages::Notification>(decoder, "notifications", Direction::kNotification,
                                          messages::kNotifications, messages::kControlNotifications, records);
    PrintRecords(records);
    PrintValueNames();
    std::printf("local results = {\n");
    for (const ResultCode& result : ResultCodes())
        std::printf("  [%u] = %s,\n", result.code, Quoted(ResultName(result.code)).c_str());
    std::printf("}\n");
}
