// The lines of "run": calls, waits and expectations.
#pragma once

#include "tools/veskctl/exchange.h"

#include <deque>
#include <map>

namespace vesk::ctl {

/// Words that begin a line, besides names of requests.
inline constexpr const char* kVerbs[] = {"call", "describe", "device", "expect", "list", "sleep", "wait"};

/// What "run --help", the prompt's "help" and the manual page say about lines.
inline constexpr char kLineHelp[] =
    "  [call] NAME [FIELD=VALUE ...]      send a request; it must succeed unless something else is expected\n"
    "  $name = NAME [FIELD=VALUE ...]     also keep the number that it answers; $name stands for it "
    "afterwards\n"
    "  expect CODE [FIELD=VALUE ...] [NAME ...]  what the call, here or on a later line, must answer\n"
    "  wait EVENT [FIELD=VALUE ...] [timeout=MS] wait for a notification that no earlier wait has taken\n"
    "  sleep MS                           let time pass\n"
    "  device WORDS                       steer the virtual device, as 'veskctl device' does with one "
    "message\n"
    "  list ..., describe NAME            as on the command line\n"
    "  # comment\n"
    "Each field of an answer also stands for itself afterwards: $outEngNo, ${[0].port}.\n"
    "Values with spaces are quoted, as in a shell.\n";

/// Executes one line after another over one client.
class Session {
public:
    Session(Settings& settings, Client::Interrupt interrupt, uint32_t timeoutMs);

    /// @throw Failure, or Error if the line cannot be understood
    void Execute(const std::string& line);

    /// @throw Failure if something is still expected
    void Finish() const;

    /// True once SIGINT or SIGTERM has arrived.
    bool IsInterrupted() const { return client_.IsInterrupted(); }

    /// Shows the notifications that have arrived.
    void ShowArrived();

private:
    using WordList = std::vector<std::string>;

    /// What the next call must answer.
    struct Expectation {
        uint32_t code;
        std::vector<std::string> conditions;
    };

    std::string Substitute(std::string_view& rest) const;
    void ExecuteCall(const WordList& words, const std::string& variable);
    void Judge(const Call& call);
    void Keep(const decoder::Decoded& answer, const std::string& variable);
    void ExecuteExpect(const WordList& words, const std::string& variable);
    void ExecuteWait(WordList words);
    void ExecuteSleep(const WordList& words);
    void ExecuteCommand(const WordList& words);
    const decoder::Decoded& Show(const Arrived& arrived);
    std::optional<Arrived> Next(std::optional<Clock::time_point> deadline);

    Settings& settings_;
    const decoder::Decoder& decoder_;
    Client client_;
    uint32_t timeoutMs_;
    std::map<std::string, std::string> variables_;
    std::optional<Expectation> expectation_;
    std::deque<decoder::Decoded> untaken_; ///< Notifications that no wait has taken.
};

} // namespace vesk::ctl
