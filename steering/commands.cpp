// The commands that steer the virtual device: one grammar for the command line and for scenarios.
#include "steering/commands.h"

#include "base/error.h"
#include "decoder/text.h"
#include "steering/fault.h"
#include "steering/scenario_file.h"
#include "vesk_service/control_list.h"

#include <algorithm>
#include <cstring>
#include <memory>

namespace vesk::steering {

using namespace decoder;

namespace {

/// A command. Its message is built after the words are parsed, so options live in what is returned.
struct Command {
    const char* name;
    const char* summary;
    const char* example; ///< As a line of words.
    Build (*add)(CLI::App& app);
};

/// Without it, -1 would be a very large number.
std::string CheckUnsigned(const std::string& text)
{
    return text.starts_with('-') ? "expected a number from 0, not " + text : std::string();
}

VeskControlMode ParseMode(const std::string& text)
{
    const size_t x = text.find('x');
    const size_t at = text.find('@');
    const auto number = [&](size_t begin, size_t end) {
        const auto parsed = ParseNumber(std::string_view(text).substr(begin, end - begin));
        return parsed && *parsed <= UINT32_MAX ? static_cast<uint32_t>(*parsed) : 0;
    };
    VeskControlMode mode{};
    if (x != text.npos && at != text.npos && x < at)
        mode = {number(0, x), number(x + 1, at), number(at + 1, text.size())};
    if (mode.width == 0 || mode.height == 0 || mode.fr == 0)
        throw Error("'" + text +
                    "': expected a mode of width, height and frames per second, such as 1920x1080@60");
    return mode;
}

struct Port {
    std::string direction;
    uint64_t number = 0;
    std::string mode;

    Arguments InHeader() const
    {
        return {static_cast<uint16_t>(direction == "output" ? VESK_CONTROL_OUTPUT : VESK_CONTROL_INPUT),
                number};
    }
};

std::shared_ptr<Port> AddPort(CLI::App& app)
{
    auto port = std::make_shared<Port>();
    app.add_option("DIRECTION", port->direction, "input or output")
        ->required()
        ->check(CLI::IsMember({"input", "output"}));
    app.add_option("PORT", port->number, "Number of the port, from 0")
        ->required()
        ->check(CLI::Range(uint64_t{0}, uint64_t{UINT32_MAX}));
    return port;
}

constexpr char kModeHelp[] = "Picture as WIDTHxHEIGHT@RATE: 1920x1080@60";

Build AddPlug(CLI::App& app)
{
    auto port = AddPort(app);
    app.add_option("--mode", port->mode, std::string(kModeHelp) + "; the port's last one if it is not given");
    return [port](const Decoder&) {
        const VeskControlMode mode = port->mode.empty() ? VeskControlMode{} : ParseMode(port->mode);
        return MakeMessage(VESK_CONTROL_PLUG, port->InHeader(), {BytesOf(mode)});
    };
}

Build AddUnplug(CLI::App& app)
{
    auto port = AddPort(app);
    return [port](const Decoder&) { return MakeMessage(VESK_CONTROL_UNPLUG, port->InHeader()); };
}

Build AddMode(CLI::App& app)
{
    auto port = AddPort(app);
    app.add_option("MODE", port->mode, kModeHelp)->required();
    return [port](const Decoder&) {
        return MakeMessage(VESK_CONTROL_MODE, port->InHeader(), {BytesOf(ParseMode(port->mode))});
    };
}

struct NotifyOptions {
    std::string name;
    std::vector<std::string> fields;
    std::string application;
    std::optional<std::string> raw;
    std::optional<uint64_t> length;
};

ControlMessage Notify(const Decoder& decoder, const NotifyOptions& options)
{
    constexpr size_t kLongest =
        VESK_VIDEO_MAX_MESSAGE_SIZE - sizeof(VeskVideoMsgHead) - sizeof(VeskControlNotification);
    const messages::Notification& listed = NotificationNamed(options.name);
    if (messages::IsControl(listed.number))
        throw Error(options.name + ": expected a notification of the interface");
    std::vector<Assignment> fields;
    for (const std::string& field : options.fields)
        fields.push_back(ParseAssignment(field));
    const Bytes data = options.raw ? decoder.EncodeRaw(Direction::kNotification, listed.number, fields,
                                                       ParseHex(*options.raw))
                                   : decoder.Encode(Direction::kNotification, listed.number, fields);
    VeskVideoMsgHead head;
    std::memcpy(&head, data.data(), sizeof head);
    Bytes payload(data.begin() + sizeof head, data.end());
    if (options.length && *options.length > kLongest)
        throw Error("--length " + std::to_string(*options.length) + ": expected at most " +
                    std::to_string(kLongest) + " bytes");
    payload.resize(options.length.value_or(payload.size()));
    VeskControlNotification notification{{}, listed.number, head.ulParam2, head.ulParam1};
    StoreApplication(notification.procName, options.application, "--to");
    return MakeMessage(VESK_CONTROL_NOTIFY, {}, {BytesOf(notification), payload});
}

Build AddNotify(CLI::App& app)
{
    auto options = std::make_shared<NotifyOptions>();
    app.add_option("NAME", options->name, "Name of a notification, with or without prefix; its number")
        ->required();
    app.add_option("FIELD=VALUE", options->fields, "Arguments and payload fields by name");
    app.add_option("--to", options->application, "Application; all of them if it is not given");
    app.add_option("--raw", options->raw, "Payload in hexadecimal, sent as it is");
    app.add_option("--length", options->length, "Bytes of the payload: it is cut off, or followed by zeros")
        ->check(CheckUnsigned);
    return [options](const Decoder& decoder) { return Notify(decoder, *options); };
}

Build AddFaultAdd(CLI::App& app)
{
    struct Given {
        std::vector<std::string> words;
        FaultOptions options;
    };
    auto given = std::make_shared<Given>();
    FaultOptions& options = given->options;
    app.add_option("MATCH EFFECT", given->words,
                   "A request or notification by name or number, or *; FIELD=VALUE of its fields; then " +
                       EffectHelp())
        ->required();
    app.add_option("--app", options.application, "Only messages from or to this application");
    app.add_option("--after", options.after, "Let so many matches pass first")->check(CheckUnsigned);
    app.add_option("--every", options.every, "Of the others, change only each so-many-th")
        ->check(CheckUnsigned);
    app.add_option("--count", options.count, "End after so many changes")->check(CheckUnsigned);
    app.add_option("--percent", options.percent, "Chance of each change that is left, 1 to 100")
        ->check(CLI::Range(1, 100));
    app.add_option("--seed", options.seed, "Of the rule's chances and random bytes")->check(CheckUnsigned);
    return [given](const Decoder& decoder) {
        return MakeMessage(VESK_CONTROL_FAULT_ADD, {},
                           {BytesOf(FaultOf(decoder, given->words, given->options))});
    };
}

Build AddFaultList(CLI::App&)
{
    return [](const Decoder&) { return MakeMessage(VESK_CONTROL_FAULT_LIST, {}); };
}

/// A command whose one argument is an optional number, 0 if it is not given.
template <VeskControlRequest request>
Build AddNumber(CLI::App& app, const char* name, const char* summary, uint64_t lowest)
{
    auto number = std::make_shared<uint64_t>(0);
    app.add_option(name, *number, summary)->check(CLI::Range(lowest, uint64_t{UINT32_MAX}));
    return [number](const Decoder&) { return MakeMessage(request, {.param1 = *number}); };
}

Build AddFaultClear(CLI::App& app)
{
    return AddNumber<VESK_CONTROL_FAULT_CLEAR>(app, "FAULT", "Number of the rule; all if it is not given", 1);
}

Build AddTime(CLI::App& app)
{
    return AddNumber<VESK_CONTROL_TIME>(app, "MS", "Milliseconds to move on; without, only the time is told",
                                        0);
}

Build AddReset(CLI::App&)
{
    return [](const Decoder&) { return MakeMessage(VESK_CONTROL_RESET, {}); };
}

Build AddScenario(CLI::App& app)
{
    struct Given {
        std::string file;
        bool ends = false;
    };
    auto given = std::make_shared<Given>();
    auto* file = app.add_option("FILE", given->file, "File of steps, in TOML");
    auto* end = app.add_flag("--end", given->ends, "End the scenario that runs");
    file->excludes(end);
    return [given](const Decoder& decoder) {
        if (given->ends)
            return MakeMessage(VESK_CONTROL_SCENARIO, {});
        if (given->file.empty())
            throw Error("scenario: expected FILE or --end");
        return ScenarioFromFile(decoder, given->file);
    };
}

constexpr Command kCommands[] = {
    {"plug", "Plug a source or display in", "plug input 1 --mode 1920x1080@60", AddPlug},
    {"unplug", "Pull a source or display out", "unplug output 0", AddUnplug},
    {"mode", "Change the mode of what is plugged in", "mode output 0 3840x2160@30", AddMode},
    {"notify", "Send a notification to applications", "notify VO_PORT_PLUG_STATE port=1 val=0 --to tour",
     AddNotify},
    {"time", "Tell the device's time, or move it on", "time 250", AddTime},
    {"scenario", "Run the steps of a file", "scenario cable.toml", AddScenario},
    {"reset", "Go back to the described device: everything opened, faults and scenario are gone", "reset",
     AddReset},
};

constexpr Command kFaultCommands[] = {
    {"add", "Add a rule: what happens to which messages",
     "fault add VO_START outEngNo=1 result BUSY --count 2", AddFaultAdd},
    {"list", "List the rules, and how often each has matched", "fault list", AddFaultList},
    {"clear", "Take a rule away, or all", "fault clear 1", AddFaultClear},
};

void AddCommands(CLI::App& app, std::span<const Command> commands, const std::function<void(Build)>& given)
{
    for (const Command& command : commands) {
        CLI::App* subcommand = app.add_subcommand(command.name, command.summary);
        subcommand->footer(std::string("Example:\n  ") + command.example);
        subcommand->callback([given, build = command.add(*subcommand)] { given(build); });
    }
}

} // namespace

void AddControlCommands(CLI::App& app, const std::function<void(Build)>& given)
{
    AddCommands(app, kCommands, given);
    CLI::App* fault =
        app.add_subcommand("fault", "Let requests fail, answers come late, notifications get lost");
    fault->require_subcommand(1);
    AddCommands(*fault, kFaultCommands, given);
}

ControlMessage ControlMessageOf(const Decoder& decoder, const std::vector<std::string>& words)
{
    Build build;
    CLI::App app;
    app.set_help_flag();
    app.require_subcommand(1);
    AddControlCommands(app, [&](Build given) { build = std::move(given); });
    if (words.empty())
        throw Error("expected a command");
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands(nullptr))
        names.push_back(command->get_name());
    if (std::find(names.begin(), names.end(), words[0]) == names.end())
        throw Error("there is no command '" + words[0] + "'" +
                    Nearest(words[0], {names.begin(), names.end()}));
    try {
        app.parse(std::vector<std::string>(words.rbegin(), words.rend())); // it takes them from the end
    } catch (const CLI::ParseError& error) {
        throw Error(error.what());
    }
    return build(decoder);
}

} // namespace vesk::steering
