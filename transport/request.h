// The verbs of a request function. Such a function reads like one row of a table:
//
//     uint32_t VeskVideoVoStart(uint32_t outEngNo)
//     {
//         TRACE(kInfo, START(VESK_VIDEO_MSG_VO_START));                        // start line
//         LOG(kInfo, "%s:  outEngNo=%u", __func__, outEngNo);                  // argument line
//         const uint32_t ret = Send({.msgId = VESK_VIDEO_MSG_VO_START, .ulParam1 = outEngNo});
//         return FINISH(ret, FAILED(ret), DONE(VESK_VIDEO_MSG_VO_START));      // outcome lines, result
//     }
//
// What a row says differently is another value or verb: the start line goes to TRACE, LOG or
// TRACE_AND_LOG, START and DONE take a function's name in place of a message's or give way to a literal
// with values of its own, FINISH takes any failure form, and lines before it are lines before it.
#pragma once

#include "transport/log.h"
#include "vesk_video/message.h"
#include "vesk_video/messages.h"

/// Format of the common start line; @p name is a message's or, in the camera requests, the function's.
#define START(name) "#####send " #name " start#####\n"

/// The start line of those requests that write it without a line feed.
#define START_UNENDED(name) "#####send " #name " start#####"

/// Format and value of the common end line.
#define DONE(name) "#####send " #name " msg[%d]#####\n", vesk::kDone

/// The end line of those requests that write it without a line feed.
#define DONE_UNENDED(name) "#####send " #name " msg[%d]#####", vesk::kDone

/// Failure form 1: the function's name and the result, on both sinks.
#define FAILED(ret) TRACE_AND_LOG(kError, "%s failed[%d].", __func__, ret)

/// Failure form 1 with a port or engine number behind the result.
#define FAILED_FOR(ret, number) TRACE_AND_LOG(kError, "%s failed[%d] %u.", __func__, ret, number)

/// Failure form 2: the message's name and the result, on both sinks.
#define MESSAGE_FAILED(name, ret) TRACE_AND_LOG(kError, #name " fail[%d].", ret)

/// Failure form 3: module log only; @p what is the send ("Send Msg Fail!"), @p variable "ret" or "retVal".
#define SEND_INVALID(what, variable, ret)                                                                    \
    LOG(kError, "[%s] %s is Invalid![0x%x][0x%x]", what, variable, ret, 0U)

/// Failure form 3 as most of its requests write it.
#define SEND_FAILED(ret) SEND_INVALID("Send Msg Fail!", "retVal", ret)

/// Writes the failure lines or, for result 0, traces the end line; its value is the result.
#define FINISH(ret, failure, ...) ((ret) != VESK_VIDEO_OK ? (failure) : TRACE(kInfo, __VA_ARGS__), (ret))

namespace vesk {

/// The result shown in an end line that is written for success alone.
inline constexpr uint32_t kDone = VESK_VIDEO_OK;

/// The header of a request, without the fields that are 0 in every request.
struct RequestHead {
    uint16_t msgId = 0;
    uint16_t uwSubMsgID = 0;
    uint64_t ulParam1 = 0;
    uint32_t ulParam2 = 0;

    VeskVideoMsgHead OnWire() const { return {0, msgId, uwSubMsgID, ulParam1, ulParam2, 0}; }
};

/// A number as far as it travels in uwSubMsgID.
constexpr uint16_t Low16(uint32_t number)
{
    return static_cast<uint16_t>(number);
}

/// Sends a request whose answer is a result code alone; a null @p payload sends the header alone.
inline uint32_t SendBytes(const RequestHead& head, const void* payload, uint32_t payloadLen)
{
    const VeskVideoMsgHead onWire = head.OnWire();
    return VeskVideoSendSyncMsgWithoutResponse(&onWire, payload, payloadLen);
}

inline uint32_t Send(const RequestHead& head)
{
    return SendBytes(head, nullptr, 0);
}

template <class Record>
uint32_t Send(const RequestHead& head, const Record& record)
{
    return SendBytes(head, &record, sizeof record);
}

/// Sends a request whose answer fills exactly @p length bytes; a null @p out is refused with 2.
inline uint32_t QueryBytes(const RequestHead& head, void* out, uint32_t length)
{
    const VeskVideoMsgHead onWire = head.OnWire();
    return VeskVideoSendSyncMsg(&onWire, nullptr, 0, out, length);
}

/// Bytes of @p count records, computed in 32 bits.
template <class Record>
constexpr uint32_t ArrayBytes(uint32_t count)
{
    return count * static_cast<uint32_t>(sizeof(Record));
}

/// Sends a request whose answer fills @p count records.
template <class Record>
uint32_t QueryArray(const RequestHead& head, Record* out, uint32_t count)
{
    return QueryBytes(head, out, ArrayBytes<Record>(count));
}

/// Sends a request whose answer fills one record.
template <class Record>
uint32_t Query(const RequestHead& head, Record* out)
{
    return QueryBytes(head, out, sizeof *out);
}

/// Sends a record; the answer fills another.
template <class Record, class Answer>
uint32_t Exchange(const RequestHead& head, const Record& record, Answer* out)
{
    const VeskVideoMsgHead onWire = head.OnWire();
    return VeskVideoSendSyncMsg(&onWire, &record, sizeof record, out, sizeof *out);
}

/// Sends @p count records; the answer takes their place.
template <class Record>
uint32_t ExchangeArray(const RequestHead& head, Record* inOut, uint32_t count)
{
    const uint32_t length = ArrayBytes<Record>(count);
    const VeskVideoMsgHead onWire = head.OnWire();
    return VeskVideoSendSyncMsg(&onWire, inOut, length, inOut, length);
}

/// Sends a bare header without waiting for an answer.
inline uint32_t Post(const RequestHead& head)
{
    const VeskVideoMsgHead onWire = head.OnWire();
    return VeskVideoSendAsyncMsg(&onWire);
}

} // namespace vesk
