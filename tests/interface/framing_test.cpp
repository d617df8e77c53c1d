// Framing of an input and the state of its camera.
#include "support/request_table.h"

using namespace request_table;

static const Family framing("vesk_video_interface", FailureForm::kMessage, [] {
    // Those that read write a line of their own before the end line.
    const auto read = [](Row row, const std::string& what, const std::string& values) {
        return std::move(row).Ends({"T3 " + what + ", " + values, "T3 #####send %m msg[0]#####\n"});
    };
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM, 63, VeskVideoSetViPortEptzParam, 91, In()).Head(0, 0, 91)
            .Null("eptzParams")
            .Refuses(3, {"L1 port[92] is invalid"}, CALL(VeskVideoSetViPortEptzParam, 92, nullptr)),
        ROW(VESK_VIDEO_MSG_SET_VI_PTZF_PARAM, 64, VeskVideoSetViPortPtzfParam, 91, In()).Head(0, 0, 91)
            .Null("ptzfParams")
            .Refuses(3, {"L1 port[4294967295] is invalid"}, CALL(VeskVideoSetViPortPtzfParam, UINT32_MAX,
                nullptr)),
        read(ROW(VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM, 65, VeskVideoGetViPortEptzParam, 65540, Out())
            .Head(0, 0, 4).Bare().Traces("Get VI port cutout param start!")
            .Traces("#####send %m start 65540 #####\n")
            .Null("eptzParams"), "Get VI port cutout param", "inEngNo[65540] result[0]"),
        read(ROW(VESK_VIDEO_MSG_GET_VI_PTZF_PARAM, 66, VeskVideoGetViPortPtzfParam, 4, Out()).Head(0, 0, 4)
            .Bare().Traces("Get VI port ptzf param start!").Traces("#####send %m start 4 #####\n")
            .NullFails(2), "Get VI port ptzf param", "inEngNo[4] result[0]"),
        read(ROW(VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM, 67, VeskVideoExecutViPortTrackingParam, 4)
            .Head(0, 0, 4).Bare().Traces("Execut VI port tracking param start!")
            .Says("%s enter inEngNo=4."), "Execut VI port tracking param", "inEngNo[4] result[0]"),
        read(ROW(VESK_VIDEO_MSG_GET_VI_PT_STATUS, 68, VeskVideoGetViPortPtStatus, 4, Out()).Head(0, 0, 4)
            .Bare().Traces("Start Get VI port pt status").Traces("#####send %m start 4 #####\n")
            .Null("status"), "Get VI port pt status", "inEngNo[4] result[0]"),
        read(ROW(VESK_VIDEO_MSG_GET_VI_AF_STATUS, 69, VeskVideoGetViPortAFStatus, 4, Out()).Head(0, 0, 4)
            .Bare().Traces("Start Get VI port af status").Traces("#####send %m start 4 #####\n")
            .Null("status"), "Get VI port af status", "inEngNo[4] result[0]"),
        ROW(VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED, 152, VeskVideoViSetEptzMoveSpeed, 4, -2)
            .Head(4, 0xfffffffe).Says("%s: inEngNo=4 eptzMoveSpeed=-2.").Fails(FailureForm::kFunction)
            .FailsFirst("ViSetEptzMoveSpeed, inEngNo=4 result=9"),
    };
    // clang-format on
});
