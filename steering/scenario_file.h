// Files of steps that the virtual device is to go through.
#pragma once

#include "decoder/decoder.h"
#include "steering/message.h"

#include <string>

namespace vesk::steering {

/**
 * Reads the TOML text of a scenario: steps, each with one line of words or several, done in their order.
 *
 *     [[step]]
 *     at = 2.5                         # seconds since the scenario began
 *     do = "unplug input 0"
 *
 *     [[step]]
 *     on = "VO_START outEngNo=1"       # before this message is served or sent: words of MatchOf
 *     app = "tour"                     # by or to this application
 *     nth = 3                          # the third such message; otherwise the first
 *     do = ["fault add * delay 200 --count 1", "notify VIDEO_CAPABILITY_UPDATE"]
 *
 * @param source  Names the text in errors. @throw Error "SOURCE:LINE: step[2].at: expected ...", of all
 * mistakes
 */
ControlMessage ScenarioOf(const decoder::Decoder& decoder, const std::string& text,
                          const std::string& source);

/// The same of a file; if there is none, of the installed one of that name.
ControlMessage ScenarioFromFile(const decoder::Decoder& decoder, const std::string& path);

} // namespace vesk::steering
