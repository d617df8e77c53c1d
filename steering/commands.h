// The commands that steer the virtual device: one grammar for the command line and for scenarios.
#pragma once

#include "base/command_line.h"
#include "decoder/decoder.h"
#include "steering/message.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vesk::steering {

/// Builds the message that the words on the command line stand for; called once they are parsed. Without one,
/// they ask which scenarios there are. @throw Error if a name or value in them cannot be used
using Build = std::function<std::optional<ControlMessage>(const decoder::Decoder& decoder)>;

/// What is done with the command that was given. Returns an exit status.
using Perform = std::function<int(const Build& build)>;

/// The commands as subcommands of a program, whose name begins the examples: "veskctl device".
std::vector<CommandLine> ControlCommands(const std::string& program, const Perform& perform);

/// The message of a line of words. @throw Error
ControlMessage ControlMessageOf(const decoder::Decoder& decoder, const std::vector<std::string>& words);

} // namespace vesk::steering
