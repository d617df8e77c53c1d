// Writes the tables of the Wireshark dissector: messages, records and result codes, as Lua.
#include "decoder/decoder.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <cstdio>

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

void PrintRecords(const Decoder& decoder)
{
    std::printf(
        "-- {name, offset, bytes of an element, elements (0: no array), kind, record}\nlocal records = {\n");
    for (const auto& [name, record] : decoder.Records().All()) {
        std::printf("  [%s] = {size = %zu,\n", Quoted(name).c_str(), record.size);
        for (const RecordField& field : record.fields) {
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

void PrintMessage(const Decoder& decoder, Direction direction, uint32_t number)
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
    const bool isText = form.kind == messages::Kind::kText;
    const bool isArray = form.kind == messages::Kind::kArray;
    const bool isNumber = form.name[0] != '\0';
    std::printf("}, size = %zu", form.size);
    if (isNumber)
        std::printf(", number = {%s, %s}", Quoted(form.name).c_str(),
                    std::string_view(form.name).ends_with("Handle") ? "\"h\"" : "\"u\"");
    else if (record != nullptr)
        std::printf(", record = %s, isArray = %s", Quoted(record->name).c_str(), isArray ? "true" : "false");
    std::printf("%s},\n", isText ? ", isText = true" : "");
}

template <class Message>
void PrintMessages(const Decoder& decoder, const char* name, Direction direction,
                   std::span<const Message> listed, std::span<const Message> control)
{
    std::printf("local %s = {\n", name);
    for (const auto& table : {listed, control}) {
        for (const Message& message : table)
            PrintMessage(decoder, direction, message.number);
    }
    std::printf("}\n");
}

} // namespace

int main()
{
    const Decoder decoder;
    std::printf("-- The messages between applications and the video service, for Wireshark. Generated.\n");
    PrintRecords(decoder);
    const std::span<const messages::Request> requests = messages::kRequests;
    const std::span<const messages::Request> control = messages::kControlRequests;
    PrintMessages(decoder, "requests", Direction::kRequest, requests, control);
    PrintMessages(decoder, "answers", Direction::kAnswer, requests, control);
    PrintMessages<messages::Notification>(decoder, "notifications", Direction::kNotification,
                                          messages::kNotifications, messages::kControlNotifications);
    std::printf("local results = {\n");
    for (const ResultCode& result : ResultCodes())
        std::printf("  [%u] = %s,\n", result.code, Quoted(ResultName(result.code)).c_str());
    std::printf("}\n");
}
