// The hidden subcommand "complete": what can follow on a command line.
#include "tools/veskctl/completion.h"

#include "steering/fault.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/script.h"

#include <algorithm>
#include <map>

namespace vesk::ctl {

using namespace decoder;

namespace {

using List = std::vector<std::string>;

List Texts(const std::vector<std::string_view>& names)
{
    return {names.begin(), names.end()};
}

/// Requests, with their functions, and notifications.
List MessageNames()
{
    List names = Texts(RequestNames());
    for (const std::string_view notification : NotificationNames())
        names.emplace_back(notification);
    return names;
}

List ResultNames()
{
    List names;
    for (const ResultCode& code : ResultCodes())
        names.emplace_back(ResultName(code.code));
    return names;
}

/// "picNum=", "subPic[0].inputId=" ...
void AddFields(const RecordType& record, const std::string& prefix, List& fields)
{
    for (const RecordField& field : record.fields) {
        const std::string path = prefix + field.name;
        if (field.record != nullptr)
            AddFields(*field.record, path + (field.isArray ? "[0]." : "."), fields);
        else if (!field.isFiller || field.isOpaque)
            fields.push_back(path + '=');
    }
}

List Fields(const Decoder& decoder, Direction direction, uint32_t number)
{
    const Listing listing = decoder.Describe(direction, number);
    List fields;
    for (const HeaderArgument& argument : listing.arguments) {
        if (argument.isListed)
            fields.push_back(std::string(argument.name) + '=');
    }
    if (const RecordType* record = decoder.PayloadRecord(listing))
        AddFields(*record, listing.form->kind == messages::Kind::kArray ? "[0]." : "", fields);
    else if (listing.form->kind == messages::Kind::kText)
        fields.emplace_back("text=");
    else if (listing.form->kind == messages::Kind::kBytes)
        fields.emplace_back("data=");
    return fields;
}

List Everything(const Decoder& decoder)
{
    List names = MessageNames();
    for (const auto& [name, record] : decoder.Records().All())
        names.push_back(name);
    for (const ResultCode& code : ResultCodes())
        names.emplace_back(code.name);
    return names;
}

List RequestFields(const Decoder& decoder, const std::string& name)
{
    const messages::Request* request = FindRequest(name);
    return request == nullptr ? List() : Fields(decoder, Direction::kRequest, request->number);
}

List NotificationFields(const Decoder& decoder, const std::string& name)
{
    const messages::Notification* notification = FindNotification(name);
    return notification == nullptr ? List() : Fields(decoder, Direction::kNotification, notification->number);
}

/// What can follow the words of a fault: a message, its fields, an effect, a result code.
List FaultCandidates(const Decoder& decoder, const List& before)
{
    if (before.empty()) {
        List names = MessageNames();
        std::erase_if(names, [](const std::string& name) { return name.starts_with("CONTROL_"); });
        names.emplace_back("*");
        return names;
    }
    const auto isCondition = [](const std::string& word) { return word.find('=') != word.npos; };
    if (!std::all_of(before.begin() + 1, before.end(), isCondition))
        return before.back() == "result" ? ResultNames() : List();
    List names = Texts(steering::EffectNames());
    for (const List& fields : {RequestFields(decoder, before[0]), NotificationFields(decoder, before[0])})
        names.insert(names.end(), fields.begin(), fields.end());
    return names;
}

/// Values that can follow @p before, the words so far, where the first names something.
List Candidates(const Decoder& decoder, Names names, const List& before)
{
    switch (names) {
    case Names::kRequest:
        return before.empty() ? Texts(RequestNames()) : RequestFields(decoder, before[0]);
    case Names::kNotification:
        return before.empty() ? Texts(NotificationNames()) : NotificationFields(decoder, before[0]);
    case Names::kMessage:
        return MessageNames();
    case Names::kResult:
        return before.empty() ? ResultNames() : Texts(RequestNames());
    case Names::kFault:
        return FaultCandidates(decoder, before);
    case Names::kAnything:
        return before.empty() ? Everything(decoder) : List();
    default:
        return {};
    }
}

/// Values that the arguments of a program or subcommand can have after those before.
List ArgumentCandidates(const Decoder& decoder, const CommandLine& line, const List& before)
{
    std::vector<const Option*> arguments;
    for (const Option& option : line.options) {
        if (option.IsArgument())
            arguments.push_back(&option);
    }
    if (before.size() < arguments.size() && !arguments[before.size()]->choices.empty())
        return arguments[before.size()]->choices;
    return arguments.empty() ? List() : Candidates(decoder, arguments[0]->names, before);
}

/// "--output" of "-o,--output".
std::string LongName(const Option& option)
{
    return option.name.substr(std::min(option.name.find("--"), option.name.size()));
}

List StartingWith(List names, const std::string& start)
{
    std::erase_if(names, [&](const std::string& name) { return !name.starts_with(start); });
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

} // namespace

List Complete(const List& words)
{
    Settings settings;
    const CommandLine program = DescribeTool(settings);
    const std::string& last = words.back();
    std::map<std::string, const Option*> options{{"--help", nullptr}, {"--version", nullptr}};
    const auto addOptions = [&](const CommandLine& line) {
        for (const Option& option : line.options) {
            if (!option.IsArgument())
                options.emplace(LongName(option), &option);
        }
    };
    addOptions(program);
    const CommandLine* at = &program;
    List before; // what follows the subcommands and is no option
    for (auto word = words.begin(); word != words.end() - 1; ++word) {
        if (word->starts_with('-'))
            continue;
        const auto named = std::find_if(at->commands.begin(), at->commands.end(),
                                        [&](const CommandLine& one) { return one.name == *word; });
        if (named == at->commands.end()) {
            before.push_back(*word);
            continue;
        }
        at = &*named;
        addOptions(*at);
    }
    List names;
    const auto valued = options.find(words.size() > 1 ? words.end()[-2] : "");
    if (last.starts_with('-')) {
        for (const auto& [name, option] : options)
            names.push_back(name);
    } else if (valued != options.end() && valued->second != nullptr &&
               valued->second->names != Names::kNothing) {
        names = Candidates(settings.Decoder(), valued->second->names, {});
    } else {
        names = ArgumentCandidates(settings.Decoder(), *at, before);
        for (const CommandLine& command : at->commands) {
            if (before.empty() && !command.summary.empty())
                names.push_back(command.name);
        }
    }
    return StartingWith(std::move(names), last);
}

List CompletePrompt(const List& words)
{
    static Settings s_settings;
    const Decoder& decoder = s_settings.Decoder();
    const std::string& last = words.back();
    if (words.size() == 1) {
        List names = Texts(RequestNames());
        for (const Session::Verb& verb : Session::Verbs())
            names.emplace_back(verb.name);
        return StartingWith(std::move(names), last);
    }
    for (const Session::Verb& verb : Session::Verbs()) {
        if (words[0] != verb.name)
            continue;
        return verb.names ? StartingWith(
                                Candidates(decoder, *verb.names, {words.begin() + 1, words.end() - 1}), last)
                          : Complete(words);
    }
    return StartingWith(Candidates(decoder, Names::kRequest, {words.begin(), words.end() - 1}), last);
}

namespace {

int RunComplete(const List& words)
{
    for (const std::string& word : Complete(words.empty() ? List{""} : words))
        PrintLine(word);
    return kDone;
}

} // namespace

CommandLine CompleteCommand(Settings&)
{
    auto words = std::make_shared<List>();
    return {
        .name = "complete",
        .summary = "",
        .footer = "Example:\n  veskctl complete -- call VO_",
        .options = {{.name = "WORD",
                     .place = words.get(),
                     .help = "Words after veskctl; the last one is to be completed"}},
        .run = [words] { return RunComplete(*words); },
    };
}

} // namespace vesk::ctl
