// The lines of "run": calls, waits and expectations.
#pragma once

#include "base/command_line.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/settings.h"

#include <deque>
#include <map>

namespace vesk::ctl {

/// Executes one line after another over one client.
class Session {
public:
    struct Options {
        uint32_t timeoutMs = VESK_VIDEO_SYNC_TIMEOUT; ///< For each answer and notification.
        bool isQuiet = false;    ///< Of notifications, only those that a line waits for are shown.
        bool isUpdating = false; ///< Pictures that are missing or differ are written.
    };

    Session(Settings& settings, Client::Interrupt interrupt, const Options& options);

    using WordList = std::vector<std::string>;

    /// What a line can begin with.
    struct Verb {
        const char* name; ///< Empty in a row that is only for the help.
        const char* help; ///< Lines of it.
        void (Session::*execute)(const WordList& words, const std::string& variable) = nullptr;
        bool canKeep = false; ///< It can follow "$name =".
        /// What the words after it name. Nothing: all words are as on the command line.
        std::optional<Names> names{};
    };
    static std::span<const Verb> Verbs();

    /// @throw Failure, or Error if the line cannot be understood
    void Execute(const std::string& line);

    /// @throw Failure if something is still expected
    void Finish() const;

    /// True once SIGINT or SIGTERM has arrived.
    bool IsInterrupted() const { return client_.IsInterrupted(); }

    /// Shows the notifications that have arrived.
    void ShowArrived();

private:
    /// What the next call must answer.
    struct Expectation {
        uint32_t code;
        std::vector<std::string> conditions;
    };

    /// A notification that no wait has taken.
    struct Untaken {
        decoder::Decoded notification;
        std::string line;
    };

    std::string Substitute(std::string_view& rest) const;
    void Judge(const Call& call);
    void Keep(const decoder::Decoded& answer, const std::string& variable);
    void ExecuteCall(const WordList& words, const std::string& variable);
    void ExecuteDevice(const WordList& words, const std::string& variable);
    void ExecuteExpect(const WordList& words, const std::string& variable);
    void ExecuteExpectPicture(const WordList& words, const std::string& variable);
    void ExecuteWait(const WordList& words, const std::string& variable);
    void ExecuteSleep(const WordList& words, const std::string& variable);
    void ExecuteCommand(const WordList& words, const std::string& variable);
    void Steer(const std::function<int(Settings&)>& command, const std::string& variable);
    bool Next(std::optional<Clock::time_point> deadline);

    Settings& settings_;
    const decoder::Decoder& decoder_;
    Client client_;
    Options options_;
    std::map<std::string, std::string> variables_;
    std::optional<Expectation> expectation_;
    std::deque<Untaken> untaken_;
};

/// What "run --help" and the prompt's "help" say about lines.
std::string LineHelp();

} // namespace vesk::ctl
