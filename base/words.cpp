// Lines of words, as a shell reads and writes them.
#include "base/words.h"

#include "base/error.h"

#include <algorithm>

namespace vesk {

namespace {

bool NeedsNoQuotes(char c)
{
    constexpr std::string_view kSafe = "_-+=.,:/@%*[]";
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
           kSafe.find(c) != kSafe.npos;
}

std::string Quoted(const std::string& word)
{
    if (!word.empty() && std::all_of(word.begin(), word.end(), NeedsNoQuotes))
        return word;
    std::string quoted = "'";
    for (const char c : word)
        quoted += c == '\'' ? std::string(R"('\'')") : std::string(1, c);
    return quoted + '\'';
}

} // namespace

std::vector<std::string> SplitWords(std::string_view line, const Substitute& substitute)
{
    std::vector<std::string> words;
    std::string word;
    bool isWord = false;
    char quote = '\0';
    while (!line.empty()) {
        const char c = line[0];
        line.remove_prefix(1);
        if (quote == '\0' && (c == ' ' || c == '\t' || c == '\r' || c == '\n')) {
            if (isWord)
                words.push_back(std::move(word));
            word.clear();
            isWord = false;
            continue;
        }
        if (quote == '\0' && c == '#' && !isWord)
            break;
        isWord = true;
        if (c == quote) {
            quote = '\0';
        } else if (quote == '\0' && (c == '"' || c == '\'')) {
            quote = c;
        } else if (c == '\\' && quote != '\'' && !line.empty()) {
            word += line[0];
            line.remove_prefix(1);
        } else if (c == '$' && quote != '\'' && substitute) {
            word += substitute(line);
        } else {
            word += c;
        }
    }
    if (quote != '\0')
        throw Error(std::string("a quote ") + quote + " is not closed");
    if (isWord)
        words.push_back(std::move(word));
    return words;
}

std::string JoinWords(const std::vector<std::string>& words)
{
    std::string line;
    for (const std::string& word : words)
        line += (line.empty() ? "" : " ") + Quoted(word);
    return line;
}

} // namespace vesk
