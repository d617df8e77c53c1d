// Encoder channels.
#include "support/request_table.h"

#include <gtest/gtest.h>

static const auto param = Patterned<VeskVideoEncParam>([](auto& p) {
    p.codcType = 4, p.pt = 96, p.w = 1920, p.h = 1080, p.fr = 30, p.br = 4000000000;
    p.secType = -1, p.stmType = -2, p.effect = -3, p.isDtFmtCfg = 255, p.dtFmtCap = 0x100000abcd;
});
static const auto svc = Patterned<VeskVideoEncParam>([](auto& p) { p = param, p.codcType = 3; });
static const std::string shown = ", pt=96, w=1920, h=1080, fr=30, br=4000000000, stmType=-2, secType=-1, "
                                 "effect=-3, paramLen=72, isDtFmtCfg=255, dtFmtCap=0XABCD";

static VeskVideoEncParamEx ParamEx(uint32_t p0, uint32_t p1 = 2, uint32_t p2 = 4, uint32_t p6 = 4)
{
    return {p0, p1, p2, 253, 254, 255, 0, p6, {1, 2, 3, 4}};
}

static const VeskVideoEncParamEx paramEx = ParamEx(50000);

// clang-format off
static const Family encoders("vesk_video_interface_codec", "function", [] { return Rows{
    ROW(ENC_CREATE, 30, EncoderCreate, Out).Sends({}, "start|?1 encStmNo|L3 %s enter.|>T3 {%m msg[0] 77 }\n"),
    ROW(ENC_DELETE, 31, EncoderDelete, 0xfffffffe).Sends({0xfffffffe}, "start|L3 %s: encStmNo=4294967294."),
    ROW(SET_ENC_PARAM, 32, EncoderSetParam, 4, &param)
        .Sends({4}, "start|?2 encParam|L3 %s:encStmNo=4, codcType=4" + shown),
    ROW(SET_ENC_PARAM, 32, EncoderSetParam, 4, &svc).Refused(2, "start|"
        "L3 %s:encStmNo=4, codcType=3" + shown + "|L1 Do not support VESK_VIDEO_ENC_SVC_SW type"),
    ROW(SET_ENC_QUE_HANDLE, 35, EncoderSetQueHandle, 4, 5).Sends({4, 5}, "start|L3 %s:encStmNo=4, queId=5."),
    ROW(GET_ENC_PARAM, 36, EncoderGetParam, 4, Out).Sends({4}, "T3 {%m start 4 }\n|?2 encParam"),
    ROW(ENC_START, 37, EncoderStart, 4).Sends({4}, "start|L3 %s: encStmNo=4."),
    ROW(ENC_STOP, 38, EncoderStop, 4).Sends({4}, "start|L3 %s: encStmNo=4."),
    ROW(ENCODER_GET_STATUS, 90, EncoderGetStatus, 4, Out).Sends({4}, "T3 {%m start 4 }\n|?2 status|>unended"),
    ROW(ENCODER_GET_ALL_STATUS, 91, EncoderGetStatusInfos, 2, InOut(2), 64)
        .Sends({2}, "T3 {%m start}|?2 status|>unended"),
    ROW(ENCODER_GET_ALL_STATUS, 91, EncoderGetStatusInfos, 2, InOut(131072), 63)
        .Refused(2, "T3 {%m start}|B1 decParam len error"),
    ROW(ENCODER_GET_ALL_STATUS, 91, EncoderGetStatusInfos, 0x8000001, InOut(131072), 4194304)
        .Refused(2, "T3 {%m start}|B1 decParam len error"),
    ROW(ENCODER_GET_ALL_STATUS, 91, EncoderGetStatusInfos, 0, InOut(131072), 64)
        .Refused(2, "T3 {%m start}|function"),
    ROW(ENCODER_GET_ALL_STATUS, 91, EncoderGetStatusInfos, 131072, InOut(131072), 4194304)
        .Refused(2, "T3 {%m start}|function"),
    ROW(ENCODER_GET_CHR_STATISTICS, 92, EncoderGetChrStatistics, 4, Out)
        .Sends({4}, "L3 Get encoder chrstatistics start!|T3 {%m start 4 }\n|?2 statistics|>unended"),
    ROW(ENC_FORCE_KEYFRAME, 96, EncoderForceKeyFrame, 4)
        .Sends({4}, "start|L3 %s:encStmNo=4.|>T3 {%s msg[0]}\n"),
    ROW(ENC_MODIFY_FRAME_RATE, 97, EncoderModifyFrameRate, 65537, 25)
        .Sends({25, 0, 1}, "start|L3 %s: encStmNo=65537 frameRate=25."),
    ROW(SET_ENC_PARAM_EX, 135, EncoderSetParamEx, 4, &paramEx)
        .Sends({4}, "start|?2 encParam|L3 %s:encStmNo=4, 50000, 2, 4, 253, 254, 255"),
    ROW(GET_ENC_PARAM_EX, 136, EncoderGetParamEx, 4, Out).Sends({4}, "start|?2 encParam"),
}; });
// clang-format on

TEST(Encoder, ExtendedParametersHaveRanges)
{
    const std::pair<VeskVideoEncParamEx, bool> cases[] = {
        // clang-format off
        {ParamEx(64), true}, {ParamEx(63), false}, {ParamEx(0), false}, {ParamEx(50001), false},
        {ParamEx(UINT32_MAX), false}, {ParamEx(64, 3), false}, {ParamEx(64, UINT32_MAX), false},
        {ParamEx(64, 0, 5), false}, {ParamEx(64, 0, 0, 5), false},
        // clang-format on
    };
    for (const auto& [ranged, isSent] : cases) {
        Reset();
        EXPECT_EQ(VeskVideoEncoderSetParamEx(1, &ranged), isSent ? 0U : 2U);
        EXPECT_EQ(Get().sent.size(), isSent ? 1U : 0U);
        EXPECT_EQ(Times("L1 vesk_video_interface_codec error encparamex param\n"), isSent ? 0U : 1U);
    }
}

// The only test that sets it: its calls are counted. One in a thousand is shown in the module log.
TEST(Encoder, TheFecLineIsWrittenEveryThousandthCall)
{
    const VeskVideoEncFecParam fec{0.25F, 7};
    const std::string lines = "start|L1 %s: fecParam is NULL!|start|"
                              "T3 %s encStmNo=4 lossRate=0.250000 constLostNum=7.|";
    const std::string begin = "L3 %s Begin, encStmNo[4], lossRate[0.250000], constLostNum[7]|";
    for (int call = 1; call <= 1001; ++call) {
        const bool fails = call == 500;
        Reset(fails ? 9 : 0);
        EXPECT_EQ(VeskVideoEncoderSetFecParam(4, nullptr), 2U); // does not count
        EXPECT_EQ(VeskVideoEncoderSetFecParam(4, &fec), fails ? 9U : 0U);
        EXPECT_EQ(Get().sent.at(0).data, Block({0, 39, 0, 4, 0, 0}, BytesOf(fec)));
        ASSERT_EQ(RequestLines(),
                  Expand(lines + (call % 1000 == 1 ? begin : "") + (fails ? "function" : "end"),
                         "VeskVideoEncoderSetFecParam", "VESK_VIDEO_MSG_SET_ENC_FEC_PARAM",
                         "vesk_video_interface_codec", 9));
    }
}
