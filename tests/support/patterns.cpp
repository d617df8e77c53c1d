#include "support/patterns.h"

#include <regex>

namespace patterns {

bool IsFound(const std::string& text, const std::string& pattern)
{
    return std::regex_search(text, std::regex(pattern));
}

std::vector<std::vector<std::string>> AllMatches(const std::string& text, const std::string& pattern)
{
    const std::regex regex(pattern);
    std::vector<std::vector<std::string>> all;
    for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match)
        all.emplace_back(match->begin(), match->end());
    return all;
}

std::string Replaced(const std::string& text, const std::string& pattern, const std::string& replacement)
{
    return std::regex_replace(text, std::regex(pattern), replacement);
}

} // namespace patterns
