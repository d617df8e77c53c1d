// Texts and regular expressions. <regex> takes seconds to compile, so one source has it.
#pragma once

#include <string>
#include <vector>

namespace patterns {

bool IsFound(const std::string& text, const std::string& pattern);

/// The parts of each match: the whole, then the groups.
std::vector<std::vector<std::string>> AllMatches(const std::string& text, const std::string& pattern);

/// $1 in @p replacement stands for the first group.
std::string Replaced(const std::string& text, const std::string& pattern, const std::string& replacement);

} // namespace patterns
