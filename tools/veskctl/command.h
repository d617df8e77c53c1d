// What a subcommand of veskctl is.
#pragma once

#include "base/error.h"
#include "decoder/decoder.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace vesk::ctl {

enum ExitStatus {
    kDone = 0,
    kFailed = 1,
    kUsage = 2,
    kRefused = 3,
    kNoService = 4,
    kTimedOut = 5,
    kNotExecutable = 126, ///< Of an application to be run, as in a shell.
    kNotFound = 127
};

/// Ends the program with a status; the text follows "veskctl: " on standard error.
struct Failure : Error {
    ExitStatus status;

    Failure(ExitStatus exitStatus, const std::string& text) : Error(text), status(exitStatus) {}
};

/// The options that all subcommands share.
struct Settings {
    bool json = false;
    std::string peer = "virtual";
    std::vector<std::string> recordFiles;
    std::string service = "VIDEO/VCTL";

    /// Built when it is first asked for. @throw Failure if a file of records cannot be used
    const decoder::Decoder& Decoder();

private:
    std::shared_ptr<const decoder::Decoder> decoder_;
};

/// What remains to be done once the arguments are parsed. Returns an exit status; errors are thrown:
/// Failure, or Error for a failure of status 1.
using Run = std::function<int()>;

/// What the words after a subcommand name, for completion in a shell.
enum class Words { kNone, kRequest, kNotification, kAnything, kLists, kFault, kDirection };

/// A subcommand. Each has a source of its own and a row in kCommands.
struct Command {
    const char* name;
    const char* summary; ///< Empty for a subcommand that is not shown.
    const char* example; ///< Commands, one a line.
    /// Declares the arguments; Settings outlive the result.
    Run (*add)(CLI::App& app, Settings& settings);
    Words words = Words::kNone; ///< kNone: nothing, or files
};

/// All subcommands, in the order in which the help lists them.
std::span<const Command* const> Commands();

/// Declares subcommands. What remains to be done for the one on the command line is passed to @p chosen.
void Declare(CLI::App& app, Settings& settings, std::span<const Command* const> commands,
             const std::function<void(Run)>& chosen);

/// Declares all options and subcommands. The subcommand that is given on the command line sets @p run.
void Declare(CLI::App& app, Settings& settings, Run& run);

/// Calls @p encode and turns what is wrong with the user's values into a usage error.
template <class Function>
auto Usage(const Function& function)
{
    try {
        return function();
    } catch (const Failure&) {
        throw;
    } catch (const Error& error) {
        throw Failure(kUsage, error.what());
    }
}

} // namespace vesk::ctl
