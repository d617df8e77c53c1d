// Command lines, described as data. This is the only source that knows the library that parses them, whose
// header takes many seconds to compile.
#include "base/command_line.h"

#include "base/error.h"
#include "base/nearest.h"
#include "base/output.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <sstream>

namespace vesk {

namespace {

std::string EitherOf(const std::vector<std::string>& words)
{
    std::string text;
    for (const std::string& word : words)
        text += (text.empty() ? "" : &word == &words.back() ? " or " : ", ") + word;
    return text;
}

CLI::Validator OneOf(const std::vector<std::string>& choices)
{
    return CLI::Validator(
        [choices](const std::string& text) {
            const bool isOne = std::find(choices.begin(), choices.end(), text) != choices.end();
            return isOne ? std::string() : "expected " + EitherOf(choices) + ", not '" + text + '\'';
        },
        '{' + CLI::detail::join(choices) + '}');
}

template <class Number>
CLI::Validator Within(const std::pair<Number, Number>& range)
{
    return CLI::Validator(
        [range](const std::string& text) {
            Number number{};
            // -1 would be a very large number.
            const bool isNumber = !text.starts_with('-') && CLI::detail::lexical_cast(text, number);
            if (isNumber && number >= range.first && number <= range.second) // which NaN is not
                return std::string();
            std::ostringstream expected;
            expected << "expected a number from " << range.first;
            if (range.second != std::numeric_limits<Number>::max())
                expected << " to " << range.second;
            expected << ", not '" << text << '\'';
            return expected.str();
        },
        "");
}

/// Checks the values of an option, if they are numbers; the pointer says of which type.
void LimitNumbers(CLI::Option& added, const Option& option)
{
    const auto limit = [&]<class Number>(Number most) {
        const std::pair<Number, Number> all(0, most);
        added.check(Within(option.range ? std::get<std::pair<Number, Number>>(*option.range) : all));
    };
    std::visit(
        [&](auto* value) {
            using Value = std::remove_reference_t<decltype(*value)>;
            if constexpr (std::is_same_v<Value, double>)
                limit(std::numeric_limits<double>::max());
            else if constexpr (std::is_same_v<Value, uint32_t>)
                limit(uint64_t{UINT32_MAX});
            else if constexpr (std::is_same_v<Value, uint64_t> ||
                               std::is_same_v<Value, std::optional<uint64_t>>)
                limit(UINT64_MAX);
        },
        option.place);
}

CLI::Option* AddPlain(CLI::App& app, const Option& option)
{
    return std::visit(
        [&](auto* value) {
            if constexpr (std::is_same_v<decltype(value), bool*>)
                return app.add_flag(option.name, *value, option.help);
            else
                return app.add_option(option.name, *value, option.help);
        },
        option.place);
}

CLI::Option* Add(CLI::App& app, const Option& option)
{
    CLI::Option* added = AddPlain(app, option);
    if (option.isRequired)
        added->required();
    if (option.showsDefault)
        added->capture_default_str();
    if (option.isOneEach)
        added->allow_extra_args(false);
    if (!option.choices.empty())
        added->check(OneOf(option.choices));
    LimitNumbers(*added, option);
    return added;
}

/// Declares everything but the name. The one of the commands that is given sets @p chosen.
void Declare(CLI::App& app, const CommandLine& line, const CommandLine*& chosen)
{
    if (!line.hasHelp)
        app.set_help_flag(); // before there are subcommands, which take it from here
    app.footer(line.footer);
    if (!line.version.empty())
        app.set_version_flag("--version", line.version, "Print the version and exit");
    for (const Option& option : line.options)
        Add(app, option);
    for (const Option& option : line.options) {
        if (!option.excludes.empty())
            app.get_option(option.name)->excludes(app.get_option(option.excludes));
    }
    app.positionals_at_end(line.endsWithArguments);
    app.require_subcommand(line.commands.empty() ? 0 : 1);
    for (const CommandLine& command : line.commands) {
        CLI::App* subcommand = app.add_subcommand(command.name, command.summary);
        subcommand->group(command.summary.empty() ? "" : "Commands");
        Declare(*subcommand, command, chosen);
    }
    if (line.commands.empty())
        app.callback([&line, &chosen] { chosen = &line; });
}

/// A command line as the library has it.
struct Parser {
    CLI::App app;
    const CommandLine* chosen = nullptr;

    explicit Parser(const CommandLine& program) : app(program.summary, program.name)
    {
        app.fallthrough(!program.options.empty()); // which may also follow the subcommand
        app.set_help_flag("-h,--help", "Print this help and exit");
        for (const auto& [word, shown] : {std::pair("Positionals", "Arguments"),
                                          {"SUBCOMMAND", "COMMAND"},
                                          {"UINT", "NUMBER"},
                                          {"FLOAT", "NUMBER"}})
            app.get_formatter()->label(word, shown);
        Declare(app, program, chosen);
    }
};

/// The last command that was given: "add" of "device fault add".
const CLI::App& Innermost(const CLI::App& app)
{
    const std::vector<CLI::App*> given = app.get_subcommands();
    return given.empty() ? app : Innermost(*given.front());
}

/// "veskctl device fault"
std::string PathOf(const CLI::App& app)
{
    const CLI::App* parent = app.get_parent();
    const std::string before = parent == nullptr ? "" : PathOf(*parent);
    return before + (before.empty() ? "" : " ") + app.get_name();
}

/// Commands that can follow, but for those that are not shown.
std::vector<std::string> CommandsOf(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* command : app.get_subcommands([](const CLI::App*) { return true; })) {
        if (!command->get_group().empty())
            names.push_back(command->get_name());
    }
    return names;
}

std::vector<std::string> OptionsOf(const CLI::App& app)
{
    std::vector<std::string> names;
    for (const CLI::App* at = &app; at != nullptr; at = at->get_parent()) {
        for (const CLI::Option* option : at->get_options()) {
            for (const std::string& name : option->get_lnames())
                names.push_back("--" + name);
        }
    }
    return names;
}

/// "there is no option '--jsno'; nearest: --json"
std::string NoSuch(const char* kind, const std::string& shown, const std::string& word,
                   const std::vector<std::string>& known)
{
    return std::string("there is no ") + kind + " '" + shown + '\'' +
           Nearest(word, {known.begin(), known.end()});
}

/// What is wrong with the first word that the library did not understand; empty if there is none. Who asks
/// for help may have given too much, but no unknown command.
std::string ProblemOfWord(const CLI::App& program, bool isForHelp)
{
    const CLI::App& app = Innermost(program);
    const std::vector<std::string> commands = CommandsOf(app);
    for (const std::string& word : program.remaining(true)) {
        if (word == "--")
            continue;
        if (!commands.empty() && !word.starts_with('-')) {
            const std::string path = PathOf(app).substr(program.get_name().size());
            return NoSuch("command",
                          path.substr(path.starts_with(' ') ? 1 : 0) + (path.empty() ? "" : " ") + word, word,
                          commands);
        }
        if (isForHelp)
            continue;
        if (!word.starts_with('-'))
            return "unexpected argument '" + word + '\'';
        const std::string name = word.substr(0, word.find('='));
        return NoSuch("option", name, name, OptionsOf(app));
    }
    return "";
}

/// What is wrong, in the words of the command.
std::string ProblemOf(const CLI::App& program, const CLI::ParseError& error)
{
    if (std::string problem = ProblemOfWord(program, false); !problem.empty())
        return problem;
    const CLI::App& app = Innermost(program);
    const std::vector<std::string> commands = CommandsOf(app);
    if (!commands.empty() && dynamic_cast<const CLI::RequiredError*>(&error) != nullptr)
        return PathOf(app) + ": expected " + EitherOf(commands);
    std::string text = error.what();
    if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr && text.ends_with("missing"))
        return text.substr(0, text.find(':')) + ": expected a value";
    return text;
}

/// Ends with one line feed.
std::string HelpOf(const CLI::App& program)
{
    std::string help = program.help();
    help.erase(help.find_last_not_of('\n') + 1);
    return help + '\n';
}

/// The commands that one can be chosen from.
std::string CommandsHelp(const CLI::App& app)
{
    const std::string path = PathOf(app);
    const auto formatter = std::dynamic_pointer_cast<CLI::Formatter>(app.get_formatter());
    return formatter->make_usage(&app, path) + formatter->make_subcommands(&app, CLI::AppFormatMode::Normal) +
           "\n'" + path + " COMMAND --help' shows how a command is used.\n";
}

/// @throw CLI::ParseError for what is wrong
template <class... Words>
Run Parse(Parser& parser, Words&&... words)
{
    try {
        parser.app.parse(std::forward<Words>(words)...);
        return parser.chosen->run;
    } catch (const CLI::Success& asked) {
        if (!ProblemOfWord(parser.app, true).empty())
            throw;
        const bool isVersion = dynamic_cast<const CLI::CallForVersion*>(&asked) != nullptr;
        return [text = isVersion ? std::string(asked.what()) + '\n' : HelpOf(parser.app)] {
            PutLines(stdout, text);
            Flush();
            return 0;
        };
    }
}

} // namespace

Run ParseProgram(const CommandLine& program, int argc, char** argv)
{
    Parser parser(program);
    try {
        return Parse(parser, argc, argv);
    } catch (const CLI::ParseError& error) {
        const CLI::App& app = Innermost(parser.app);
        if (!CommandsOf(app).empty() && parser.app.remaining(true).empty() &&
            dynamic_cast<const CLI::RequiredError*>(&error) != nullptr) {
            PutLines(stderr, CommandsHelp(app));
        } else {
            PutError(program.name, ProblemOf(parser.app, error));
            PutLine(stderr, '\'' + PathOf(app) + " --help' shows how it is used.");
        }
        return [] { return kUsageStatus; };
    }
}

Run ParseWords(const CommandLine& program, const std::vector<std::string>& words)
{
    Parser parser(program);
    try {
        // It takes them from the end.
        return Parse(parser, std::vector<std::string>(words.rbegin(), words.rend()));
    } catch (const CLI::ParseError& error) {
        throw Error(ProblemOf(parser.app, error));
    }
}

} // namespace vesk
