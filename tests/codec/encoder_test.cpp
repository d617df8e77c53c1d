// Encoder channels.
#include "support/request_table.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

namespace {

VeskVideoEncParam Param(int32_t codcType)
{
    auto p = Patterned<VeskVideoEncParam>(1);
    p.codcType = codcType, p.pt = 96, p.w = 1920, p.h = 1080, p.fr = 30, p.br = 4000000000;
    p.secType = -1, p.stmType = -2, p.effect = -3, p.isDtFmtCfg = 255, p.dtFmtCap = 0x100000abcd;
    return p;
}

std::string ParamLine(const std::string& codcType)
{
    return "%s:encStmNo=4, codcType=" + codcType +
           ", pt=96, w=1920, h=1080, fr=30, br=4000000000, stmType=-2, secType=-1, effect=-3, paramLen=72, "
           "isDtFmtCfg=255, dtFmtCap=0XABCD";
}

VeskVideoEncParamEx ParamEx(uint32_t p0, uint32_t p1 = 2, uint32_t p2 = 4, uint32_t p6 = 4)
{
    return {p0, p1, p2, 253, 254, 255, 0, p6, {1, 2, 3, 4}};
}

} // namespace

static const Family encoders("vesk_video_interface_codec", FailureForm::kFunction, [] {
    static const VeskVideoEncParam param = Param(4), svc = Param(3);
    static const VeskVideoEncParamEx paramEx = ParamEx(50000);
    static std::vector<VeskVideoEncStatusInfo> infos(131072);
    const Lines tooShort{"T1 decParam len error", "L1 decParam len error"};
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_ENC_CREATE, 30, VeskVideoEncoderCreate, Out()).Null("encStmNo").Says("%s enter.")
            .End("#####send %m msg[0] 77 #####\n"),
        ROW(VESK_VIDEO_MSG_ENC_DELETE, 31, VeskVideoEncoderDelete, 0xfffffffe).Head(0xfffffffe)
            .Says("%s: encStmNo=4294967294."),
        ROW(VESK_VIDEO_MSG_SET_ENC_PARAM, 32, VeskVideoEncoderSetParam, 4, &param).Head(4)
            .Null("encParam", 2)
            .Refuses(2, {"L3 " + ParamLine("3"), "L1 Do not support VESK_VIDEO_ENC_SVC_SW type"},
                CALL(VeskVideoEncoderSetParam, 4, &svc))
            .Says(ParamLine("4")),
        ROW(VESK_VIDEO_MSG_SET_ENC_QUE_HANDLE, 35, VeskVideoEncoderSetQueHandle, 4, 5).Head(4, 5)
            .Says("%s:encStmNo=4, queId=5."),
        ROW(VESK_VIDEO_MSG_GET_ENC_PARAM, 36, VeskVideoEncoderGetParam, 4, Out()).Head(4).Bare()
            .Traces("#####send %m start 4 #####\n").Null("encParam", 2),
        ROW(VESK_VIDEO_MSG_ENC_START, 37, VeskVideoEncoderStart, 4).Head(4).Says("%s: encStmNo=4."),
        ROW(VESK_VIDEO_MSG_ENC_STOP, 38, VeskVideoEncoderStop, 4).Head(4).Says("%s: encStmNo=4."),
        ROW(VESK_VIDEO_MSG_ENCODER_GET_STATUS, 90, VeskVideoEncoderGetStatus, 4, Out()).Head(4).Bare()
            .Traces("#####send %m start 4 #####\n").Null("status", 2).Unended(),
        ROW(VESK_VIDEO_MSG_ENCODER_GET_ALL_STATUS, 91, VeskVideoEncoderGetStatusInfos, 2, InOut{2}, 64)
            .Head(2).Bare().Traces("#####send %m start#####").Null("status", 2)
            .Refuses(2, tooShort, CALL(VeskVideoEncoderGetStatusInfos, 2, infos.data(), 63))
            .Refuses(2, tooShort, CALL(VeskVideoEncoderGetStatusInfos, 0x8000001, infos.data(), 4194304))
            .Refuses(2, {}, CALL(VeskVideoEncoderGetStatusInfos, 0, infos.data(), 64))
            .Refuses(2, {}, CALL(VeskVideoEncoderGetStatusInfos, 131072, infos.data(), 4194304)).Unended(),
        ROW(VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS, 92, VeskVideoEncoderGetChrStatistics, 4, Out())
            .Head(4).Bare().Says("Get encoder chrstatistics start!").Traces("#####send %m start 4 #####\n")
            .Null("statistics", 2).Unended(),
        ROW(VESK_VIDEO_MSG_ENC_FORCE_KEYFRAME, 96, VeskVideoEncoderForceKeyFrame, 4).Head(4)
            .Says("%s:encStmNo=4.").End("#####send %s msg[0]#####\n"),
        ROW(VESK_VIDEO_MSG_ENC_MODIFY_FRAME_RATE, 97, VeskVideoEncoderModifyFrameRate, 65537, 25)
            .Head(25, 0, 1).Says("%s: encStmNo=65537 frameRate=25."),
        ROW(VESK_VIDEO_MSG_SET_ENC_PARAM_EX, 135, VeskVideoEncoderSetParamEx, 4, &paramEx).Head(4)
            .Null("encParam", 2).Says("%s:encStmNo=4, 50000, 2, 4, 253, 254, 255"),
        ROW(VESK_VIDEO_MSG_GET_ENC_PARAM_EX, 136, VeskVideoEncoderGetParamEx, 4, Out()).Head(4)
            .Null("encParam", 2),
    };
    // clang-format on
});

TEST(Encoder, ExtendedParametersHaveRanges)
{
    const struct {
        VeskVideoEncParamEx param;
        bool isSent;
    } cases[] = {
        {ParamEx(64), true},        {ParamEx(63), false},          {ParamEx(0), false},
        {ParamEx(50001), false},    {ParamEx(UINT32_MAX), false},  {ParamEx(64, 3), false},
        {ParamEx(64, 0, 5), false}, {ParamEx(64, 0, 0, 5), false}, {ParamEx(64, UINT32_MAX), false},
    };
    for (const auto& c : cases) {
        Reset();
        EXPECT_EQ(VeskVideoEncoderSetParamEx(1, &c.param), c.isSent ? 0U : 2U);
        EXPECT_EQ(Get().sent.size(), c.isSent ? 1U : 0U);
        if (!c.isSent) {
            EXPECT_EQ(Get().lines.back(), "L1 vesk_video_interface_codec error encparamex param\n");
        }
    }
}

static const HasOwnTest fec(VESK_VIDEO_MSG_SET_ENC_FEC_PARAM);

TEST(Encoder, TheFecLineIsWrittenEveryThousandthCall)
{
    const VeskVideoEncFecParam param{0.25F, 7};
    const std::string line = "L3 vesk_video_interface_codec VeskVideoEncoderSetFecParam Begin, encStmNo[4], "
                             "lossRate[0.250000], constLostNum[7]";
    std::vector<int> written;
    for (int call = 1; call <= 1001; ++call) {
        Reset();
        Get().answer = [call](const Sent&) { return Answer{0, AnswerBytes(call == 500 ? 9 : 0)}; };
        EXPECT_EQ(VeskVideoEncoderSetFecParam(4, nullptr), 2U); // does not count
        EXPECT_EQ(VeskVideoEncoderSetFecParam(4, &param), call == 500 ? 9U : 0U);
        const auto lines = RequestLines();
        const std::string origin = "T3 VeskVideoEncoderSetFecParam ";
        EXPECT_EQ(lines[1], "L1 vesk_video_interface_codec VeskVideoEncoderSetFecParam: fecParam is NULL!");
        EXPECT_EQ(lines[2], origin + "#####send VESK_VIDEO_MSG_SET_ENC_FEC_PARAM start#####\n");
        EXPECT_EQ(lines[3],
                  origin + "VeskVideoEncoderSetFecParam encStmNo=4 lossRate=0.250000 constLostNum=7.");
        if (lines[4] == line)
            written.push_back(call);
        EXPECT_EQ(lines.back(), call == 500
                                    ? "L1 vesk_video_interface_codec VeskVideoEncoderSetFecParam failed[9]."
                                    : origin + "#####send VESK_VIDEO_MSG_SET_ENC_FEC_PARAM msg[0]#####\n");
        EXPECT_EQ(BytesOf(Get().sent.at(0).Head()), BytesOf(VeskVideoMsgHead{0, 39, 0, 4, 0, 0}));
        EXPECT_EQ(Get().sent[0].Payload(), BytesOf(param));
    }
    EXPECT_EQ(written, (std::vector<int>{1, 1001}));
}
