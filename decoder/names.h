// Names of messages and results, as people write and read them.
#pragma once

#include "vesk_video/message_list.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace vesk::decoder {

/// "VO_START" of VESK_VIDEO_MSG_VO_START, "DISPLAY_FIRST_FRAME" of VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY.
std::string_view ShortName(std::string_view name);

/// Finds a message by its name, with or without prefix and "_NOTIFY", by its function, with or without
/// "VeskVideo", or by its number. Case does not matter. Null if there is none.
const messages::Request* FindRequest(std::string_view text);
const messages::Notification* FindNotification(std::string_view text);

/// As above, but if there is none: @throw Error with the nearest names
const messages::Request& RequestNamed(std::string_view text);
const messages::Notification& NotificationNamed(std::string_view text);

/// The short names of all requests and the functions that send them; those of control messages come last.
std::vector<std::string_view> RequestNames();

/// The same for notifications.
std::vector<std::string_view> NotificationNames();

/// A result code that has a name.
struct ResultCode {
    uint32_t code;
    std::string_view name;    ///< "VESK_SERVICE_ERR_BUSY"
    std::string_view meaning; ///< One sentence.
    std::string_view origin;  ///< "library", "virtual service" or "host platform"
};

/// All result codes that have names, in the order of their codes.
std::span<const ResultCode> ResultCodes();

/// The names of all of them without their prefixes.
std::vector<std::string_view> ResultNames();

/// "OK", "BUSY (0x204)", "0x1234".
std::string ResultText(uint32_t code);

/// Name of a result code without its prefix: "OK", "BUSY"; empty if it has none.
std::string_view ResultName(uint32_t code);

/// Reads a result code: its number or its name, with or without prefix.
std::optional<uint32_t> FindResult(std::string_view text);

/// A decimal or 0x hexadecimal number that is the whole text.
std::optional<uint64_t> ParseNumber(std::string_view text);

/// Likewise a decimal number that may have a sign, and a floating-point number.
std::optional<int64_t> ParseSigned(std::string_view text);
std::optional<double> ParseFloat(std::string_view text);

} // namespace vesk::decoder
