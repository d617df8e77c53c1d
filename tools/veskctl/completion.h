// What can follow on a line at the prompt of "run".
#pragma once

#include <string>
#include <vector>

namespace vesk::ctl {

/// Words that can take the place of the last of @p words, which may be empty, at the prompt of "run". Nothing
/// if it can only be a file or a value.
std::vector<std::string> CompletePrompt(const std::vector<std::string>& words);

} // namespace vesk::ctl
