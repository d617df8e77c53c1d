// Fault rules: words to a VeskControlFault and back.
#pragma once

#include "decoder/decoder.h"
#include "vesk_service/control.h"

#include <string>
#include <vector>

namespace vesk::steering {

/// The options of a fault.
struct FaultOptions {
    std::string application;
    uint64_t after = 0;
    uint64_t every = 0;
    uint64_t count = 0;
    uint32_t percent = 0;
    uint64_t seed = 0;
};

/// Words that an effect begins with.
std::vector<std::string_view> EffectNames();

/// What follows the match, for the help: "result CODE, delay MS, ...".
std::string EffectHelp();

/// Reads a match, as MatchOf does, and the effect that follows it.
/// @throw Error also if the effect does not fit the messages
VeskControlFault FaultOf(const decoder::Decoder& decoder, const std::vector<std::string>& words,
                         const FaultOptions& options);

/// The words after "fault add" that make this rule: "VO_START outEngNo=1 result BUSY --count 1".
std::string FaultText(const decoder::Decoder& decoder, const VeskControlFault& fault);

} // namespace vesk::steering
