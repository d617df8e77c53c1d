// How a subcommand fails.
#pragma once

#include "base/error.h"

#include <string>

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
    Failure(ExitStatus exitStatus, const Error& error) : Error(error), status(exitStatus) {}
};

/// Calls @p function and turns what is wrong with the user's values into a usage error.
template <class Function>
auto Usage(const Function& function)
{
    try {
        return function();
    } catch (const Failure&) {
        throw;
    } catch (const Error& error) {
        throw Failure(kUsage, error);
    }
}

} // namespace vesk::ctl
