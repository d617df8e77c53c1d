// Which messages a fault or a step of a scenario is about: words to a VeskControlMatch and back.
#pragma once

#include "decoder/decoder.h"
#include "vesk_service/control.h"

#include <span>
#include <string>
#include <vector>

namespace vesk::steering {

/**
 * Reads a match, which is a subject and conditions:
 *
 *     VO_START outEngNo=1          a request or notification by name or number, or a request by its function
 *     *                            any message
 *     request:5 notification:* any:5    of one kind, or expressly of both
 *     FIELD=VALUE                  a field of the header or payload, as Decoder::Encode takes it
 *     @OFFSET=HEX                  bytes of the data block; the payload begins at 24
 *
 * A number that is listed as a request and as a notification, and "*", are of the kind @p kind.
 *
 * @param application  Who sends or receives the message; empty: anybody. @throw Error
 */
VeskControlMatch MatchOf(const decoder::Decoder& decoder, std::span<const std::string> words,
                         const std::string& application, uint32_t kind = VESK_CONTROL_ANY);

/// The words that MatchOf makes it of, without the application.
std::vector<std::string> MatchWords(const decoder::Decoder& decoder, const VeskControlMatch& match,
                                    uint32_t kind = VESK_CONTROL_ANY);

} // namespace vesk::steering
