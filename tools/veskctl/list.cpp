// The subcommand "list": what the interface offers.
#include "decoder/json.h"
#include "decoder/text.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/table.h"
#include "vesk_service/control_list.h"

namespace vesk::ctl {

using namespace decoder;
using nlohmann::ordered_json;

namespace {

template <class Message>
std::string ArgumentNames(const Message& message)
{
    std::string names;
    for (const messages::Argument& argument : message.arguments) {
        if (argument.IsUsed())
            names += (names.empty() ? "" : " ") + std::string(argument.Name());
    }
    return names;
}

ordered_json ListRequests(std::span<const messages::Request> requests)
{
    ordered_json rows;
    for (const messages::Request& request : requests)
        rows.push_back(Object({{"number", uint32_t{request.number}},
                               {"name", ShortName(request.name)},
                               {"function", request.function},
                               {"arguments", ArgumentNames(request)}}));
    return rows;
}

ordered_json ListNotifications(std::span<const messages::Notification> notifications)
{
    ordered_json rows;
    for (const messages::Notification& notification : notifications)
        rows.push_back(Object({{"number", uint32_t{notification.number}},
                               {"name", ShortName(notification.name)},
                               {"payload", notification.payload.type},
                               {"arguments", ArgumentNames(notification)}}));
    return rows;
}

ordered_json ListRecords(const Decoder& decoder)
{
    ordered_json rows;
    for (const auto& [name, record] : decoder.Records().All()) {
        const RecordType* shown = decoder.Records().Shown(name);
        rows.push_back(Object({{"size", record.size},
                               {"name", name},
                               {"shownAs", shown == &record ? std::string() : shown->name}}));
    }
    return rows;
}

ordered_json ListResults()
{
    ordered_json rows;
    for (const ResultCode& result : ResultCodes())
        rows.push_back(Object({{"code", result.code},
                               {"name", result.name},
                               {"origin", result.origin},
                               {"meaning", result.meaning}}));
    return rows;
}

void PrintRows(const ordered_json& rows)
{
    Table table;
    for (const ordered_json& row : rows) {
        std::vector<std::string> cells;
        for (const auto& [key, value] : row.items())
            cells.push_back(value.is_string() ? value.get<std::string>() : value.dump());
        table.Add(std::move(cells));
    }
    table.Print("");
}

int RunList(Settings& settings, const std::string& what)
{
    ordered_json lists;
    if (what.empty() || what == "requests") {
        lists["requests"] = ListRequests(messages::kRequests);
        lists["controlRequests"] = ListRequests(messages::kControlRequests);
    }
    if (what.empty() || what == "notifications") {
        lists["notifications"] = ListNotifications(messages::kNotifications);
        lists["controlNotifications"] = ListNotifications(messages::kControlNotifications);
    }
    if (what.empty() || what == "records")
        lists["records"] = ListRecords(settings.Decoder());
    if (what.empty() || what == "results")
        lists["results"] = ListResults();
    if (settings.json) {
        PrintLine(Dump(lists));
        return kDone;
    }
    for (const auto& [name, rows] : lists.items()) {
        const bool isControl = name == "controlRequests" || name == "controlNotifications";
        if (isControl || (what.empty() && name != "requests"))
            PrintLine("");
        if (isControl)
            PrintLine("no part of the interface; between veskctl and the virtual service:");
        else if (what.empty())
            PrintLine(name + ':');
        PrintRows(rows);
    }
    return kDone;
}

} // namespace

CommandLine ListCommand(Settings& settings)
{
    auto what = std::make_shared<std::string>();
    return {
        .name = "list",
        .summary = "List requests, notifications, records and result codes",
        .footer = "Example:\n"
                  "  veskctl list requests\n"
                  "  veskctl list results --json",
        .options = {{.name = "WHAT",
                     .place = what.get(),
                     .help = "What to list; by default, everything",
                     .choices = {"requests", "notifications", "records", "results"}}},
        .run = [what, &settings] { return RunList(settings, *what); },
    };
}

} // namespace vesk::ctl
