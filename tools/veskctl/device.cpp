// The subcommand "device": steers the virtual device.
#include "control/commands.h"
#include "control/fault.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"

#include <cinttypes>
#include <cstring>
#include <initializer_list>

namespace vesk::ctl {

using namespace tools;
using nlohmann::ordered_json;

namespace {

/// One row a nested command with a source of its own. Those that consist of one message come from
/// control/commands.h.
constexpr std::initializer_list<const Command*> kNested = {};

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
        const std::string rule = control::FaultText(decoder, state.rule);
        if (asJson)
            rows.push_back(
                {{"fault", state.fault}, {"matches", state.matches}, {"hits", state.hits}, {"rule", rule}});
        else
            std::printf("%u  %s  (matched %" PRIu64 ", changed %" PRIu64 ")\n", state.fault, rule.c_str(),
                        state.matches, state.hits);
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
        std::printf("sent to %" PRIu64 "\n", number("clients"));
    else if (answer.number == VESK_CONTROL_FAULT_ADD)
        std::printf("fault %" PRIu64 "\n", number("fault"));
    else if (answer.number == VESK_CONTROL_TIME)
        std::printf("%" PRIu64 " ms since the service started, %" PRIu64 " due%s\n", number("nowMs"),
                    number("due"), number("isStep") != 0 ? "; moves by command" : "");
}

int RunControl(Settings& settings, const control::Build& build, uint32_t timeoutMs)
{
    const Decoder& decoder = settings.Decoder();
    control::ControlMessage message = Usage([&] { return build(decoder); });
    Client client(settings.service, Client::Interrupt::kEndsProgram);
    const Prepared request{message.number, true, std::move(message.data)};
    const Call call = Perform(client, decoder, request, timeoutMs);
    RequireOk(call);
    if (request.number == VESK_CONTROL_FAULT_LIST)
        PrintFaults(decoder, call.outcome.answer, settings.json);
    else if (settings.json)
        PrintLine(Dump(ToJson(*call.answer).value("payload", ordered_json::object())));
    else
        PrintAnswer(*call.answer);
    return kDone;
}

Run Add(CLI::App& app, Settings& settings)
{
    struct Chosen {
        Run run;
        uint32_t timeoutMs = VESK_VIDEO_SYNC_TIMEOUT;
    };
    auto chosen = std::make_shared<Chosen>();
    app.require_subcommand(1);
    app.add_option("--timeout", chosen->timeoutMs, "Milliseconds to wait for the answer")
        ->capture_default_str();
    Declare(app, settings, {kNested.begin(), kNested.size()},
            [chosen](const Run& run) { chosen->run = run; });
    control::AddControlCommands(app, [chosen, &settings](const control::Build& build) {
        chosen->run = [&settings, build, timeoutMs = &chosen->timeoutMs] {
            return RunControl(settings, build, *timeoutMs);
        };
    });
    return [chosen] { return chosen->run(); };
}

} // namespace

const Command kDevice{"device", "Steer the virtual device: cables, notifications, faults, time",
                      "  veskctl device unplug input 0\n"
                      "  veskctl device fault add VO_START outEngNo=1 result BUSY --count 2\n"
                      "  veskctl device scenario cable.toml",
                      Add};

} // namespace vesk::ctl
