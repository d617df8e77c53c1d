// Command lines, described as data. This is the only source that knows the library that parses them, whose
// header takes many seconds to compile.
#include "base/command_line.h"

#include "base/error.h"
#include "base/output.h"
#include "base/text.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <sstream>

namespace vesk {

namespace {

CLI::Validator Validator(NonNegative)
{
    return CLI::NonNegativeNumber;
}

template <class Number>
CLI::Validator Validator(const std::pair<Number, Number>& range)
{
    return CLI::Range(range.first, range.second);
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
        added->check(CLI::IsMember(option.choices));
    if (option.range)
        std::visit([&](const auto& range) { added->check(Validator(range)); }, *option.range);
    if (option.check)
        added->check(option.check);
    return added;
}

/// Declares everything but the name. The one of the commands that is given sets @p chosen.
void Declare(CLI::App& app, const CommandLine& line, const CommandLine*& chosen)
{
    if (!line.hasHelp)
        app.set_help_flag(); // before there are subcommands, which take it from here
    app.footer(line.footer);
    if (!line.version.empty())
        app.set_version_flag("--version", line.version);
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
        if (command.summary.empty())
            subcommand->group("");
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
        Declare(app, program, chosen);
    }
};

} // namespace

Run ParseProgram(const CommandLine& program, int argc, char** argv)
{
    Parser parser(program);
    try {
        parser.app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        // It may quote an argument, and goes between lines of the library's own.
        const CLI::Error shown(error.get_name(), Printable(error.what()), error.get_exit_code());
        std::ostringstream help;
        std::ostringstream errors;
        const int status = parser.app.exit(shown, help, errors) == 0 ? 0 : kUsageStatus;
        PutLines(stdout, help.str());
        PutLines(stderr, errors.str());
        return [status] { return status; };
    }
    return parser.chosen->run;
}

Run ParseWords(const CommandLine& program, const std::vector<std::string>& words)
{
    Parser parser(program);
    try {
        parser.app.parse(
            std::vector<std::string>(words.rbegin(), words.rend())); // it takes them from the end
    } catch (const CLI::CallForHelp&) {
        return [help = parser.app.help()] {
            PutLines(stdout, help + '\n');
            std::fflush(stdout);
            return 0;
        };
    } catch (const CLI::ParseError& error) {
        throw Error(error.what());
    }
    return parser.chosen->run;
}

} // namespace vesk
