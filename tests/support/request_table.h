// Tables of requests: what is called, what must leave, what must come back, which lines are written. One test
// drives all rows of all families (request_table.cpp). A row is
//
//     ROW(VO_STOP, 28, VoStop, 5).Sends({5}, "start|L3 %s: outEngNo=5."),
//
// the names without VESK_VIDEO_MSG_ and VeskVideo, the number, the arguments, the header's ulParam1, ulParam2
// and uwSubMsgID, and steps. It is called twice, and the service answers 0 and 9. The steps are
//
//     T3 text, L3 text, B3 text    a line: trace facade, module log or both, with its level
//     >line    a line after an answer of 0; the default is end, and > alone is no line
//     !line    a line after an answer of 9; the default is the family's failure form
//     =1       the result after an answer of 9, if not 9
//     ?1 name  a call with null for its first pointer argument, the next ? for the next: the result 1, the
//              lines so far and "name is NULL!" (or a whole line; without either, the failure form)
//
// with { and } for "#####send " and "#####", %s for the function's name, %m for the message's, %d for the
// result, and words for common lines: start, end, unended; function, message and invalid, the failure forms.
// A call that is Refused writes its steps and sends nothing.
//
// A record or text that is passed in is the payload, whole. What an Out takes is the answer, whole, and stays
// as it was when the service refuses.
#pragma once

#include "support/recording_platform.h"
#include "vesk_video/message_list.h"

#include <cstring>
#include <memory>
#include <tuple>
#include <type_traits>

/// An argument that the table provides: records that are sent, filled, or both.
struct Room {
    bool isSent, isFilled;
    size_t entries = 1;
    Room operator()(size_t count) const { return {isSent, isFilled, count}; }
};
constexpr Room In{true, false}, Out{false, true}, InOut{true, true};

/// Bytes that all differ from their neighbours.
Bytes Pattern(size_t size, unsigned seed = 1);

/// A record of such bytes, of which @p set then changes some.
template <class Record, class Set>
Record Patterned(Set set)
{
    Record record;
    std::memcpy(&record, Pattern(sizeof record).data(), sizeof record);
    set(record);
    return record;
}

struct Row {
    template <class... Parameters, class... Arguments>
    Row(VeskVideoRequest request, uint16_t number, std::string name, uint32_t (*called)(Parameters...),
        Arguments... arguments)
        : listed(*vesk::messages::FindRequest(request)), head{0, number, 0, 0, 0, 0}, function(name)
    {
        const std::tuple<Parameters...> values{Provide<Parameters>(arguments)...};
        call = [=](int nulled) {
            const auto pass = [&](auto value) {
                return std::is_pointer_v<decltype(value)> && nulled-- == 0 ? decltype(value)() : value;
            };
            const auto with = [&](auto... value) { return std::tuple{pass(value)...}; };
            return std::apply(called, std::apply(with, values));
        };
    }

    Row Sends(std::initializer_list<uint64_t> header, std::string lines, Bytes sent = {}, Bytes filled = {});
    Row Refused(uint32_t result, std::string lines) { return refusal = result, steps = lines, *this; }
    void Drive() const;
    void Call(int nulled, uint32_t result, uint32_t returned, const std::string& lines, bool isSent) const;

    template <class Parameter>
    Parameter Provide(Room size)
    {
        using Value = std::remove_pointer_t<Parameter>;
        if constexpr (!std::is_void_v<Value>)
            size.entries *= sizeof(Value);
        given = Pattern(size.entries, 5);
        *room = given;
        payload = size.isSent ? given : Bytes();
        if (size.isFilled)
            answer = Pattern(size.entries, 3);
        if constexpr (std::is_integral_v<Value>)
            answer = BytesOf(Value{77});
        return reinterpret_cast<Parameter>(room->data());
    }

    template <class Parameter, class Argument>
    Parameter Provide(Argument argument)
    {
        if constexpr (std::is_same_v<Argument, const char*>)
            payload = BytesOf(*argument, std::strlen(argument) + 1);
        else if constexpr (std::is_class_v<std::remove_pointer_t<Argument>>)
            payload = BytesOf(*argument);
        return static_cast<Parameter>(argument);
    }

    vesk::messages::Request listed;
    VeskVideoMsgHead head;
    std::string function, source, form, steps;
    std::function<uint32_t(int nulled)> call; // the pointer argument that is null instead; -1: none
    std::shared_ptr<Bytes> room = std::make_shared<Bytes>();
    Bytes given, payload, answer;
    uint32_t refusal = 0;
};

#define ROW(message, number, function, ...)                                                                  \
    Row(VESK_VIDEO_MSG_##message, number, "VeskVideo" #function,                                             \
        VeskVideo##function __VA_OPT__(, ) __VA_ARGS__)

using Rows = std::vector<Row>;

/// A family's rows, which are made when they are driven; @p source is the source name of its module-log
/// lines,
/// @p form its failure form.
struct Family {
    Family(const char* source, const char* form, Rows (*rows)());
};

/// The lines that steps stand for.
Lines Expand(const std::string& steps, const std::string& function, const std::string& message,
             const std::string& source = "vesk_video_interface", uint32_t result = 0);
