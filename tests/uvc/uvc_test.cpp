// UVC streams: every request over its row.
#include "interface/request_table.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

namespace {

constexpr char kSource[] = "vesk_video_interface_uvc";

uint32_t g_number;

/// A row of this family, whose lines all have the common form.
Row UvcRow(const char* function, Row::Call call, const VeskVideoMsgHead& head, const char* message)
{
    return Row(function, std::move(call), head, message).FailsWith(Invalid("Send Msg Fail!", "retVal"));
}

} // namespace

TEST(UvcRequests, EachOverItsRow)
{
    static const auto param = Pattern<VeskVideoUvcParam>(1);
    static const auto paramEx = Pattern<VeskVideoUvcParamEx>(2);
    const std::vector<Row> rows{
        UvcRow(CALL(VeskVideoUvcInit), Head(48), "INIT_UVC").IsAsynchronous().FailsAs(1),
        UvcRow(CALL(VeskVideoUvcDeinit), Head(49), "DEINIT_UVC").IsAsynchronous().FailsAs(1),
        UvcRow(CALL(VeskVideoUvcOpen, &g_number), Head(50), "OPEN_UVC_PORT").Answer(Bytes(4)).FailsAs(1),
        UvcRow(CALL(VeskVideoUvcSetStmParam, 0xfffffffe, &param), Head(51, 0xfffffffe), "SET_UVC_PARAM")
            .Payload(BytesOf(param)),
        UvcRow(CALL(VeskVideoUvcSetStmParamEx, 3, &paramEx), Head(52, 3), "SET_UVC_PARAM_EX")
            .Payload(BytesOf(paramEx)),
        UvcRow(CALL(VeskVideoUvcStartStream, 3), Head(53, 3), "START_UVC_STREAM"),
        UvcRow(CALL(VeskVideoUvcStopStream, 3), Head(54, 3), "STOP_UVC_STREAM"),
        UvcRow(CALL(VeskVideoUvcClose, 3), Head(55, 3), "CLOSE_UVC_PORT"),
        UvcRow(CALL(VeskVideoUvcForceKeyFrame, 7), Head(131, 7), "UVC_REQ_I_FRAME").FailsAs(1),
    };
    Drive(kSource, rows);
}

TEST(UvcRequests, RefusedBeforeAnythingIsSent)
{
    Drive(kSource, {
                       IsNull(CALL(VeskVideoUvcOpen, nullptr), 1, "OPEN_UVC_PORT", "uvcStmNo"),
                       IsNull(CALL(VeskVideoUvcSetStmParam, 1, nullptr), 1, "SET_UVC_PARAM", "uvcParam"),
                       IsNull(CALL(VeskVideoUvcSetStmParamEx, 1, nullptr), 1, "SET_UVC_PARAM_EX", "uvcParam"),
                       Refusal(CALL(VeskVideoUvcForceKeyFrame, 8), 11, Start("UVC_REQ_I_FRAME"),
                               "L1 uvcStmNo[8] is invaild\n"),
                   });
}
