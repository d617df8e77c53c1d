// UVC streams: every request over its row.
#include "interface/request_table.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

namespace {

constexpr char kSource[] = "vesk_video_interface_uvc";

uint32_t g_number;

} // namespace

TEST(UvcRequests, EachOverItsRow)
{
    static const auto param = Pattern<VeskVideoUvcParam>(1);
    static const auto paramEx = Pattern<VeskVideoUvcParamEx>(2);
    const std::vector<Row> rows{
        Row(CALL(VeskVideoUvcInit), Head(48)).IsAsynchronous().FailsAs(1),
        Row(CALL(VeskVideoUvcDeinit), Head(49)).IsAsynchronous().FailsAs(1),
        Row(CALL(VeskVideoUvcOpen, &g_number), Head(50)).Answer(Bytes(4)).FailsAs(1),
        Row(CALL(VeskVideoUvcSetStmParam, 0xfffffffe, &param), Head(51, 0xfffffffe)).Payload(BytesOf(param)),
        Row(CALL(VeskVideoUvcSetStmParamEx, 3, &paramEx), Head(52, 3)).Payload(BytesOf(paramEx)),
        Row(CALL(VeskVideoUvcStartStream, 3), Head(53, 3)),
        Row(CALL(VeskVideoUvcStopStream, 3), Head(54, 3)),
        Row(CALL(VeskVideoUvcClose, 3), Head(55, 3)),
        Row(CALL(VeskVideoUvcForceKeyFrame, 7), Head(131, 7)).FailsAs(1),
    };
    Drive(kSource, rows);
}

TEST(UvcRequests, RefusedBeforeAnythingIsSent)
{
    Drive(kSource, std::vector<Refusal>{
                       {CALL(VeskVideoUvcOpen, nullptr), 1},
                       {CALL(VeskVideoUvcSetStmParam, 1, nullptr), 1},
                       {CALL(VeskVideoUvcSetStmParamEx, 1, nullptr), 1},
                       {CALL(VeskVideoUvcForceKeyFrame, 8), 11},
                   });
}
