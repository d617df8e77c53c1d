// Descriptions of virtual devices in TOML files; docs/device_file.md describes their format.
#pragma once

#include "service/device_description.h"

#include <string>
#include <string_view>

namespace vesk::service {

/// The device that is served unless a file describes another.
const DeviceDescription& DefaultDevice();

/// The device that a file's text describes; @p file is its name in errors. What it does not say is as in
/// @p base. Throws Error, "FILE:LINE: KEY: expected this, not that".
DeviceDescription ParseDevice(std::string_view text, const std::string& file, DeviceDescription base);

/// The device that a file describes, or if there is none the installed one of that name, on the base of the
/// default one. Throws Error.
DeviceDescription ReadDevice(const std::string& path);

} // namespace vesk::service
