// What can follow on a command line: for the shell and for the prompt.
#pragma once

#include <string>
#include <vector>

namespace vesk::ctl {

/// Words that can take the place of the last of @p words, which may be empty. The first word follows
/// "veskctl". Nothing if it can only be a file or a value.
std::vector<std::string> Complete(const std::vector<std::string>& words);

/// The same for a line at the prompt of "run".
std::vector<std::string> CompletePrompt(const std::vector<std::string>& words);

} // namespace vesk::ctl
