// Mouse streams: every request over its row.
#include "interface/request_table.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

namespace {

constexpr char kSource[] = "vesk_video_interface_mouse";

uint32_t g_number;

/// A row of this family: a start text for both sinks, if any, and an end text.
Row MouseRow(const char* function, Row::Call call, const VeskVideoMsgHead& head, const std::string& start,
             const std::string& end)
{
    Row row = Row(function, std::move(call), head, "")
                  .Before()
                  .Ends("T3 " + end)
                  .FailsWith(Invalid("Send Msg Fail!", "retVal"));
    if (!start.empty())
        row.before = {"T3 " + start, "L3 " + start};
    return row;
}

} // namespace

TEST(MouseRequests, EachOverItsRow)
{
    const uint32_t wide = 65541; // travels as 5 in 16 bits
    static const auto area = Pattern<VeskVideoMouseArea>(1);
    static const auto param = Pattern<VeskVideoLocalMouseParam>(2);

    const std::vector<Row> rows{
        MouseRow(CALL(VeskVideoRemoteMouseOpen, 255, &g_number), Head(56, 255),
                 "send VESK_VIDEO_MSG_OPEN_MOUSE_PORT start",
                 "#####send VESK_VIDEO_MSG_OPEN_MOUSE_PORT msg[0], mouseStmNo[8] #####\n")
            .Answer(BytesOf(uint32_t{8})),
        MouseRow(CALL(VeskVideoRemoteMouseSetQueHandle, wide, 6), Head(58, 6, 0, 5),
                 "send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE start",
                 "#####send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE msg[0], mouseStmNo[65541] #####\n"),
        MouseRow(CALL(VeskVideoRemoteMouseConnect, wide, 6), Head(59, 6, 0, 5),
                 "send VESK_VIDEO_MSG_MOUSE_CONNECT start",
                 "#####send VESK_VIDEO_MSG_MOUSE_CONNECT msg[0], mouseStmNo[65541], decStmNo[6] #####\n"),
        MouseRow(CALL(VeskVideoRemoteMouseStart, 5), Head(60, 0, 0, 5), "",
                 "#####send VESK_VIDEO_MSG_MOUSE_START msg[0], mouseStmNo[5] #####\n"),
        MouseRow(CALL(VeskVideoRemoteMouseStop, 5), Head(61, 0, 0, 5),
                 "#####send VESK_VIDEO_MSG_MOUSE_STOP start#####",
                 "#####send VESK_VIDEO_MSG_MOUSE_STOP msg[0], mouseStmNo[5] #####\n"),
        MouseRow(CALL(VeskVideoRemoteMouseClose, 5), Head(62, 0, 0, 5),
                 "send VESK_VIDEO_MSG_CLOSE_MOUSE_PORT start",
                 "send VESK_VIDEO_MSG_CLOSE_MOUSE_PORT msg[0], mouseStmNo[5] \n"),
        MouseRow(CALL(VeskVideoRemoteMouseSetBackgroundArea, wide, &area), Head(130, wide), "", "")
            .Payload(BytesOf(area))
            .Before("L3 #####send VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA start#####\n")
            .Ends("L3 #####send VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA msg ret[0]#####\n"),
        MouseRow(CALL(VeskVideoLocalMouseOpen, &g_number), Head(121),
                 "send VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE start",
                 "send VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE msg[0], mouseStmNo[9] \n")
            .Answer(BytesOf(uint32_t{9})),
        MouseRow(CALL(VeskVideoLocalMouseStart, 65536), Head(122),
                 "#####send VESK_VIDEO_MSG_START_LOCAL_MOUSE start#####",
                 "#####send VESK_VIDEO_MSG_START_LOCAL_MOUSE msg[0], mouseStmNo[65536] #####\n"),
        MouseRow(CALL(VeskVideoLocalMouseStop, 5), Head(123, 0, 0, 5),
                 "#####send VESK_VIDEO_MSG_STOP_LOCAL_MOUSE start#####",
                 "#####send VESK_VIDEO_MSG_STOP_LOCAL_MOUSE msg[0], mouseStmNo[5] #####\n"),
        MouseRow(CALL(VeskVideoLocalMouseSetIndependent, wide, 255), Head(124, wide, 255),
                 "send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT start",
                 "send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT msg[0], mouseStmNo[65541]\n"),
        MouseRow(CALL(VeskVideoLocalMouseSetParam, wide, &param), Head(125, wide),
                 "send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM start",
                 "send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM msg[0], mouseStmNo[65541]\n")
            .Payload(BytesOf(param)),
        MouseRow(CALL(VeskVideoLocalMouseSetParam, 5, nullptr), Head(125, 5),
                 "send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM start",
                 "send VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM msg[0], mouseStmNo[5]\n"),
        MouseRow(CALL(VeskVideoLocalMouseAttach, wide, 6), Head(126, wide, 6),
                 "send VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE start",
                 "send VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE msg[0], mouseStmNo[65541] \n"),
        MouseRow(CALL(VeskVideoLocalMouseShowEnable, wide, 1), Head(127, wide, 1), "",
                 "send VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE msg[0]\n")
            .Before("L3 Set local mouse show enable start!",
                    "T3 send VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE start\n")
            .FailsWith(
                After("L1 Set local mouse show enable, result[9]!", Invalid("Send Msg Fail!", "retVal"))),
        MouseRow(CALL(VeskVideoLocalMouseSetQueHandle, wide, 6), Head(128, 6, 0, 5),
                 "#####send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE start#####",
                 "#####send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE msg[0], mouseStmNo[65541] #####\n"),
        MouseRow(CALL(VeskVideoLocalMouseClose, 5), Head(129, 0, 0, 5),
                 "send VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE start",
                 "send VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE msg[0], mouseStmNo[5] \n"),
    };
    Drive(kSource, rows);
}

TEST(MouseRequests, RefusedBeforeAnythingIsSent)
{
    Drive(kSource, {
                       Refusal(CALL(VeskVideoRemoteMouseOpen, 1, nullptr), 1,
                               "T3 send VESK_VIDEO_MSG_OPEN_MOUSE_PORT start",
                               "L3 send VESK_VIDEO_MSG_OPEN_MOUSE_PORT start",
                               "L1 VeskVideoRemoteMouseOpen: mouseStmNo is NULL!"),
                       Refusal(CALL(VeskVideoLocalMouseOpen, nullptr), 1,
                               "T3 send VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE start",
                               "L3 send VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE start",
                               "L1 VeskVideoLocalMouseOpen: localMouseStmNo is NULL!"),
                       Refusal(CALL(VeskVideoRemoteMouseSetBackgroundArea, 1, nullptr), 1,
                               "L3 #####send VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA start#####\n",
                               "L1 VeskVideoRemoteMouseSetBackgroundArea: area is NULL!"),
                       Refusal(CALL(VeskVideoRemoteMouseSetIndependent, 1), 0),
                       Refusal(CALL(VeskVideoRemoteMouseAttach, "any", 2.0), 0),
                       Refusal(CALL(VeskVideoRemoteMouseForwardEnable), 0),
                       Refusal(CALL(VeskVideoLocalMouseSetShowArea, 1, 2, 3), 0),
                   });
}
