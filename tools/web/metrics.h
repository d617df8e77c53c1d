// What the service has done, for Prometheus.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include <string>

namespace vesk::web {

/// In Prometheus' text format, version 0.0.4. @param state  Of the service; null if there is none. @throw
/// Error if it is no such state
std::string Metrics(const nlohmann::ordered_json* state);

} // namespace vesk::web
