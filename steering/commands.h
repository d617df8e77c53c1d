// The commands that steer the virtual device: one grammar for the command line and for scenarios.
#pragma once

#include "decoder/decoder.h"
#include "steering/message.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <span>
#include <string>
#include <vector>

namespace vesk::steering {

/// Builds the message that the words on the command line stand for; called once they are parsed.
/// @throw Error if a name or value in them cannot be used
using Build = std::function<ControlMessage(const decoder::Decoder& decoder)>;

/// Declares the commands as subcommands of @p app. The one that is given is passed to @p given while the
/// command line is parsed.
void AddControlCommands(CLI::App& app, const std::function<void(Build)>& given);

/// The message of a line of words. @throw Error
ControlMessage ControlMessageOf(const decoder::Decoder& decoder, const std::vector<std::string>& words);

} // namespace vesk::steering
