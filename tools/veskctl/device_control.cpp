// The subcommands of "device" that send one control message each.
#include "tools/veskctl/device_control.h"
#include "base/file.h"
#include "base/installed.h"
#include "decoder/json.h"
#include "steering/commands.h"
#include "steering/fault.h"
#include "tools/veskctl/commands.h"
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

ordered_json FaultsJson(const Decoder& decoder, const Bytes& answer)
{
    ordered_json rows = ordered_json::array();
    for (const VeskControlFaultState& state : FaultsIn(answer))
        rows.push_back(Object({{"fault", state.fault},
                               {"matches", state.matches},
                               {"hits", state.hits},
                               {"rule", steering::FaultText(decoder, state.rule)}}));
    return rows;
}

void PrintFaults(const Decoder& decoder, const Bytes& answer)
{
    for (const VeskControlFaultState& state : FaultsIn(answer))
        PutFormatted(stdout, "%u  %s  (matched %" PRIu64 ", changed %" PRIu64 ")", state.fault,
                     steering::FaultText(decoder, state.rule).c_str(), state.matches, state.hits);
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

InstalledFiles InstalledScenarios()
{
    InstalledFiles installed = Installed("scenarios");
    if (installed.names.empty())
        throw Failure(kFailed, "no scenarios are installed");
    return installed;
}

/// What each installed scenario is for, by name.
std::vector<std::pair<std::string, std::string>> Scenarios(const InstalledFiles& installed)
{
    std::vector<std::pair<std::string, std::string>> scenarios;
    for (const std::string& name : installed.names)
        scenarios.emplace_back(name, Purpose(installed.folder + '/' + name));
    return scenarios;
}

int ListScenarios(bool asJson)
{
    if (asJson) {
        PrintLine(ScenariosJson());
        return kDone;
    }
    Table table;
    for (const auto& [name, purpose] : Scenarios(InstalledScenarios()))
        table.Add({name, purpose});
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
    if (settings.json)
        PrintLine(ControlAnswerJson(decoder, call));
    else if (message->number == VESK_CONTROL_FAULT_LIST)
        PrintFaults(decoder, call.outcome.answer);
    else
        PrintAnswer(*call.answer);
    return kDone;
}

} // namespace

std::string ControlAnswerJson(const Decoder& decoder, const Call& call)
{
    if (call.request.number == VESK_CONTROL_FAULT_LIST)
        return Dump(FaultsJson(decoder, call.outcome.answer));
    return Dump(ToJson(*call.answer).value("payload", ordered_json::object()));
}

std::string ScenariosJson()
{
    const InstalledFiles installed = InstalledScenarios();
    ordered_json rows = ordered_json::array();
    for (const auto& [name, purpose] : Scenarios(installed))
        rows.push_back(
            Object({{"name", name}, {"description", purpose}, {"file", installed.folder + '/' + name}}));
    return Dump(rows);
}

std::vector<CommandLine> DeviceControlCommands(Settings& settings)
{
    return steering::ControlCommands(
        "veskctl device", [&settings](const steering::Build& build) { return RunControl(settings, build); });
}

} // namespace vesk::ctl
