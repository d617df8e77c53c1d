// The hidden subcommand "complete": what can follow on a command line.
#include "tools/veskctl/completion.h"

#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/script.h"

#include <algorithm>

namespace vesk::ctl {

using namespace tools;

namespace {

using List = std::vector<std::string>;

List RequestNames()
{
    List names;
    for (const messages::Request& request : messages::kRequests)
        names.insert(names.end(), {std::string(ShortName(request.name)), request.function});
    return names;
}

List NotificationNames()
{
    List names;
    for (const messages::Notification& notification : messages::kNotifications)
        names.emplace_back(ShortName(notification.name));
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
    List names = RequestNames();
    const List notifications = NotificationNames();
    names.insert(names.end(), notifications.begin(), notifications.end());
    for (const auto& [name, record] : decoder.Records().All())
        names.push_back(name);
    for (const ResultCode& code : ResultCodes())
        names.emplace_back(code.name);
    return names;
}

/// What can follow a subcommand, given the words before that are no options.
List Candidates(const Decoder& decoder, Words words, const List& before)
{
    if (words == Words::kRequest && !before.empty()) {
        const messages::Request* request = FindRequest(before[0]);
        return request == nullptr ? List() : Fields(decoder, Direction::kRequest, request->number);
    }
    if (words == Words::kNotification && !before.empty()) {
        const messages::Notification* notification = FindNotification(before[0]);
        return notification == nullptr ? List()
                                       : Fields(decoder, Direction::kNotification, notification->number);
    }
    if (!before.empty())
        return {};
    switch (words) {
    case Words::kRequest:
        return RequestNames();
    case Words::kNotification:
        return NotificationNames();
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

} // namespace

List Complete(const List& words)
{
    Settings settings;
    Run run;
    CLI::App app("", "veskctl");
    Declare(app, settings, run);
    const std::string& last = words.back();
    const auto isOption = [](const std::string& word) { return word.starts_with('-'); };
    const auto named = std::find_if_not(words.begin(), words.end() - 1, isOption);
    List names;
    if (named == words.end() - 1) {
        for (const Command* command : Commands()) {
            if (*command->summary != '\0')
                names.emplace_back(command->name);
        }
        if (isOption(last))
            AddOptions(app, names);
        return StartingWith(names, last);
    }
    const auto command = std::find_if(Commands().begin(), Commands().end(),
                                      [&](const Command* known) { return known->name == *named; });
    if (command == Commands().end())
        return {};
    if (isOption(last)) {
        AddOptions(app, names);
        AddOptions(*app.get_subcommand(*named), names);
        return StartingWith(names, last);
    }
    if (words.end()[-2] == "--match") {
        names = RequestNames();
        const List notifications = NotificationNames();
        names.insert(names.end(), notifications.begin(), notifications.end());
        return StartingWith(names, last);
    }
    List before(named + 1, words.end() - 1);
    std::erase_if(before, isOption);
    return StartingWith(Candidates(settings.Decoder(), (*command)->words, before), last);
}

List CompletePrompt(const List& words)
{
    static Settings s_settings;
    const Decoder& decoder = s_settings.Decoder();
    const std::string& last = words.back();
    if (words.size() == 1) {
        List names = RequestNames();
        names.insert(names.end(), std::begin(kVerbs), std::end(kVerbs));
        return StartingWith(names, last);
    }
    const List before(words.begin() + 1, words.end() - 1);
    if (words[0] == "wait")
        return StartingWith(Candidates(decoder, Words::kNotification, before), last);
    if (words[0] == "describe")
        return StartingWith(Candidates(decoder, Words::kAnything, before), last);
    if (words[0] == "list")
        return StartingWith(Candidates(decoder, Words::kLists, before), last);
    if (words[0] == "expect")
        return StartingWith(before.empty() ? ResultNames() : RequestNames(), last);
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
