// The hidden subcommand "complete": what can follow on a command line.
#include "tools/veskctl/completion.h"

#include "steering/fault.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/script.h"

#include <algorithm>

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

/// What can follow a subcommand, given the words before that are no options.
List Candidates(const Decoder& decoder, Words words, const List& before)
{
    if (words == Words::kRequest && !before.empty())
        return RequestFields(decoder, before[0]);
    if (words == Words::kNotification && !before.empty())
        return NotificationFields(decoder, before[0]);
    if (words == Words::kFault)
        return FaultCandidates(decoder, before);
    if (!before.empty())
        return {};
    switch (words) {
    case Words::kDirection:
        return {"input", "output"};
    case Words::kRequest:
        return Texts(RequestNames());
    case Words::kNotification:
        return Texts(NotificationNames());
    case Words::kAnything:
        return Everything(decoder);
    case Words::kLists:
        return {"requests", "notifications", "records", "results"};
    default:
        return {};
    }
}

/// Names of the options of a program or subcommand that are shown, "--timeout".
void AddOptions(const CLI::App& app, List& names)
{
    for (const CLI::Option* option : app.get_options()) {
        for (const std::string& name : option->get_lnames())
            names.push_back("--" + name);
    }
}

List StartingWith(List names, const std::string& start)
{
    std::erase_if(names, [&](const std::string& name) { return !name.starts_with(start); });
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

/// What follows the subcommands of "device" that control/commands.h declares.
constexpr std::pair<std::string_view, Words> kDeviceWords[] = {
    {"device plug", Words::kDirection},  {"device unplug", Words::kDirection},
    {"device mode", Words::kDirection},  {"device notify", Words::kNotification},
    {"device fault add", Words::kFault},
};

Words WordsAfter(const std::string& path)
{
    for (const Command* command : Commands()) {
        if (path == command->name)
            return command->words;
    }
    for (const auto& [known, words] : kDeviceWords) {
        if (path == known)
            return words;
    }
    return Words::kNone;
}

/// The subcommands of an app that are shown.
std::vector<CLI::App*> Subcommands(CLI::App& app)
{
    return app.get_subcommands([](const CLI::App* subcommand) { return !subcommand->get_group().empty(); });
}

} // namespace

List Complete(const List& words)
{
    Settings settings;
    Run run;
    CLI::App app("", "veskctl");
    Declare(app, settings, run);
    const std::string& last = words.back();
    List options;
    AddOptions(app, options);
    CLI::App* at = &app;
    std::string path;
    List before; // what follows the subcommands and is no option
    for (auto word = words.begin(); word != words.end() - 1; ++word) {
        if (word->starts_with('-'))
            continue;
        const std::vector<CLI::App*> known = Subcommands(*at);
        const auto named = std::find_if(known.begin(), known.end(),
                                        [&](const CLI::App* one) { return one->get_name() == *word; });
        if (named == known.end()) {
            before.push_back(*word);
            continue;
        }
        at = *named;
        AddOptions(*at, options);
        path += (path.empty() ? "" : " ") + *word;
    }
    if (last.starts_with('-'))
        return StartingWith(options, last);
    if (words.size() > 1 && words.end()[-2] == "--match")
        return StartingWith(MessageNames(), last);
    List names = Candidates(settings.Decoder(), WordsAfter(path), before);
    for (const CLI::App* subcommand : Subcommands(*at)) {
        if (before.empty())
            names.push_back(subcommand->get_name());
    }
    return StartingWith(names, last);
}

List CompletePrompt(const List& words)
{
    static Settings s_settings;
    const Decoder& decoder = s_settings.Decoder();
    const std::string& last = words.back();
    if (words.size() == 1) {
        List names = Texts(RequestNames());
        names.insert(names.end(), std::begin(kVerbs), std::end(kVerbs));
        return StartingWith(names, last);
    }
    const List before(words.begin() + 1, words.end() - 1);
    if (words[0] == "device")
        return Complete(words);
    if (words[0] == "wait")
        return StartingWith(Candidates(decoder, Words::kNotification, before), last);
    if (words[0] == "describe")
        return StartingWith(Candidates(decoder, Words::kAnything, before), last);
    if (words[0] == "list")
        return StartingWith(Candidates(decoder, Words::kLists, before), last);
    if (words[0] == "expect")
        return StartingWith(before.empty() ? ResultNames() : Texts(RequestNames()), last);
    return StartingWith(Candidates(decoder, Words::kRequest, {words.begin(), words.end() - 1}), last);
}

namespace {

int RunComplete(const List& words)
{
    for (const std::string& word : Complete(words.empty() ? List{""} : words))
        PrintLine(word);
    return kDone;
}

Run Add(CLI::App& app, Settings&)
{
    auto words = std::make_shared<List>();
    app.add_option("WORD", *words, "Words after veskctl; the last one is to be completed");
    return [words] { return RunComplete(*words); };
}

} // namespace

const Command kComplete{"complete", "", "  veskctl complete -- call VO_", Add, Words::kNone};

} // namespace vesk::ctl
