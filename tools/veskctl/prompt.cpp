// The prompt of "run" at a terminal.
#include "tools/veskctl/prompt.h"

#include "tools/veskctl/completion.h"

#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>

#include <editline/readline.h>

namespace vesk::ctl {

namespace {

std::vector<std::string> g_candidates;

/// libedit calls it with state 0, 1, 2 ... until it returns null; it frees what is returned.
char* NextCandidate(const char*, int state)
{
    const auto index = static_cast<size_t>(state);
    return index < g_candidates.size() ? strdup(g_candidates[index].c_str()) : nullptr;
}

char** CompleteWord(const char* text, int start, int)
{
    rl_attempted_completion_over = 1; // no file names
    std::istringstream line(std::string(rl_line_buffer, static_cast<size_t>(start)));
    std::vector<std::string> words;
    for (std::string word; line >> word;)
        words.push_back(word);
    words.emplace_back(text);
    g_candidates = CompletePrompt(words);
    const bool isField = !g_candidates.empty() && g_candidates[0].ends_with('=');
    rl_completion_append_character = isField ? 0 : 0x20; // nothing or a space
    return rl_completion_matches(text, NextCandidate);
}

/// Where the history is kept between sessions; empty if there is no place for it.
std::string HistoryFile()
{
    const char* state = std::getenv("XDG_STATE_HOME");
    const char* home = std::getenv("HOME");
    if (state == nullptr && home == nullptr)
        return {};
    const auto directory =
        state != nullptr ? std::filesystem::path(state) : std::filesystem::path(home) / ".local" / "state";
    std::error_code error;
    std::filesystem::create_directories(directory, error);
    return error ? std::string() : (directory / "veskctl_history").string();
}

} // namespace

void RunPrompt(const std::function<void(const std::string& line)>& execute)
{
    static char s_name[] = "veskctl";
    static char s_breaks[] = " \t";
    rl_readline_name = s_name;
    rl_initialize();
    using_history();
    stifle_history(1000);
    const std::string history = HistoryFile();
    read_history(history.c_str());
    rl_completer_word_break_characters = s_breaks;
    rl_attempted_completion_function = CompleteWord;
    while (true) {
        const std::unique_ptr<char, decltype(&std::free)> line(readline("veskctl> "), std::free);
        if (line == nullptr || std::strcmp(line.get(), "quit") == 0 || std::strcmp(line.get(), "exit") == 0)
            return;
        if (*line != '\0')
            add_history(line.get());
        if (!history.empty())
            write_history(history.c_str()); // at once, as Ctrl-C ends the program
        execute(line.get());
    }
}

} // namespace vesk::ctl
