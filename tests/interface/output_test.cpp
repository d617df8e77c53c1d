// Output ports.
#include "support/request_table.h"

#include <array>

static constexpr uint32_t kPort = 0xfffffffe; // zero-extended, never sign-extended
static const VeskVideoVoPortParam param{1, 4000000000, -3, 4, -5, 6, -7, 8, 255, {}};

// clang-format off
static const Family outputs("vesk_video_interface", "function", [] { return Rows{
    ROW(GET_VO_COUNT, 7, GetVoCount, Out).Sends({}, "start|?1 count|!message"),
    ROW(GET_VO_PORT, 8, GetVoPort, Out(2), 2).Sends({2}, "start|?1 voPortInfo|!message"),
    ROW(GET_VO_PORT, 8, GetVoPort, Out, 0).Refused(2, "start|message"),
    ROW(OPEN_VO_PORT, 20, VoOpen, kPort, Out)
        .Sends({kPort}, "start|L3 %s: voPort=4294967294.|?1 outEngNo|>T3 {%m msg[0] 77 }\n"),
    ROW(SET_VO_PARAM, 22, VoSetParam, 5, &param)
        .Sends({5}, "T3 {%m start 5 }\n|?1 voPortParam|L3 %s:voPortParam: 1 4000000000 -3 4 -5 6 -7 8 255"),
    ROW(SET_VO_QUE_HANDLE, 23, VoSetQueHandle, 2, 7).Sends({2, 7}, "start|L3 %s:  outEngNo=2 queHandle=7 "),
    ROW(GET_VO_PARAM, 24, VoGetParam, 5, Out).Sends({5}, "T3 {%m start 5 }\n|?1 voPortParam"),
    ROW(SET_SCREEN_OFFSET, 26, VoSetOffset, 3, -10, 20)
        .Sends({3}, "start|L3 %s: outEngNo=3 xOffset=-10 yOffset=20.", BytesOf(std::array{-10, 20})),
    ROW(VO_START, 27, VoStart, 5).Sends({5}, "start|L3 %s:  outEngNo=5"),
    ROW(VO_STOP, 28, VoStop, 5).Sends({5}, "start|L3 %s: outEngNo=5."),
    ROW(VO_CLOSE, 29, VoClose, 5).Sends({5}, "start|L3 %s: outEngNo=5."),
    ROW(VO_ENABLE, 140, VoEnable, 1).Sends({1}, "T3 {%m start 1 }\n|L3 %s: voPort=1.|!B1 %s failed[9] 1."),
    ROW(VO_DISABLE, 141, VoDisable, 1)
        .Sends({1}, "L3 vo disable, voPort=1|start|L3 %s: voPort=1.|!B1 %s failed[9] 1."),
}; });
// clang-format on
