// The subcommand "completion", which teaches a shell to complete, and the hidden one that it asks:
// "complete".
#include "tools/veskctl/completion.h"

#include "steering/fault.h"
#include "tools/veskctl/check/suite.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/program_text.h"
#include "tools/veskctl/script.h"

#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>

namespace vesk::ctl {

using namespace decoder;

namespace {

using List = std::vector<std::string>;

constexpr char kMeaningFollows = '\t';

/// A word and what it means, which whoever completes may also be told.
std::string Meaning(std::string_view word, std::string_view meaning)
{
    return std::string(word).append(1, kMeaningFollows).append(meaning);
}

std::string WordOf(const std::string& candidate)
{
    return candidate.substr(0, candidate.find(kMeaningFollows));
}

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

List ResultsWithMeanings()
{
    List names;
    for (const ResultCode& code : ResultCodes())
        names.push_back(Meaning(ResultName(code.code), code.meaning));
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
    for (const ResultCode& code : ResultCodes()) {
        names.emplace_back(code.name);
        names.emplace_back(ResultName(code.code));
    }
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
        return before.back() == "result" ? ResultsWithMeanings() : List();
    List names = Texts(steering::EffectNames());
    for (const List& fields : {RequestFields(decoder, before[0]), NotificationFields(decoder, before[0])})
        names.insert(names.end(), fields.begin(), fields.end());
    return names;
}

/// Programs that a shell would find.
List Programs()
{
    namespace fs = std::filesystem;
    List programs;
    const char* path = std::getenv("PATH");
    std::istringstream folders(path != nullptr ? path : "");
    for (std::string folder; std::getline(folders, folder, ':');) {
        std::error_code error;
        for (auto file = fs::directory_iterator(folder, error); !error && file != end(file);
             file.increment(error)) {
            std::error_code ignored;
            if (file->is_regular_file(ignored) && access(file->path().c_str(), X_OK) == 0)
                programs.push_back(file->path().filename());
        }
    }
    return programs;
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
        return before.empty() ? ResultsWithMeanings() : Texts(RequestNames());
    case Names::kFault:
        return FaultCandidates(decoder, before);
    case Names::kAnything:
        return before.empty() ? Everything(decoder) : List();
    case Names::kProgram:
        return before.empty() ? Programs() : List();
    case Names::kTest:
        return Texts(check::TestNames());
    default:
        return {};
    }
}

List StartingWith(List names, const std::string& start)
{
    std::erase_if(names, [&](const std::string& name) { return !name.starts_with(start); });
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

List CandidatesAt(const List& words);

/// A command line as far as it is written, but for its last word.
class Written {
public:
    explicit Written(const CommandLine& program) : at_(&program)
    {
        AddOptions(
            {{.name = "-h,--help", .place = static_cast<bool*>(nullptr), .help = "Print the help and exit"},
             {.name = "--version",
              .place = static_cast<bool*>(nullptr),
              .help = "Print the version and exit"}});
        AddOptions(program.options);
    }

    void Add(const std::string& word)
    {
        if (valued_ != nullptr) {
            valued_ = nullptr;
        } else if (hasOptions_ && word == "--") {
            hasOptions_ = false;
        } else if (hasOptions_ && word.starts_with('-')) {
            const auto option = options_.find(word);
            if (option != options_.end() && !std::holds_alternative<bool*>(option->second.place))
                valued_ = &option->second;
        } else if (const CommandLine* command = hasOptions_ ? CommandNamed(word) : nullptr) {
            at_ = command;
            AddOptions(command->options);
        } else {
            before_.push_back(word);
            hasOptions_ = hasOptions_ && !at_->endsWithArguments;
        }
    }

    /// What can be the last word, whose beginning is @p last.
    List Next(const Decoder& decoder, const std::string& last) const
    {
        if (valued_ != nullptr)
            return valued_->choices.empty() ? Candidates(decoder, valued_->names, {}) : valued_->choices;
        if (hasOptions_ && last.starts_with('-'))
            return OptionNames();
        List names = ArgumentValues(decoder, last);
        for (const CommandLine& command : at_->commands) {
            if (before_.empty() && hasOptions_ && !command.summary.empty())
                names.push_back(Meaning(command.name, command.summary));
        }
        return names;
    }

private:
    /// Each of its names leads to an option.
    void AddOptions(const std::vector<Option>& options)
    {
        for (const Option& option : options) {
            std::istringstream names(option.IsArgument() ? "" : option.name);
            for (std::string name; std::getline(names, name, ',');)
                options_.emplace(name, option);
        }
    }

    const CommandLine* CommandNamed(const std::string& name) const
    {
        const auto found = std::find_if(at_->commands.begin(), at_->commands.end(),
                                        [&](const CommandLine& command) { return command.name == name; });
        return found == at_->commands.end() ? nullptr : &*found;
    }

    List OptionNames() const
    {
        List names;
        for (const auto& [name, option] : options_) {
            if (name.starts_with("--"))
                names.push_back(Meaning(name, option.help));
        }
        return names;
    }

    List ArgumentValues(const Decoder& decoder, const std::string& last) const
    {
        std::vector<const Option*> arguments;
        for (const Option& option : at_->options) {
            if (option.IsArgument())
                arguments.push_back(&option);
        }
        if (arguments.empty())
            return {};
        const Option& first = *arguments[0];
        if (first.names == Names::kProgram && !before_.empty() &&
            std::filesystem::path(before_[0]).filename() == "veskctl") {
            List words(before_.begin() + 1, before_.end());
            words.push_back(last);
            return CandidatesAt(words);
        }
        if (before_.size() < arguments.size() && !arguments[before_.size()]->choices.empty())
            return arguments[before_.size()]->choices;
        return Candidates(decoder, first.names, before_);
    }

    const CommandLine* at_;
    std::map<std::string, Option> options_;
    const Option* valued_ = nullptr; ///< Whose value comes next.
    List before_;                    ///< Arguments.
    bool hasOptions_ = true;         ///< A word with a hyphen is an option.
};

/// What can take the place of the last word.
List CandidatesAt(const List& words)
{
    Settings settings;
    const CommandLine program = DescribeTool(settings);
    Written written(program);
    for (auto word = words.begin(); word != words.end() - 1; ++word)
        written.Add(*word);
    return StartingWith(written.Next(settings.Decoder(), words.back()), words.back());
}

List Words(List candidates)
{
    for (std::string& candidate : candidates)
        candidate = WordOf(candidate);
    return candidates;
}

List PromptCandidates(const List& words)
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
                          : CandidatesAt(words);
    }
    return StartingWith(Candidates(decoder, Names::kRequest, {words.begin(), words.end() - 1}), last);
}

int RunComplete(const List& words, bool describes)
{
    for (std::string candidate : CandidatesAt(words.empty() ? List{""} : words)) {
        const std::string word = WordOf(candidate);
        std::replace(candidate.begin(), candidate.end(), kMeaningFollows, ' ');
        PrintLine(describes ? candidate : word);
    }
    return kDone;
}

} // namespace

List CompletePrompt(const List& words)
{
    return Words(PromptCandidates(words));
}

CommandLine CompleteCommand(Settings&)
{
    auto words = std::make_shared<List>();
    auto describes = std::make_shared<bool>(false);
    return {
        .name = "complete",
        .summary = "",
        .footer = "Example:\n  veskctl complete -- call VO_",
        .options = {{.name = "WORD",
                     .place = words.get(),
                     .help = "Words after veskctl; the last one is to be completed"},
                    {.name = "--describe",
                     .place = describes.get(),
                     .help = "Also say what the words mean, after a space"}},
        .run = [words, describes] { return RunComplete(*words, *describes); },
    };
}

CommandLine CompletionCommand(Settings&)
{
    auto shell = std::make_shared<std::string>();
    List shells;
    for (const ShellScript& script : kCompletions)
        shells.emplace_back(script.shell);
    return {
        .name = "completion",
        .summary = "Print what teaches a shell to complete the words of veskctl",
        .footer = "Example:\n"
                  "  eval \"$(veskctl completion bash)\"        # in ~/.bashrc; zsh likewise, in ~/.zshrc\n"
                  "  veskctl completion fish | source          # in ~/.config/fish/config.fish",
        .options = {{.name = "SHELL",
                     .place = shell.get(),
                     .help = "bash, zsh or fish",
                     .isRequired = true,
                     .choices = std::move(shells)}},
        .run =
            [shell] {
                for (const ShellScript& script : kCompletions) {
                    if (*shell == script.shell)
                        PutLines(stdout, script.text);
                }
                return kDone;
            },
    };
}

} // namespace vesk::ctl
