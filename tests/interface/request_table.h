// A table of requests: what is called, what must leave, what must be logged. One loop drives all rows.
#pragma once

#include "support/recording_platform.h"

#include <functional>
#include <string>
#include <vector>

namespace request_table {

using Lines = std::vector<std::string>;

/// A message is named without its common prefix; the camera requests name their function instead.
inline std::string Name(const std::string& name)
{
    return name.starts_with("Vesk") ? name : "VESK_VIDEO_MSG_" + name;
}

// The common lines, as the rows name them.
inline std::string Start(const std::string& name)
{
    return "T3 #####send " + Name(name) + " start#####\n";
}
inline Lines Done(const std::string& name)
{
    return {"T3 #####send " + Name(name) + " msg[0]#####\n"};
}
inline Lines DoneUnended(const std::string& name)
{
    return {"T3 #####send " + Name(name) + " msg[0]#####"};
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
    return OnBoth(Name(name) + " fail[9].");
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

/// A call under its function's name: the two arguments with which Row and Refusal begin.
#define CALL(function, ...) #function, [=] { return function(__VA_ARGS__); }

/// What one request must send and log. Unless said otherwise: the common start line of its message and
/// nothing more before the send, its end line, and the failure form with the function's name.
struct Row {
    using Call = std::function<uint32_t()>;

    Row(const char* function_, Call call_, const VeskVideoMsgHead& head_, const char* message_)
        : function(function_), call(std::move(call_)), head(head_),
          message(message_), before{Start(message_)}, done(request_table::Done(message_)),
          failed(request_table::Failed(function_))
    {
    }

    /// Behind the header of the request, and of the answer.
    Row&& Payload(recording::Bytes bytes) && { return payload = std::move(bytes), std::move(*this); }
    Row&& Answer(recording::Bytes bytes) && { return answer = std::move(bytes), std::move(*this); }

    /// Values in the start line.
    Row&& StartsWith(const std::string& values) &&
    {
        before = {"T3 #####send " + Name(message) + " start " + values + " #####\n"};
        return std::move(*this);
    }

    /// The argument line behind the function's name.
    Row&& Args(const std::string& text) &&
    {
        return before.push_back("L3 " + (function + text)), std::move(*this);
    }

    /// Lines behind the start line, or in place of it: "T3 text", "L3 text".
    template <class... Line>
    Row&& Then(Line... line) &&
    {
        return (before.emplace_back(line), ...), std::move(*this);
    }
    template <class... Line>
    Row&& Before(Line... line) &&
    {
        before.clear();
        return (before.emplace_back(line), ...), std::move(*this);
    }
    Row&& BeforeLines(Lines lines) && { return before = std::move(lines), std::move(*this); }

    /// Lines after success in place of the end line.
    template <class... Line>
    Row&& Ends(Line... line) &&
    {
        return done = {line...}, std::move(*this);
    }
    Row&& EndsWith(Lines lines) && { return done = std::move(lines), std::move(*this); }
    Row&& EndsUnended() && { return done = DoneUnended(message), std::move(*this); }

    /// Lines and result after the service's code 9.
    Row&& FailsWith(Lines lines) && { return failed = std::move(lines), std::move(*this); }
    Row&& FailsByMessage() && { return failed = MessageFailed(message), std::move(*this); }
    Row&& FailsAs(uint32_t result) && { return failedResult = result, std::move(*this); }

    Row&& IsAsynchronous() && { return isAsynchronous = true, std::move(*this); }

    std::string function;
    Call call;
    VeskVideoMsgHead head;
    const char* message;
    recording::Bytes payload;
    recording::Bytes answer;
    Lines before;
    Lines done;
    Lines failed;
    bool isAsynchronous = false;
    uint32_t failedResult = 9;
};

/// A call that must be refused before anything is sent.
struct Refusal {
    template <class... Line>
    Refusal(const char* function_, Row::Call call_, uint32_t result_, Line... line)
        : function(function_), call(std::move(call_)), result(result_), lines{line...}
    {
    }
    Refusal&& WithLines(Lines all) && { return lines = std::move(all), std::move(*this); }

    const char* function;
    Row::Call call;
    uint32_t result;
    Lines lines;
};

inline VeskVideoMsgHead Head(uint16_t msgId, uint64_t param1 = 0, uint32_t param2 = 0, uint16_t sub = 0)
{
    return {0, msgId, sub, param1, param2, 0};
}

/// A null pointer that is refused right behind the start line.
inline Refusal IsNull(const char* function, Row::Call call, uint32_t result, const char* message,
                      const std::string& parameter)
{
    return {function, std::move(call), result, Start(message),
            "L1 " + std::string(function) + ": " + parameter + " is NULL!"};
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
