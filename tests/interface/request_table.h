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

/// Failure lines on both sinks.
std::vector<std::string> OnBoth(const std::string& text);

void Drive(const std::string& source, const std::vector<Row>& rows);
void Drive(const std::string& source, const std::vector<Refusal>& refusals);

} // namespace request_table
