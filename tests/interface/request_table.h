// A table of requests: what is called, what must leave, what must come back. One loop drives all rows; the
// lines that each must write stand in transcripts.txt.
#pragma once

#include "support/recording_platform.h"

#include <functional>
#include <string>
#include <vector>

namespace request_table {

inline VeskVideoMsgHead Head(uint16_t msgId, uint64_t param1 = 0, uint32_t param2 = 0, uint16_t sub = 0)
{
    return {0, msgId, sub, param1, param2, 0};
}

/// A call and its text, by which its transcript is found: the two arguments with which Row and Refusal begin.
#define CALL(function, ...) #function "(" #__VA_ARGS__ ")", [=] { return function(__VA_ARGS__); }

using Call = std::function<uint32_t()>;
using Lines = std::vector<std::string>;

/// What one request must send: the header, and behind it nothing unless Payload says so. It is answered with
/// a bare header unless Answer says more, and again with the service's code 9.
struct Row {
    Row(std::string text_, Call call_, const VeskVideoMsgHead& head_)
        : text(std::move(text_)), call(std::move(call_)), head(head_)
    {
    }

    Row&& Payload(recording::Bytes bytes) && { return payload = std::move(bytes), std::move(*this); }
    Row&& Answer(recording::Bytes bytes) && { return answer = std::move(bytes), std::move(*this); }
    Row&& IsAsynchronous() && { return isAsynchronous = true, std::move(*this); }
    /// Result for the service's code 9.
    Row&& FailsAs(uint32_t result) && { return failedResult = result, std::move(*this); }

    std::string text;
    Call call;
    VeskVideoMsgHead head;
    recording::Bytes payload;
    recording::Bytes answer;
    bool isAsynchronous = false;
    uint32_t failedResult = 9;
};

/// A call that must be refused before anything is sent.
struct Refusal {
    std::string text;
    Call call;
    uint32_t result;
};

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

/// @p source is the source name of the module log's lines.
void Drive(const std::string& source, const std::vector<Row>& rows);
void Drive(const std::string& source, const std::vector<Refusal>& refusals);

} // namespace request_table
