// What a device does differently from what the interface allows every device.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace vesk::ctl::check {

/// What is known of a device before it is tested. The default is a device that has everything.
struct Profile {
    /// Requests that the device does not have, and with which code it refuses them; without one, with any.
    std::map<uint32_t, std::optional<uint32_t>> missing;
    std::set<uint32_t> unsentNotifications; ///< Numbers of those that it does not send.
    /// The ports that tests may use, in this order; empty: all that there are, those that are plugged in
    /// first.
    std::vector<uint32_t> inputs;
    std::vector<uint32_t> outputs;
    std::optional<uint32_t> camera; ///< An input port; nothing: the first of the inputs that is one.

    bool Has(uint32_t request) const { return !missing.contains(request); }
    bool Sends(uint32_t notification) const { return !unsentNotifications.contains(notification); }
};

/// @throw Error for a file that cannot be read or used
Profile ReadProfile(const std::string& file);

} // namespace vesk::ctl::check
