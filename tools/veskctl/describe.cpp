// The subcommand "describe": what a message does and consists of, a record's fields, what a result code
// means.
#include "base/nearest.h"
#include "decoder/json.h"
#include "decoder/text.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "vesk_service/control_list.h"

#include <algorithm>

namespace vesk::ctl {

using namespace decoder;
using nlohmann::ordered_json;

namespace {

std::string_view FieldName(messages::HeaderField field)
{
    constexpr std::string_view kNames[] = {"uwSubMsgID", "ulParam1", "ulParam2"};
    return kNames[static_cast<size_t>(field)];
}

ordered_json DescribeArguments(const Listing& listing)
{
    ordered_json arguments = ordered_json::array();
    for (const HeaderArgument& argument : listing.arguments) {
        if (!argument.isListed)
            continue;
        ordered_json one = Object({{"name", argument.name}, {"field", FieldName(argument.field)}});
        one["type"] = argument.isSigned ? "int32_t" : argument.limit > UINT32_MAX ? "uint64_t" : "uint32_t";
        if (argument.limit == UINT16_MAX)
            one["type"] = "uint16_t";
        arguments.push_back(std::move(one));
    }
    return arguments;
}

ordered_json DescribeRecord(const RecordType& record)
{
    ordered_json fields = ordered_json::array();
    for (const RecordField& field : record.fields) {
        ordered_json one = Object(
            {{"offset", field.offset}, {"size", field.size}, {"type", field.type}, {"name", field.name}});
        if (field.isArray)
            one["count"] = field.count;
        if (field.record != nullptr)
            one["fields"] = DescribeRecord(*field.record)["fields"];
        fields.push_back(std::move(one));
    }
    return Object({{"record", record.name}, {"size", record.size}, {"fields", std::move(fields)}});
}

ordered_json DescribeForm(const Decoder& decoder, const Listing& listing)
{
    const messages::Form& form = *listing.form;
    ordered_json json;
    const RecordType* record = decoder.PayloadRecord(listing);
    switch (form.kind) {
    case messages::Kind::kNone:
        return Object({{"form", "none"}});
    case messages::Kind::kUnanswered:
        return Object({{"form", "unanswered"}});
    case messages::Kind::kText:
        return Object({{"form", "text"}, {"size", form.size}});
    case messages::Kind::kBytes:
        json["form"] = "bytes";
        break;
    case messages::Kind::kRecord:
        if (form.name[0] != '\0')
            return Object(
                {{"form", "number"}, {"size", form.size}, {"type", form.type}, {"name", form.name}});
        json["form"] = "record";
        break;
    case messages::Kind::kArray:
        json["form"] = "array";
        json["count"] = FieldName(form.count);
        break;
    }
    if (form.size != 0)
        json.update(Object({{"type", form.type}, {"size", form.size}}));
    if (record != nullptr)
        json["shown"] = DescribeRecord(*record);
    return json;
}

ordered_json DescribeMessage(const Decoder& decoder, Direction direction, uint32_t number)
{
    const Listing listing = decoder.Describe(direction, number);
    const bool isRequest = direction == Direction::kRequest;
    ordered_json json = Object({{"kind", isRequest ? "request" : "notification"},
                                {"name", listing.fullName},
                                {"number", listing.number}});
    if (messages::IsControl(number))
        json["control"] = true;
    else if (isRequest)
        json["function"] = listing.function;
    if (const RequestText* text = isRequest ? RequestTextOf(number) : nullptr) {
        json["summary"] = text->summary;
        if (!text->needs.empty())
            json["needs"] = text->needs;
    }
    json["arguments"] = DescribeArguments(listing);
    json["payload"] = DescribeForm(decoder, listing);
    if (isRequest)
        json["answer"] = DescribeForm(decoder, decoder.Describe(Direction::kAnswer, number));
    return json;
}

/// Everything of this name, as objects. A number may be a request's, a notification's and a result code's.
ordered_json DescribeAll(const Decoder& decoder, const std::string& name)
{
    ordered_json found = ordered_json::array();
    if (const messages::Request* request = FindRequest(name))
        found.push_back(DescribeMessage(decoder, Direction::kRequest, request->number));
    if (const messages::Notification* notification = FindNotification(name))
        found.push_back(DescribeMessage(decoder, Direction::kNotification, notification->number));
    if (const RecordType* record = decoder.Records().Find(name)) {
        found.push_back(Object({{"kind", "record"}}));
        found.back().update(DescribeRecord(*record));
        if (const RecordType* shown = decoder.Records().Shown(name); shown != record)
            found.back()["shown"] = DescribeRecord(*shown);
    }
    const std::optional<uint32_t> code = FindResult(name);
    for (const ResultCode& result : ResultCodes()) {
        if (code == result.code)
            found.push_back(Object({{"kind", "result"},
                                    {"name", result.name},
                                    {"code", result.code},
                                    {"origin", result.origin},
                                    {"meaning", result.meaning}}));
    }
    return found;
}

[[noreturn]] void RefuseUnknown(const Decoder& decoder, const std::string& name)
{
    std::vector<std::string_view> known = RequestNames();
    for (const std::string_view notification : NotificationNames())
        known.push_back(notification);
    for (const auto& [record, type] : decoder.Records().All())
        known.push_back(record);
    for (const ResultCode& result : ResultCodes())
        known.push_back(result.name);
    throw Failure(kUsage, "there is no request, notification, record or result code '" + name + "'" +
                              Nearest(ShortName(name), known));
}

void PrintFields(const ordered_json& fields, size_t indent, size_t base)
{
    for (const ordered_json& field : fields) {
        std::string type = field["type"];
        std::string name = field["name"];
        if (field.contains("count"))
            name += '[' + field["count"].dump() + ']';
        else if (type == "char")
            name += '[' + field["size"].dump() + ']';
        const size_t offset = base + field["offset"].get<size_t>();
        PutFormatted(stdout, "%*s%5zu  %-10s %s", static_cast<int>(indent), "", offset, type.c_str(),
                     name.c_str());
        if (field.contains("fields"))
            PrintFields(field["fields"], indent + 4, offset);
    }
}

void PrintForm(const char* title, const ordered_json& form)
{
    const std::string kind = form["form"];
    std::string text = kind;
    if (form.contains("name"))
        text = form["type"].get<std::string>() + ' ' + form["name"].get<std::string>();
    else if (form.contains("type"))
        text = form["type"].get<std::string>() + ", " + form["size"].dump() + " bytes";
    else if (kind == "text")
        text = "text of at most " + form["size"].dump() + " bytes with its NUL";
    if (kind == "array")
        text = "array of " + text + " each; their number is in " + form["count"].get<std::string>();
    if (form.contains("shown") && form.value("type", "") != form["shown"]["record"])
        text += ", shown as " + form["shown"]["record"].get<std::string>();
    if (kind == "none" && title == std::string_view("answer"))
        text = "a result code alone";
    if (kind == "unanswered")
        text = "none; the request is asynchronous";
    PutFormatted(stdout, "  %-10s %s", title, text.c_str());
    if (form.contains("shown"))
        PrintFields(form["shown"]["fields"], 4, 0);
}

void Print(const ordered_json& thing)
{
    const std::string kind = thing["kind"];
    if (kind == "result") {
        PutLine(stdout, thing["name"].get<std::string>());
        PutFormatted(stdout, "  result code 0x%x of the %s", thing["code"].get<uint32_t>(),
                     thing["origin"].get<std::string>().c_str());
        PutLine(stdout, "  " + thing["meaning"].get<std::string>());
        return;
    }
    if (kind == "record") {
        PutLine(stdout, thing["record"].get<std::string>());
        PutLine(stdout, "  record of " + thing["size"].dump() + " bytes");
        PrintFields(thing["fields"], 4, 0);
        if (thing.contains("shown")) {
            PutLine(stdout, "  shown as " + thing["shown"]["record"].get<std::string>());
            PrintFields(thing["shown"]["fields"], 4, 0);
        }
        return;
    }
    PutLine(stdout, thing["name"].get<std::string>());
    std::string line = "  " + kind + ' ' + thing["number"].dump();
    if (thing.contains("function"))
        line += ", sent by " + thing["function"].get<std::string>();
    if (thing.contains("control"))
        line += ", no part of the interface; it is between veskctl and the virtual service";
    PutLine(stdout, line);
    if (thing.contains("summary"))
        PutLine(stdout, "  " + thing["summary"].get<std::string>());
    if (thing.contains("needs"))
        PutFormatted(stdout, "  %-10s %s", "needs", thing["needs"].get<std::string>().c_str());
    for (const ordered_json& argument : thing["arguments"])
        PutFormatted(stdout, "  %-10s %s %s", argument["field"].get<std::string>().c_str(),
                     argument["type"].get<std::string>().c_str(),
                     argument["name"].get<std::string>().c_str());
    PrintForm("payload", thing["payload"]);
    if (thing.contains("answer"))
        PrintForm("answer", thing["answer"]);
}

int RunDescribe(Settings& settings, const std::string& name)
{
    const ordered_json found = DescribeAll(settings.Decoder(), name);
    if (found.empty())
        RefuseUnknown(settings.Decoder(), name);
    if (settings.json) {
        PrintLine(Dump(found));
        return kDone;
    }
    for (size_t i = 0; i < found.size(); ++i) {
        if (i != 0)
            PutLine(stdout, "");
        Print(found[i]);
    }
    return kDone;
}

} // namespace

CommandLine DescribeCommand(Settings& settings)
{
    auto name = std::make_shared<std::string>();
    return {
        .name = "describe",
        .summary = "Show what a message does and consists of, a record's fields, or what a result code means",
        .footer = "Example:\n"
                  "  veskctl describe VO_START\n"
                  "  veskctl describe VeskVideoEncoderSetParam --json\n"
                  "  veskctl describe 0x204",
        .options = {{.name = "NAME",
                     .place = name.get(),
                     .help = "Request, notification, record, function, result code, or a number",
                     .isRequired = true,
                     .names = Names::kAnything}},
        .run = [name, &settings] { return RunDescribe(settings, *name); },
    };
}

} // namespace vesk::ctl
