// JSON that users and services give.
#pragma once

#include "decoder/decoder.h"

#include <nlohmann/json_fwd.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace vesk::ctl {

/// @param failure  What an error says before the reason. @throw Error, also for what is nested so deeply that
/// a recursive function could not bear it
nlohmann::ordered_json ParseJson(std::string_view text, const std::string& failure);

/// Reads a document from a file; - is standard input. @throw Error
nlohmann::ordered_json ReadJson(const std::string& path);

/// The fields that such a document gives a message; see decoder::AssignmentsOf. @throw Error
std::vector<decoder::Assignment> ReadAssignments(const std::string& path);

} // namespace vesk::ctl
