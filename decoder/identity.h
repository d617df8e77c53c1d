// Which numbers identify something that a peer handed out: engines, streams, channels, queues.
#pragma once

#include "decoder/decoder.h"

namespace vesk::decoder {

/// What the number in a field identifies: "outEngNo", "encStmNo", "queHandle" ... Two fields with the same
/// result hold numbers of the same kind. Empty for all other fields.
std::string_view IdentityOf(const Decoded& message, const Field& field);

/// The same of all fields of a name, whatever the message.
std::string_view IdentityOf(std::string_view name);

/// The identity of a field that names an engine of either direction. Its number is one of these kinds: of the
/// first that has it.
inline constexpr std::string_view kEngine = "engNo";
inline constexpr std::string_view kEngineKinds[] = {"inEngNo", "outEngNo"};

/// What the inputId of a picture identifies, a decoder or an input engine, as its decFlag tells.
constexpr std::string_view InputIdentity(bool decFlag)
{
    return decFlag ? "decStmNo" : "inEngNo";
}

} // namespace vesk::decoder
