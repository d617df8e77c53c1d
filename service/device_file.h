// Descriptions of virtual devices in TOML files; docs/device_file.md describes their format.
#pragma once

#include "service/device_description.h"

#include <stdexcept>
#include <string_view>

namespace vesk::service {

/// What is wrong with a device file: "FILE:LINE: KEY: expected this, not that".
class DeviceFileError : public std::runtime_error {
public:
    using runtime_error::runtime_error;
};

/// The device that is served unless a file describes another.
const DeviceDescription& DefaultDevice();

/// The device that a file's text describes; @p file is its name in errors. What it does not say is as in
/// @p base. Throws DeviceFileError.
DeviceDescription ParseDevice(std::string_view text, const std::string& file, DeviceDescription base);

/// The device that a file describes, on the base of the default one. Throws DeviceFileError.
DeviceDescription ReadDevice(const std::string& path);

} // namespace vesk::service
