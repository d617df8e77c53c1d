// Messages as people and programs read them: a line, or JSON.
#pragma once

#include "decoder/decoder.h"

#include <nlohmann/json_fwd.hpp>

namespace vesk::decoder {

/// A value as the line shows it: "1", "-3", "0x20", "16(CAM_CTRL_QUERY)", "0.25", "\"HDMI-OUT-1\"",
/// "01(00*63)".
std::string ValueText(const Decoder& decoder, const Field& field);

/// The name of a message, or its number if it has none.
std::string NameOf(const Decoded& message);

/**
 * A message on one line, without line feed:
 *
 *     VO_START outEngNo=1                       a request
 *     OK outEngNo=1     BUSY (0x204)            an answer
 *     106 DISPLAY_FIRST_FRAME viPort=0 ...      a notification
 *
 * Fillers that hold only zeros are left out, entries and elements that hold only zeros are folded, and a
 * problem follows in parentheses.
 */
std::string Line(const Decoder& decoder, const Decoded& message);

/// The fields of a message as Line shows them, but each on a line of its own that begins with @p indent.
std::string FieldLines(const Decoder& decoder, const Decoded& message, const std::string& indent);

/**
 * A message as a JSON object: "kind", "number", "name", "function" of a request, "result" and "resultName" of
 * an answer, "arguments", "payload", "problem" if there is any. Fillers that hold only zeros are left out.
 * Opaque bytes are hexadecimal text; text that is not UTF-8 has its invalid bytes replaced.
 */
nlohmann::ordered_json ToJson(const Decoded& message);

/// What the library's exception says is wrong, without its own names: "line 1, column 5: unexpected ..."
std::string JsonProblem(std::string_view text);

/// Parses a text as JSON. @param origin  What an error says before the reason. @throw Error, also for what is
/// nested so deeply that a recursive function could not bear it
nlohmann::ordered_json ParseJson(std::string_view text, const std::string& origin);

/// The assignments that a JSON object stands for: "arguments" and "payload" as ToJson writes them, or fields
/// alone.
/// @throw Error, as ParseJson and for what is no field's value
std::vector<Assignment> AssignmentsOf(std::string_view text, const std::string& origin);

/// Splits "name=value". @throw Error
Assignment ParseAssignment(std::string_view text);

/// A text as JSON has it, in quotes; invalid UTF-8 is replaced.
std::string Quoted(const std::string& text);

/// JSON as text on one line, without characters that steer a terminal; invalid UTF-8 is replaced.
std::string Dump(const nlohmann::ordered_json& document);

} // namespace vesk::decoder
