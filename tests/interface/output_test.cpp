// Output ports.
#include "support/request_table.h"

using namespace request_table;

static const Family outputs("vesk_video_interface", FailureForm::kFunction, [] {
    constexpr uint32_t kPort = 0xfffffffe; // zero-extended, never sign-extended
    static const VeskVideoVoPortParam param{1, 4000000000, -3, 4, -5, 6, -7, 8, 255, {}};
    static const std::array<int32_t, 2> offset{-10, 20};
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_GET_VO_COUNT, 7, VeskVideoGetVoCount, Out()).Null("count")
            .Fails(FailureForm::kMessage),
        ROW(VESK_VIDEO_MSG_GET_VO_PORT, 8, VeskVideoGetVoPort, Out{2}, 2).Head(2).Null("voPortInfo")
            .Refuses(2, {}, [] { return VeskVideoGetVoPort(reinterpret_cast<VeskVideoVoPortInfo*>(8), 0); })
            .Fails(FailureForm::kMessage),
        ROW(VESK_VIDEO_MSG_OPEN_VO_PORT, 20, VeskVideoVoOpen, kPort, Out()).Head(kPort)
            .Says("%s: voPort=4294967294.").Null("outEngNo").End("#####send %m msg[0] 77 #####\n"),
        ROW(VESK_VIDEO_MSG_SET_VO_PARAM, 22, VeskVideoVoSetParam, 5, &param).Head(5).Bare()
            .Traces("#####send %m start 5 #####\n").Null("voPortParam")
            .Says("%s:voPortParam: 1 4000000000 -3 4 -5 6 -7 8 255"),
        ROW(VESK_VIDEO_MSG_SET_VO_QUE_HANDLE, 23, VeskVideoVoSetQueHandle, 2, 7).Head(2, 7)
            .Says("%s:  outEngNo=2 queHandle=7 "),
        ROW(VESK_VIDEO_MSG_GET_VO_PARAM, 24, VeskVideoVoGetParam, 5, Out()).Head(5).Bare()
            .Traces("#####send %m start 5 #####\n").Null("voPortParam"),
        ROW(VESK_VIDEO_MSG_SET_SCREEN_OFFSET, 26, VeskVideoVoSetOffset, 3, -10, 20).Head(3)
            .Payload(BytesOf(offset)).Says("%s: outEngNo=3 xOffset=-10 yOffset=20."),
        ROW(VESK_VIDEO_MSG_VO_START, 27, VeskVideoVoStart, 5).Head(5).Says("%s:  outEngNo=5"),
        ROW(VESK_VIDEO_MSG_VO_STOP, 28, VeskVideoVoStop, 5).Head(5).Says("%s: outEngNo=5."),
        ROW(VESK_VIDEO_MSG_VO_CLOSE, 29, VeskVideoVoClose, 5).Head(5).Says("%s: outEngNo=5."),
        ROW(VESK_VIDEO_MSG_VO_ENABLE, 140, VeskVideoVoEnable, 1).Head(1).Bare()
            .Traces("#####send %m start 1 #####\n").Says("%s: voPort=1.")
            .Fails({"T1 %s failed[9] 1.", "L1 %s failed[9] 1."}),
        ROW(VESK_VIDEO_MSG_VO_DISABLE, 141, VeskVideoVoDisable, 1).Head(1).Bare()
            .Says("vo disable, voPort=1").Start().Says("%s: voPort=1.")
            .Fails({"T1 %s failed[9] 1.", "L1 %s failed[9] 1."}),
    };
    // clang-format on
});
