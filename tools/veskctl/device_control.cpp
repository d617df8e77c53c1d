// The subcommands of "device" that send one control message each.
#include "base/file.h"
#include "base/installed.h"
#include "decoder/json.h"
#include "steering/commands.h"
#include "steering/fault.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/table.h"

#include <cinttypes>
#include <cstring>

namespace vesk::ctl {

using namespace decoder;
using nlohmann::ordered_json;

namespace {

/// The rules that the service lists.
std::vector<VeskControlFaultState> FaultsIn(const Bytes& answer)
{
    const BytesView bytes = BytesView(answer).subspan(sizeof(VeskVideoMsgHead));
    std::vector<VeskControlFaultState> faults(bytes.size() / sizeof(VeskControlFaultState));
    if (faults.size() * sizeof(VeskControlFaultState) != bytes.size())
        throw Failure(kFailed, "the service listed faults of an unknown layout: " +
                                   std::to_string(bytes.size()) + " bytes");
    if (!bytes.empty())
        std::memcpy(faults.data(), bytes.data(), bytes.size());
    return faults;
}

void PrintFaults(const Decoder& decoder, const Bytes& answer, bool asJson)
{
    ordered_json rows = ordered_json::array();
    for (const VeskControlFaultState& state : FaultsIn(answer)) {
        const std::string rule = steering::FaultText(decoder, state.rule);
        if (asJson)
            rows.push_back(Object(
                {{"fault", state.fault}, {"matches", state.matches}, {"hits", state.hits}, {"rule", rule}}));
        else
            PutFormatted(stdout, "%u  %s  (matched %" PRIu64 ", changed %" PRIu64 ")", state.fault,
                         rule.c_str(), state.matches, state.hits);
    }
    if (asJson)
        PrintLine(Dump(rows));
}

/// The value of a field of an answer.
uint64_t NumberIn(const Decoded& answer, std::string_view name)
{
    for (const Field& field : answer.fields) {
        if (const auto* number = std::get_if<uint64_t>(&field.value); number != nullptr && field.path == name)
            return *number;
    }
    return 0;
}

void PrintAnswer(const Decoded& answer)
{
    const auto number = [&](const char* name) { return NumberIn(answer, name); };
    if (answer.number == VESK_CONTROL_NOTIFY)
        PutFormatted(stdout, "sent to %" PRIu64 " client%s", number("clients"),
                     number("clients") == 1 ? "" : "s");
    else if (answer.number == VESK_CONTROL_FAULT_ADD)
        PutFormatted(stdout, "fault %" PRIu64, number("fault"));
    else if (answer.number == VESK_CONTROL_TIME)
        PutFormatted(stdout, "%" PRIu64 " ms since the service started, %" PRIu64 " due%s", number("nowMs"),
                     number("due"), number("isStep") != 0 ? "; moves by command" : "");
}

/// The first line of a file, which is a comment that says what it is for.
std::string Purpose(const std::string& path)
{
    const std::string text = FileContents(path);
    return text.starts_with("# ") ? text.substr(2, text.find('\n') - 2) : std::string();
}

int ListScenarios(bool asJson)
{
    const InstalledFiles installed = Installed("scenarios");
    if (installed.names.empty())
        throw Failure(kFailed, "no scenarios are installed");
    Table table;
    ordered_json rows = ordered_json::array();
    for (const std::string& name : installed.names) {
        const std::string file = installed.folder + '/' + name;
        rows.push_back(Object({{"name", name}, {"description", Purpose(file)}, {"file", file}}));
        table.Add({name, Purpose(file)});
    }
    if (asJson)
        PrintLine(Dump(rows));
    else
        table.Print("");
    return kDone;
}

int RunControl(Settings& settings, const steering::Build& build)
{
    const Decoder& decoder = settings.Decoder();
    std::optional<steering::ControlMessage> message = Usage([&] { return build(decoder); });
    if (!message)
        return ListScenarios(settings.json);
    const Call call = PerformSteering(settings, {message->number, true, std::move(message->data)});
    if (message->number == VESK_CONTROL_FAULT_LIST)
        PrintFaults(decoder, call.outcome.answer, settings.json);
    else if (settings.json)
        PrintLine(Dump(ToJson(*call.answer).value("payload", ordered_json::object())));
    else
        PrintAnswer(*call.answer);
    return kDone;
}

} // namespace

std::vector<CommandLine> DeviceControlCommands(Settings& settings)
{
    return steering::ControlCommands(
        "veskctl device", [&settings](const steering::Build& build) { return RunControl(settings, build); });
}

} // namespace vesk::ctl
