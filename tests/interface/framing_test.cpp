// Framing of an input and the state of its camera.
#include "support/request_table.h"

// clang-format off
static const Family framing("vesk_video_interface", "message", [] { return Rows{
    ROW(SET_VI_CUTOUT_PARAM, 63, SetViPortEptzParam, 91, In).Sends({0, 0, 91}, "start|?1 eptzParams"),
    ROW(SET_VI_CUTOUT_PARAM, 63, SetViPortEptzParam, 92, nullptr).Refused(3, "start|L1 port[92] is invalid"),
    ROW(SET_VI_PTZF_PARAM, 64, SetViPortPtzfParam, 91, In).Sends({0, 0, 91}, "start|?1 ptzfParams"),
    ROW(SET_VI_PTZF_PARAM, 64, SetViPortPtzfParam, UINT32_MAX, nullptr)
        .Refused(3, "start|L1 port[4294967295] is invalid"),
    ROW(GET_VI_CUTOUT_PARAM, 65, GetViPortEptzParam, 65540, Out)
        .Sends({0, 0, 4}, "T3 Get VI port cutout param start!|T3 {%m start 65540 }\n|?1 eptzParams|"
        ">T3 Get VI port cutout param, inEngNo[65540] result[0]|>end"),
    ROW(GET_VI_PTZF_PARAM, 66, GetViPortPtzfParam, 4, Out).Sends({0, 0, 4}, "T3 Get VI port ptzf param "
        "start!|T3 {%m start 4 }\n|?2|>T3 Get VI port ptzf param, inEngNo[4] result[0]|>end"),
    ROW(EXECUT_VI_TRACKING_PARAM, 67, ExecutViPortTrackingParam, 4)
        .Sends({0, 0, 4}, "T3 Execut VI port tracking param start!|L3 %s enter inEngNo=4.|"
        ">T3 Execut VI port tracking param, inEngNo[4] result[0]|>end"),
    ROW(GET_VI_PT_STATUS, 68, GetViPortPtStatus, 4, Out).Sends({0, 0, 4}, "T3 Start Get VI port pt status|"
        "T3 {%m start 4 }\n|?1 status|>T3 Get VI port pt status, inEngNo[4] result[0]|>end"),
    ROW(GET_VI_AF_STATUS, 69, GetViPortAFStatus, 4, Out).Sends({0, 0, 4}, "T3 Start Get VI port af status|"
        "T3 {%m start 4 }\n|?1 status|>T3 Get VI port af status, inEngNo[4] result[0]|>end"),
    ROW(VI_SET_EPTZ_MOVE_SPEED, 152, ViSetEptzMoveSpeed, 4, -2).Sends({4, 0xfffffffe}, "start|"
        "L3 %s: inEngNo=4 eptzMoveSpeed=-2.|!L1 ViSetEptzMoveSpeed, inEngNo=4 result=9|!function"),
}; });
// clang-format on
