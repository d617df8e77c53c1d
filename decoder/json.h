// JSON objects. The nested braces of nlohmann's own constructor are instantiated anew for each length of a
// name, which takes the compiler seconds.
#pragma once

#include <nlohmann/json.hpp>

#include <initializer_list>

namespace vesk::decoder {

struct Member {
    const char* name;
    nlohmann::ordered_json value;
};

/// An object of these members, in this order; no two have the same name.
inline nlohmann::ordered_json Object(std::initializer_list<Member> members)
{
    nlohmann::ordered_json object = nlohmann::ordered_json::object();
    for (const Member& member : members)
        object.push_back({member.name, member.value});
    return object;
}

} // namespace vesk::decoder
