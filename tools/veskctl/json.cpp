// JSON that users and services give.
#include "tools/veskctl/json.h"

#include "base/error.h"
#include "base/file.h"
#include "decoder/text.h"

#include <nlohmann/json.hpp>

#include <iostream>
#include <iterator>

namespace vesk::ctl {

using nlohmann::ordered_json;

namespace {

bool IsShallow(int depth, ordered_json::parse_event_t, ordered_json&)
{
    constexpr int kDeepest = 100;
    if (depth > kDeepest)
        throw Error("the JSON is nested more than " + std::to_string(kDeepest) + " deep");
    return true;
}

} // namespace

ordered_json ParseJson(std::string_view text, const std::string& failure)
{
    try {
        return ordered_json::parse(text, IsShallow);
    } catch (const ordered_json::exception& error) {
        throw Error(failure + ": " + error.what());
    }
}

ordered_json ReadJson(const std::string& path)
{
    using Bytes = std::istreambuf_iterator<char>;
    constexpr size_t kMost = 64U << 20U; // the largest message is many times longer as JSON
    return ParseJson(path == "-" ? std::string(Bytes(std::cin), Bytes()) : FileContents(path, kMost), path);
}

std::vector<decoder::Assignment> ReadAssignments(const std::string& path)
{
    return decoder::AssignmentsOf(ReadJson(path));
}

} // namespace vesk::ctl
