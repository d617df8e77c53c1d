// Tables of requests: what is called, what must leave, what must come back, which lines are written. One test
// drives all rows of all families (request_table.cpp); what follows from a rule is not written in a row:
//
// - A row begins with the common start line, unless Bare drops it, and ends with the common end line or,
//   after the service's code 9, with its family's failure form.
// - A record that is passed in is the payload, whole. What an Out takes is the answer, whole, and stays as it
//   was when the service refuses.
// - Null gives the call a null pointer in place of its first pointer argument, then of the next: the call
//   writes the row's lines so far and the line about the null argument, and sends nothing.
//
// In lines "%s" stands for the function's name and "%m" for the message's.
#pragma once

#include "support/recording_platform.h"
#include "vesk_video/message_list.h"

#include <cstring>
#include <memory>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

namespace request_table {

using recording::Bytes;
using recording::BytesOf;
using Lines = std::vector<std::string>;
using Call = std::function<uint32_t()>;

/// Arguments that the table provides: @p entries records to be filled, or to be sent and then filled.
struct Out {
    size_t entries = 1;
};
struct InOut {
    size_t entries = 1;
};
/// A record of bytes that all differ from their neighbours.
struct In {};

Bytes Pattern(size_t size, unsigned seed);

template <class Record>
Record Patterned(unsigned seed)
{
    Record record;
    std::memcpy(&record, Pattern(sizeof record, seed).data(), sizeof record);
    return record;
}

/// Bytes of a text with its NUL.
Bytes Text(const std::string& text);

enum class FailureForm { kFunction, kMessage, kSendInvalid };

class Row {
public:
    template <class... Parameters, class... Arguments>
    Row(std::string message, uint32_t listedNumber, uint16_t number, std::string function,
        uint32_t (*called)(Parameters...), Arguments... arguments)
        : message_(std::move(message)), listedNumber_(listedNumber), head_{0, number, 0, 0, 0, 0},
          function_(std::move(function))
    {
        const std::tuple<Parameters...> values{Provide<Parameters>(arguments)...};
        call_ = [=] { return std::apply(called, values); };
        NullEach(called, values, std::index_sequence_for<Parameters...>());
        AddStart();
    }

    // What the message carries.
    Row&& Head(uint64_t param1, uint32_t param2 = 0, uint16_t sub = 0) &&;
    Row&& Payload(Bytes bytes) && { return payload_ = std::move(bytes), std::move(*this); }
    Row&& Answer(Bytes bytes) && { return answer_ = std::move(bytes), std::move(*this); }
    Row&& IsAsynchronous() && { return isAsynchronous_ = true, std::move(*this); }

    // Lines before the message leaves, in their order. Says: module log; Traces: trace facade; Both: one
    // after the other.
    Row&& Bare() && { return before_.clear(), std::move(*this); }
    Row&& Says(const std::string& text) && { return Add("L3 " + text), std::move(*this); }
    Row&& Traces(const std::string& text) && { return Add("T3 " + text), std::move(*this); }
    Row&& Both(const std::string& text) && { return std::move(*this).Traces(text).Says(text); }
    Row&& Start() && { return AddStart(), std::move(*this); }

    // Refusals, which write the row's lines so far and their own.
    Row&& Null(const std::string& argument, uint32_t result = 1) &&;
    Row&& NullIs(const std::string& line, uint32_t result) &&;
    Row&& NullFails(uint32_t result) &&; ///< Refused by the transport: the failure form follows.
    Row&& Refuses(uint32_t result, Lines lines, Call call) &&;

    // Lines after the answer.
    Row&& End(const std::string& text) && { return end_ = {"T3 " + text}, std::move(*this); }
    Row&& Ends(Lines lines) && { return end_ = std::move(lines), std::move(*this); }
    Row&& Unended() && { return std::move(*this).End("#####send %m msg[0]#####"); }
    Row&& Fails(Lines lines) &&
    {
        return failure_ = std::move(lines), hasOwnFailure_ = true, std::move(*this);
    }
    Row&& Fails(FailureForm form) && { return form_ = form, hasOwnForm_ = true, std::move(*this); }
    Row&& FailsFirst(const std::string& text) && { return failsFirst_ = {"L1 " + text}, std::move(*this); }
    Row&& FailsAs(uint32_t result) && { return failedResult_ = result, std::move(*this); }

    /// Drives the row and all its refusals.
    void Drive(const std::string& source, FailureForm familyForm);

private:
    struct Refusal {
        Call call;
        uint32_t result;
        Lines lines;
        bool endsWithFailure;
    };

    template <class Parameter, class Argument>
    Parameter Provide(Argument argument)
    {
        using Value = std::remove_pointer_t<Parameter>;
        if constexpr (std::is_same_v<Argument, Out> || std::is_same_v<Argument, InOut>) {
            const size_t size = argument.entries * sizeof(Value);
            before_call_ = Pattern(size, 0xc0);
            buffer_ = std::make_shared<Bytes>(before_call_);
            if constexpr (std::is_same_v<Argument, InOut>)
                payload_ = before_call_;
            if constexpr (std::is_integral_v<Value>)
                answer_ = BytesOf(Value{77});
            else
                answer_ = Pattern(size, 3);
            return reinterpret_cast<Parameter>(buffer_->data());
        } else if constexpr (std::is_same_v<Argument, In>) {
            payload_ = Pattern(sizeof(Value), 5);
            buffer_ = std::make_shared<Bytes>(payload_);
            return reinterpret_cast<Parameter>(buffer_->data());
        } else {
            if constexpr (std::is_pointer_v<Argument> && std::is_class_v<Value>)
                payload_ = BytesOf(*argument);
            return static_cast<Parameter>(argument);
        }
    }

    template <class Function, class Values, size_t... i>
    void NullEach(Function called, const Values& values, std::index_sequence<i...>)
    {
        [[maybe_unused]] const auto nullAt = [&](auto index) {
            if constexpr (std::is_pointer_v<std::tuple_element_t<index, Values>>) {
                Values changed = values;
                std::get<index>(changed) = nullptr;
                withNull_.push_back([=] { return std::apply(called, changed); });
            }
        };
        (nullAt(std::integral_constant<size_t, i>()), ...);
    }

    void AddStart() { Add("T3 #####send %m start#####\n"); }
    void Add(std::string line) { before_.push_back(std::move(line)); }
    Row&& AddNull(uint32_t result, Lines lines, bool endsWithFailure);
    Lines FailureLines(uint32_t code) const;
    Lines Whole(const Lines& lines, const std::string& source) const;
    void DriveAnswer(uint16_t code, const std::string& source);
    void CheckAgainstList() const;

    const std::string message_;
    const uint32_t listedNumber_;
    VeskVideoMsgHead head_;
    const std::string function_;
    Call call_;
    std::vector<Call> withNull_;
    size_t nextNull_ = 0;
    Bytes payload_;
    Bytes answer_;
    Bytes before_call_;
    std::shared_ptr<Bytes> buffer_;
    bool isAsynchronous_ = false;
    Lines before_;
    std::vector<Refusal> refusals_;
    Lines end_{"T3 #####send %m msg[0]#####\n"};
    Lines failsFirst_;
    Lines failure_;
    bool hasOwnFailure_ = false;
    FailureForm form_{};
    bool hasOwnForm_ = false;
    uint32_t failedResult_ = 9;
};

/// A row: the message's name and number, the function, its arguments.
#define ROW(message, number, function, ...)                                                                  \
    request_table::Row(#message, message, number, #function, function __VA_OPT__(, ) __VA_ARGS__)

/// A call of a refusal.
#define CALL(function, ...) [=] { return function(__VA_ARGS__); }

using Rows = std::vector<Row>;

/// Takes part in the test of all tables; @p source is the source name of the family's module-log lines.
struct Family {
    Family(std::string source, FailureForm form, std::function<Rows()> rows);
};

/// Says that a request has a test of its own instead of a row.
struct HasOwnTest {
    explicit HasOwnTest(VeskVideoRequest request);
};

} // namespace request_table
