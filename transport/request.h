// The vocabulary of a request function. Such a function reads like one row of a table:
//
//     uint32_t VeskVideoVoStart(uint32_t outEngNo)
//     {
//         TRACE(kInfo, START(VESK_VIDEO_MSG_VO_START));
//         LOG(kInfo, "%s:  outEngNo=%u", __func__, outEngNo);
//         const uint32_t ret = Send<VESK_VIDEO_MSG_VO_START>({.ulParam1 = outEngNo});
//         return ret == VESK_VIDEO_OK ? DONE(VESK_VIDEO_MSG_VO_START) : FAILED(ret);
//     }
//
// Send, Query, Exchange and Post look the request up in the list of messages (messages.def): a record, array,
// text or answer that the list does not give it does not compile. A name that is pasted into a line is also
// mentioned as an identifier, so a misspelt one does not compile either.
#pragma once

#include "transport/log.h"
#include "vesk_video/message_list.h"

#include <algorithm>
#include <type_traits>

/// Format of the common start line; @p name is a message's or, in the camera requests, the function's.
#define START(name) vesk::Naming(name, "#####send " #name " start#####\n")

/// The start line of those requests that write it without a line feed.
#define START_UNENDED(name) vesk::Naming(name, "#####send " #name " start#####")

// The outcomes: each writes its lines, and its value is the result.

/// Success with an end line of the request's own.
#define DONE_WITH(...) (TRACE(kInfo, __VA_ARGS__), uint32_t{VESK_VIDEO_OK})

/// Success with the common end line.
#define DONE(name) DONE_WITH(vesk::Naming(name, "#####send " #name " msg[%d]#####\n"), VESK_VIDEO_OK)

/// Success of those requests that write the end line without a line feed.
#define DONE_UNENDED(name) DONE_WITH(vesk::Naming(name, "#####send " #name " msg[%d]#####"), VESK_VIDEO_OK)

/// Failure form 1: the function's name and the result, on both sinks.
#define FAILED(ret) (TRACE_AND_LOG(kError, "%s failed[%d].", __func__, ret), ret)

/// Failure form 1 with a port number after the result.
#define FAILED_FOR(ret, port) (TRACE_AND_LOG(kError, "%s failed[%d] %u.", __func__, ret, port), ret)

/// Failure form 2: the message's name and the result, on both sinks.
#define MESSAGE_FAILED(name, ret) (TRACE_AND_LOG(kError, vesk::Naming(name, #name " fail[%d]."), ret), ret)

/// Failure form 3: module log only; @p what is the send ("Send Msg Fail!"), @p variable "ret" or "retVal".
#define SEND_INVALID(what, variable, ret)                                                                    \
    (LOG(kError, "[%s] %s is Invalid![0x%x][0x%x]", what, variable, ret, 0U), ret)

/// Failure form 3 as most of its requests write it.
#define SEND_FAILED(ret) SEND_INVALID("Send Msg Fail!", "retVal", ret)

namespace vesk {

/// The arguments of a request that travel in its header; what is not named is 0.
struct Arguments {
    uint16_t uwSubMsgID = 0;
    uint64_t ulParam1 = 0;
    uint32_t ulParam2 = 0;
};

/// A number as far as it travels in uwSubMsgID.
constexpr uint16_t Low16(uint32_t number)
{
    return static_cast<uint16_t>(number);
}

template <VeskVideoRequest request>
using Payload = typename messages::RequestTypes<request>::Payload;
template <VeskVideoRequest request>
using Answer = typename messages::RequestTypes<request>::Answer;

/// Holds what a request sends and what it expects back to the list of messages.
template <VeskVideoRequest request, class Sent, class Expected>
constexpr void CheckAgainstList()
{
    static_assert(std::is_same_v<Payload<request>, Sent>, "the list gives this request another payload");
    static_assert(std::is_same_v<Answer<request>, Expected>, "the list gives this request another answer");
}

/// Bytes of the longest text that a request may carry, its NUL included.
template <VeskVideoRequest request>
constexpr size_t kTextSize = Payload<request>::kForm.size;

template <VeskVideoRequest request>
constexpr VeskVideoMsgHead HeadOf(const Arguments& arguments)
{
    return {0, request, arguments.uwSubMsgID, arguments.ulParam1, arguments.ulParam2, 0};
}

/// The header of a request with an array, whose number of entries goes into the field that the list names.
template <VeskVideoRequest request, class Form>
constexpr VeskVideoMsgHead HeadOf(const Arguments& arguments, uint32_t count)
{
    VeskVideoMsgHead head = HeadOf<request>(arguments);
    if constexpr (Form::kForm.count == messages::HeaderField::kParam1)
        head.ulParam1 = count;
    else
        head.ulParam2 = count;
    return head;
}

/// Bytes of @p count records, computed in 32 bits.
template <class Entry>
constexpr uint32_t ArrayBytes(uint32_t count)
{
    return count * uint32_t{sizeof(Entry)};
}

// Send: the answer is a result code alone.

template <VeskVideoRequest request>
uint32_t Send(const Arguments& arguments = {})
{
    CheckAgainstList<request, messages::Nothing, messages::Nothing>();
    const VeskVideoMsgHead head = HeadOf<request>(arguments);
    return VeskVideoSendSyncMsgWithoutResponse(&head, nullptr, 0);
}

/// A null @p record sends the header alone.
template <VeskVideoRequest request, class Record>
uint32_t Send(const Arguments& arguments, const Record* record)
{
    CheckAgainstList<request, messages::Record<Record>, messages::Nothing>();
    const VeskVideoMsgHead head = HeadOf<request>(arguments);
    return VeskVideoSendSyncMsgWithoutResponse(&head, record, sizeof *record);
}

/// Sends a text of @p length characters and its NUL.
template <VeskVideoRequest request>
uint32_t SendText(const Arguments& arguments, const char* text, size_t length)
{
    CheckAgainstList<request, messages::Text<kTextSize<request>>, messages::Nothing>();
    const VeskVideoMsgHead head = HeadOf<request>(arguments);
    return VeskVideoSendSyncMsgWithoutResponse(&head, text, static_cast<uint32_t>(length + 1));
}

/// Sends @p count entries; null @p entries send the header alone. A product that does not fit 32 bits is
/// refused by the transport like any other length that is too long.
template <VeskVideoRequest request, class Entry>
uint32_t SendArray(const Arguments& arguments, const Entry* entries, uint32_t count)
{
    using Sent = messages::Array<Entry, Payload<request>::kForm.count>;
    CheckAgainstList<request, Sent, messages::Nothing>();
    const VeskVideoMsgHead head = HeadOf<request, Sent>(arguments, count);
    const uint64_t length = std::min<uint64_t>(uint64_t{count} * sizeof(Entry), UINT32_MAX);
    return VeskVideoSendSyncMsgWithoutResponse(&head, entries, static_cast<uint32_t>(length));
}

/// Sends bytes whose number the caller chooses; null @p data sends the header alone.
template <VeskVideoRequest request>
uint32_t SendBytes(const Arguments& arguments, const void* data, uint32_t length)
{
    CheckAgainstList<request, messages::Bytes, Answer<request>>();
    const VeskVideoMsgHead head = HeadOf<request>(arguments);
    return VeskVideoSendSyncMsgWithoutResponse(&head, data, length);
}

// Query: the answer fills @p out; a null @p out is refused by the transport with 2.

template <VeskVideoRequest request, class Out>
uint32_t Query(const Arguments& arguments, Out* out)
{
    CheckAgainstList<request, messages::Nothing, messages::Record<Out>>();
    const VeskVideoMsgHead head = HeadOf<request>(arguments);
    return VeskVideoSendSyncMsg(&head, nullptr, 0, out, sizeof *out);
}

template <VeskVideoRequest request, class Entry>
uint32_t QueryArray(const Arguments& arguments, Entry* out, uint32_t count)
{
    using Expected = messages::Array<Entry, Answer<request>::kForm.count>;
    CheckAgainstList<request, messages::Nothing, Expected>();
    const VeskVideoMsgHead head = HeadOf<request, Expected>(arguments, count);
    return VeskVideoSendSyncMsg(&head, nullptr, 0, out, ArrayBytes<Entry>(count));
}

template <VeskVideoRequest request>
uint32_t QueryBytes(const Arguments& arguments, void* out, uint32_t length)
{
    CheckAgainstList<request, Payload<request>, messages::Bytes>();
    const VeskVideoMsgHead head = HeadOf<request>(arguments);
    return VeskVideoSendSyncMsg(&head, nullptr, 0, out, length);
}

// Exchange: a payload there, an answer back.

template <VeskVideoRequest request, class Record, class Out>
uint32_t Exchange(const Arguments& arguments, const Record& record, Out* out)
{
    CheckAgainstList<request, messages::Record<Record>, messages::Record<Out>>();
    const VeskVideoMsgHead head = HeadOf<request>(arguments);
    return VeskVideoSendSyncMsg(&head, &record, sizeof record, out, sizeof *out);
}

/// The answer takes the place of what was sent.
template <VeskVideoRequest request, class Entry>
uint32_t ExchangeArray(const Arguments& arguments, Entry* inOut, uint32_t count)
{
    using Both = messages::Array<Entry, Payload<request>::kForm.count>;
    CheckAgainstList<request, Both, Both>();
    const VeskVideoMsgHead head = HeadOf<request, Both>(arguments, count);
    const uint32_t length = ArrayBytes<Entry>(count);
    return VeskVideoSendSyncMsg(&head, inOut, length, inOut, length);
}

/// Posts a request: nobody waits for an answer.
template <VeskVideoRequest request>
uint32_t Post(const Arguments& arguments = {})
{
    CheckAgainstList<request, messages::Nothing, messages::Unanswered>();
    const VeskVideoMsgHead head = HeadOf<request>(arguments);
    return VeskVideoSendAsyncMsg(&head);
}

} // namespace vesk
