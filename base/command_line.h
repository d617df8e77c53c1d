// Command lines, described as data: a program's options, arguments and subcommands.
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace vesk {

/// What values name, for those who complete them.
enum class Names { kNothing, kRequest, kNotification, kMessage, kResult, kFault, kAnything, kProgram, kTest };

/// Which numbers are good: from the first to the second, both included; of the type of their place.
using Range = std::variant<std::pair<uint64_t, uint64_t>, std::pair<double, double>>;

/// An option, or an argument that is found by its position.
struct Option {
    /// Where a value is stored; a flag in a bool.
    using Place = std::variant<bool*, std::string*, std::optional<std::string>*, std::vector<std::string>*,
                               uint32_t*, uint64_t*, std::optional<uint64_t>*, double*>;

    std::string name; ///< "-o,--output"; of an argument "FILE".
    Place place;
    std::string help;
    bool isRequired = false;
    bool showsDefault = false; ///< The help tells the value that @ref place has now.
    bool isOneEach = false;    ///< Of several values, each follows the option's name.
    Names names = Names::kNothing;
    std::vector<std::string> choices{}; ///< Values that it can have; empty: any.
    std::optional<Range> range{};       ///< Without it, any number of the place's type that is not negative.
    std::string excludes{};             ///< Name of an option that cannot be given with it.

    bool IsArgument() const { return name[0] != '-'; }
};

/// What remains to be done once a command line is parsed. Returns an exit status.
using Run = std::function<int()>;

/// A program, or a subcommand.
struct CommandLine {
    std::string name;
    std::string summary; ///< Empty for a subcommand that is not shown.
    std::string footer{};
    std::vector<Option> options{};
    std::vector<CommandLine> commands{}; ///< One of them must be given, if there are any.
    Run run{};                           ///< Null if there are subcommands.
    std::string version{};               ///< What --version says; empty: no such option.
    bool endsWithArguments = false;      ///< What follows the first argument are arguments, too.
    bool hasHelp = true;                 ///< It and its subcommands have the option --help.
};

/// Exit status of a program whose command line is wrong.
inline constexpr int kUsageStatus = 2;

/// Parses a program's command line, and stores the values. Returns what is to be done: what the command says,
/// to show help, or nothing more than to end if something is wrong, which is said. If only the command is
/// missing, all of them are shown.
Run ParseProgram(const CommandLine& program, int argc, char** argv);

/// The same for words that a program reads.
/// @throw Error for what is wrong
Run ParseWords(const CommandLine& program, const std::vector<std::string>& words);

} // namespace vesk
