// The subcommand "call": sends one request and shows its answer.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/document.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "vesk_service/control_list.h"

namespace vesk::ctl {

using namespace decoder;

namespace {

struct Options {
    std::string name;
    std::vector<std::string> fields;
    std::string jsonFile;
    std::optional<std::string> raw;
    uint32_t timeoutMs = VESK_VIDEO_SYNC_TIMEOUT;
};

Prepared PrepareCall(const Decoder& decoder, const Options& options)
{
    std::vector<Assignment> fields;
    if (!options.jsonFile.empty())
        fields = AssignmentsOf(ReadDocument(options.jsonFile), options.jsonFile);
    for (const std::string& field : options.fields)
        fields.push_back(ParseAssignment(field));
    if (!options.raw)
        return Prepare(decoder, options.name, fields);
    const Bytes raw = ParseHex(*options.raw);
    return Prepare(decoder, options.name, fields, &raw);
}

/// The call on one line, and each field of its answer on one of its own.
void Show(const Decoder& decoder, Call call)
{
    std::string fields;
    if (call.answer) {
        fields = FieldLines(decoder, *call.answer, "  ");
        call.answer->fields.clear();
    }
    PrintLine(CallLine(decoder, call));
    PutLines(stdout, fields);
}

int RunCall(Settings& settings, const Options& options)
{
    const Decoder& decoder = settings.Decoder();
    const Prepared request = Usage([&] { return PrepareCall(decoder, options); });
    Client client(settings.service, Client::Interrupt::kEndsProgram);
    if (request.number != VESK_VIDEO_MSG_INIT && !messages::IsControl(request.number))
        client.Announce(options.timeoutMs);
    const Call call = Perform(client, decoder, request, options.timeoutMs);
    if (settings.json)
        PrintLine(CallJson(call));
    else
        Show(decoder, call);
    RequireOk(call);
    return kDone;
}

} // namespace

CommandLine CallCommand(Settings& settings)
{
    auto options = std::make_shared<Options>();
    return {
        .name = "call",
        .summary = "Send one request and show its answer",
        .footer = "Example:\n"
                  "  veskctl call OPEN_VO_PORT voPort=0\n"
                  "  veskctl call VeskVideoGetVoPort count=2 --json\n"
                  "  veskctl call SET_DISPLAY_MODE displayMode=2 fps=60",
        .options =
            {
                {.name = "NAME",
                 .place = &options->name,
                 .help = "Name of a request, with or without prefix; its function; its number",
                 .isRequired = true,
                 .names = Names::kRequest},
                {.name = "FIELD=VALUE",
                 .place = &options->fields,
                 .help = "Arguments and payload fields by name, as 'veskctl describe NAME' lists them"},
                {.name = "--from",
                 .place = &options->jsonFile,
                 .help = "Take fields from this JSON file; - is standard input"},
                {.name = "--raw", .place = &options->raw, .help = "Payload in hexadecimal, sent as it is"},
                {.name = "--timeout",
                 .place = &options->timeoutMs,
                 .help = "Milliseconds to wait for the answer",
                 .showsDefault = true,
                 .range = kTimeouts},
            },
        .run = [options, &settings] { return RunCall(settings, *options); },
    };
}

} // namespace vesk::ctl
