// Programs that a subcommand runs.
#pragma once

#include "tools/veskctl/failure.h"

#include <chrono>
#include <csignal>
#include <initializer_list>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <sys/types.h>

namespace vesk::ctl {

/// Signals that wait until this process takes them. To be made before the first thread starts.
class AwaitedSignals {
public:
    AwaitedSignals(std::initializer_list<int> signals);

    /// Takes one, after waiting for at most so long; the number of none is 0.
    siginfo_t Take(std::chrono::milliseconds most) const;

    /// Waits for at most so long until one has come or there is something to read from @p file. True if there
    /// is.
    bool IsReadable(int file, std::chrono::milliseconds most) const;

    /// What was blocked before, as it is in programs that are started.
    const sigset_t& Before() const { return before_; }

private:
    sigset_t awaited_;
    sigset_t before_;
};

/// A program that runs as a child of this process. It is killed with this object if it has not ended.
class Program {
public:
    struct Options {
        std::vector<std::pair<std::string, std::string>> environment; ///< Besides this process's.
        int output = -1;       ///< Descriptor of its standard output and error; -1: this process's.
        bool isHelper = false; ///< It reads nothing, and a terminal's signals pass it by.
        int atOurEnd = 0;      ///< Signal that it gets when this process ends in whatever way; 0: none.
    };

    /// @param words  The program, which is looked for as a shell does, and its arguments. @throw Failure with
    /// the status of a shell if it cannot be started
    Program(const std::vector<std::string>& words, const AwaitedSignals& signals, const Options& options);
    ~Program();
    Program(const Program&) = delete;

    void Signal(int signal) const;

    /// Its exit status, as a shell gives it, once it has ended. Signals are among AwaitedSignals: SIGCHLD
    /// says when to ask.
    std::optional<int> Status();

private:
    pid_t process_ = -1;
    std::optional<int> status_;
};

} // namespace vesk::ctl
