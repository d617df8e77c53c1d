// Why the virtual device did not do as a command said, in the words of the command.
#pragma once

#include "decoder/decoder.h"

#include <string>

namespace vesk::steering {

/// "input 0 is plugged in already", for the result code that answers @p request, which is a control message.
/// Empty if the code has no other meaning for it than for any request.
std::string RefusalText(const decoder::Decoded& request, uint32_t result);

} // namespace vesk::steering
