// Commands of "device" that a page sends.
#pragma once

#include "tools/web/device.h"

namespace vesk::web {

/// What came of a command: its answer as JSON, or why it was refused, with the result code.
struct Steered {
    std::string answer; ///< Empty if it was refused.
    uint32_t result = 0;
    std::string refusal;
};

/// Sends the one control message that the words after "veskctl device" stand for. Of scenarios, only
/// installed ones can be run. @throw Failure
Steered Steer(Device& device, std::vector<std::string> words);

/// What can take the place of the last of such words.
std::vector<std::string> Complete(const std::vector<std::string>& words);

} // namespace vesk::web
