// The state of the virtual service, as "device state" and "device graph" read it.
#pragma once

#include "tools/veskctl/settings.h"

#include <nlohmann/json_fwd.hpp>

#include <functional>

namespace vesk::ctl {

/// The state of the virtual service, or the one that a file holds (- is standard input). @throw Failure,
/// Error
nlohmann::ordered_json ReadState(Settings& settings, const std::string& file);

/// Calls @p show and turns members that are missing or of other types into an error that says so.
void ShowState(const std::function<void()>& show);

/// Text of a client as one that a terminal can show: in quotes and with escapes if it has to be.
std::string Printable(const std::string& text);

/// "tour[812]"
std::string OwnerText(const nlohmann::ordered_json& thing);

/// "1920x1080 at 30 fps"; empty if there is no picture.
std::string PictureText(const nlohmann::ordered_json& mode, const char* width, const char* height);

} // namespace vesk::ctl
