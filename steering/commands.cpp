// The commands that steer the virtual device: one grammar for the command line and for scenarios.
#include "steering/commands.h"

#include "base/error.h"
#include "decoder/text.h"
#include "steering/fault.h"
#include "steering/scenario_file.h"
#include "vesk_service/control_list.h"

#include <cstring>
#include <memory>
#include <span>

namespace vesk::steering {

using namespace decoder;

namespace {

/// A command. Its message is built after the words are parsed, so options live in what is returned.
struct Command {
    const char* name;
    const char* summary;
    const char* example; ///< As a line of words.
    Build (*add)(std::vector<Option>& options);
};

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

std::shared_ptr<Port> AddPort(std::vector<Option>& options)
{
    auto port = std::make_shared<Port>();
    options.push_back({.name = "DIRECTION",
                       .place = &port->direction,
                       .help = "Direction of the port",
                       .isRequired = true,
                       .choices = {"input", "output"}});
    options.push_back({.name = "PORT",
                       .place = &port->number,
                       .help = "Number of the port, from 0",
                       .isRequired = true,
                       .range = std::pair(uint64_t{0}, uint64_t{UINT32_MAX})});
    return port;
}

constexpr char kModeHelp[] = "Picture as WIDTHxHEIGHT@RATE: 1920x1080@60";

Build AddPlug(std::vector<Option>& options)
{
    auto port = AddPort(options);
    options.push_back({.name = "--mode",
                       .place = &port->mode,
                       .help = std::string(kModeHelp).append("; by default, the port's last one")});
    return [port](const Decoder&) {
        const VeskControlMode mode = port->mode.empty() ? VeskControlMode{} : ParseMode(port->mode);
        return MakeMessage(VESK_CONTROL_PLUG, port->InHeader(), {BytesOf(mode)});
    };
}

Build AddUnplug(std::vector<Option>& options)
{
    auto port = AddPort(options);
    return [port](const Decoder&) { return MakeMessage(VESK_CONTROL_UNPLUG, port->InHeader()); };
}

Build AddMode(std::vector<Option>& options)
{
    auto port = AddPort(options);
    options.push_back({.name = "MODE", .place = &port->mode, .help = kModeHelp, .isRequired = true});
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

Build AddNotify(std::vector<Option>& options)
{
    auto given = std::make_shared<NotifyOptions>();
    options = {
        {.name = "NAME",
         .place = &given->name,
         .help = "Name of a notification, with or without prefix; its number",
         .isRequired = true,
         .names = Names::kNotification},
        {.name = "FIELD=VALUE", .place = &given->fields, .help = "Arguments and payload fields by name"},
        {.name = "--to",
         .place = &given->application,
         .help = "Application that receives it; by default, all do"},
        {.name = "--raw", .place = &given->raw, .help = "Payload in hexadecimal, sent as it is"},
        {.name = "--length",
         .place = &given->length,
         .help = "Length of the payload in bytes: it is cut off, or padded with zeros"},
    };
    return [given](const Decoder& decoder) { return Notify(decoder, *given); };
}

Build AddFaultAdd(std::vector<Option>& options)
{
    struct Given {
        std::vector<std::string> words;
        FaultOptions options;
    };
    auto given = std::make_shared<Given>();
    FaultOptions& fault = given->options;
    options = {
        {.name = "MATCH EFFECT",
         .place = &given->words,
         .help = "A request or notification by name or number, or *; then FIELD=VALUE of its fields; then an "
                 "effect: " +
                 EffectHelp(),
         .isRequired = true,
         .names = Names::kFault},
        {.name = "--app", .place = &fault.application, .help = "Only messages from or to this application"},
        {.name = "--after", .place = &fault.after, .help = "Skip the first N matches"},
        {.name = "--every", .place = &fault.every, .help = "Of the rest, change only every Nth"},
        {.name = "--count", .place = &fault.count, .help = "Stop after N changes"},
        {.name = "--percent",
         .place = &fault.percent,
         .help = "Chance that each of these is changed, 1 to 100",
         .range = std::pair(uint64_t{1}, uint64_t{100})},
        {.name = "--seed",
         .place = &fault.seed,
         .help = "Seed of the rule's chances and random bytes; the same seed, the same ones"},
    };
    return [given](const Decoder& decoder) {
        return MakeMessage(VESK_CONTROL_FAULT_ADD, {},
                           {BytesOf(FaultOf(decoder, given->words, given->options))});
    };
}

/// A command of its name alone.
template <VeskControlRequest request>
Build AddNothing(std::vector<Option>&)
{
    return [](const Decoder&) { return MakeMessage(request, {}); };
}

/// A command whose one argument is an optional number, 0 if it is not given.
template <VeskControlRequest request>
Build AddNumber(std::vector<Option>& options, const char* name, const char* help, uint64_t lowest)
{
    auto number = std::make_shared<uint64_t>(0);
    options.push_back({.name = name,
                       .place = number.get(),
                       .help = help,
                       .range = std::pair(lowest, uint64_t{UINT32_MAX})});
    return [number](const Decoder&) { return MakeMessage(request, {.param1 = *number}); };
}

Build AddFaultClear(std::vector<Option>& options)
{
    return AddNumber<VESK_CONTROL_FAULT_CLEAR>(options, "FAULT", "Number of the rule; by default, all rules",
                                               1);
}

Build AddTime(std::vector<Option>& options)
{
    return AddNumber<VESK_CONTROL_TIME>(
        options, "MS", "Milliseconds to move the time on; the service must run with --step", 0);
}

Build AddScenario(std::vector<Option>& options)
{
    struct Given {
        std::string file;
        bool ends = false;
    };
    auto given = std::make_shared<Given>();
    options = {
        {.name = "FILE",
         .place = &given->file,
         .help =
             "Steps to run, in TOML, in place of the scenario that runs: a file, or the name of an installed "
             "one; - is standard input. Without it, the installed ones are listed",
         .excludes = "--end"},
        {.name = "--end", .place = &given->ends, .help = "End the scenario that runs"},
    };
    return [given](const Decoder& decoder) -> std::optional<ControlMessage> {
        if (given->ends)
            return MakeMessage(VESK_CONTROL_SCENARIO, {});
        if (given->file.empty())
            return std::nullopt;
        return ScenarioFromFile(decoder, given->file);
    };
}

constexpr Command kCommands[] = {
    {"plug", "Plug in a source or display", "plug input 1 --mode 1920x1080@60", AddPlug},
    {"unplug", "Unplug a source or display", "unplug output 0", AddUnplug},
    {"mode", "Change the mode of what is plugged in", "mode output 0 3840x2160@30", AddMode},
    {"notify", "Send a notification to applications", "notify VO_PORT_PLUG_STATE port=1 val=0", AddNotify},
    {"time", "Show the device's time, or move it on", "time", AddTime},
    {"scenario", "Run the steps in a file", "scenario loose_cable.toml", AddScenario},
    {"reset", "Go back to the described device; what is open, faults and the scenario are gone", "reset",
     AddNothing<VESK_CONTROL_RESET>},
};

constexpr Command kFaultCommands[] = {
    {"add", "Add a rule: what happens to which messages",
     "fault add VO_START outEngNo=2001 result BUSY --count 2", AddFaultAdd},
    {"list", "List the rules, and how often each has matched", "fault list",
     AddNothing<VESK_CONTROL_FAULT_LIST>},
    {"clear", "Remove a rule, or all rules", "fault clear", AddFaultClear},
};

std::string ExampleOf(const Command& command, const std::string& program)
{
    return "  " + program + ' ' + command.example;
}

std::vector<CommandLine> Describe(std::span<const Command> commands, const std::string& program,
                                  const Perform& perform)
{
    std::vector<CommandLine> lines;
    for (const Command& command : commands) {
        CommandLine line{.name = command.name,
                         .summary = command.summary,
                         .footer = "Example:\n" + ExampleOf(command, program)};
        line.run = [perform, build = command.add(line.options)] { return perform(build); };
        lines.push_back(std::move(line));
    }
    return lines;
}

} // namespace

std::vector<CommandLine> ControlCommands(const std::string& program, const Perform& perform)
{
    std::vector<CommandLine> lines = Describe(kCommands, program, perform);
    std::string examples = "Example:";
    for (const Command& command : kFaultCommands)
        examples += '\n' + ExampleOf(command, program);
    lines.push_back({.name = "fault",
                     .summary = "Make requests fail, answers come late, notifications get lost",
                     .footer = examples,
                     .commands = Describe(kFaultCommands, program, perform)});
    return lines;
}

ControlMessage ControlMessageOf(const Decoder& decoder, const std::vector<std::string>& words)
{
    std::optional<ControlMessage> message;
    const CommandLine commands{.name = "",
                               .summary = "",
                               .commands = ControlCommands("",
                                                           [&](const Build& build) {
                                                               message = build(decoder);
                                                               return 0;
                                                           }),
                               .hasHelp = false};
    if (words.empty())
        throw Error("expected a command");
    ParseWords(commands, words)();
    if (!message)
        throw Error("scenario: expected FILE or --end");
    return *message;
}

} // namespace vesk::steering
