// A table of requests: what is called, what must leave, what must be logged. One loop drives all rows.
#pragma once

#include "support/recording_platform.h"

#include <functional>
#include <string>
#include <vector>

namespace request_table {

struct Row {
    const char* function;
    std::function<uint32_t()> call;
    VeskVideoMsgHead head;
    recording::Bytes payload;
    recording::Bytes answer;         ///< Payload of the answer.
    std::vector<std::string> before; ///< Lines before the send: "T3 text", "L3 text".
    std::vector<std::string> done;   ///< Lines after success.
    std::vector<std::string> failed; ///< Lines after the service's code 9.
    bool isAsynchronous = false;
    uint32_t failedResult = 9;
};

/// A call that must be refused before anything is sent.
struct Refusal {
    const char* function;
    std::function<uint32_t()> call;
    uint32_t result;
    std::vector<std::string> lines;
};

inline VeskVideoMsgHead Head(uint16_t msgId, uint64_t param1 = 0, uint32_t param2 = 0, uint16_t sub = 0)
{
    return {0, msgId, sub, param1, param2, 0};
}

using Lines = std::vector<std::string>;

// The common lines, as the rows name them.
inline std::string Start(const std::string& name)
{
    return "T3 #####send " + name + " start#####\n";
}
inline Lines Done(const std::string& name)
{
    return {"T3 #####send " + name + " msg[0]#####\n"};
}
inline Lines DoneUnended(const std::string& name)
{
    return {"T3 #####send " + name + " msg[0]#####"};
}
inline Lines OnBoth(const std::string& text)
{
    return {"T1 " + text, "L1 " + text};
}
inline Lines Failed(const std::string& function)
{
    return OnBoth(function + " failed[9].");
}
inline Lines MessageFailed(const std::string& name)
{
    return OnBoth(name + " fail[9].");
}
inline Lines Invalid(const std::string& send, const std::string& variable)
{
    return {"L1 [" + send + "] " + variable + " is Invalid![0x9][0x0]"};
}
inline Lines After(const std::string& first, Lines lines)
{
    lines.insert(lines.begin(), first);
    return lines;
}

/// A record whose bytes all differ from their neighbours.
template <class Record>
Record Pattern(unsigned seed)
{
    Record record;
    auto* bytes = reinterpret_cast<unsigned char*>(&record);
    for (size_t i = 0; i < sizeof record; ++i)
        bytes[i] = static_cast<unsigned char>(i * 7 + seed);
    return record;
}

void Drive(const std::string& source, const std::vector<Row>& rows);
void Drive(const std::string& source, const std::vector<Refusal>& refusals);

} // namespace request_table
