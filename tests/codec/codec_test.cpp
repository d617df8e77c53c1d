// Encoder and decoder channels and the codec capabilities: every request over its row.
#include "interface/request_table.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <vector>

using namespace recording;
using namespace request_table;

namespace {

constexpr char kSource[] = "vesk_video_interface_codec";

uint32_t g_number;

VeskVideoEncParam EncParam(int32_t codcType)
{
    auto p = Pattern<VeskVideoEncParam>(1);
    p.codcType = codcType, p.pt = 96, p.w = 1920, p.h = 1080, p.fr = 30, p.br = 4000000000;
    p.secType = -1, p.stmType = -2, p.effect = -3, p.isDtFmtCfg = 255, p.dtFmtCap = 0x100000abcd;
    return p;
}

VeskVideoEncParamEx EncParamEx(uint32_t p0, uint32_t p1 = 2, uint32_t p2 = 4, uint32_t p6 = 4)
{
    return {p0, p1, p2, 253, 254, 255, 0, p6, {1, 2, 3, 4}};
}

VeskVideoDecParam DecParam(int32_t codecType)
{
    return {codecType, 96, 1920, 1080, -1, {9, 9, 9, 9}, -2, -3};
}

} // namespace

TEST(CodecRequests, EachOverItsRow)
{
    static const VeskVideoEncParam encParam = EncParam(4);
    static const VeskVideoEncParamEx encParamEx = EncParamEx(50000);
    static const VeskVideoDecParam decParam = DecParam(9);
    static const auto decParamEx = Pattern<VeskVideoDecParamEx>(2);
    static VeskVideoEncParam encRead;
    static VeskVideoEncParamEx encExRead;
    static VeskVideoEncStatus encStatus;
    static VeskVideoEncChrStatistics encStatistics;
    static VeskVideoDecParam decRead;
    static VeskVideoDecStatus decStatus;
    static VeskVideoDecChrStatistics decStatistics;
    static auto encInfos = Pattern<std::array<VeskVideoEncStatusInfo, 2>>(3);
    static auto decInfos = Pattern<std::array<VeskVideoDecStatusInfo, 2>>(3);
    const Bytes infos = BytesOf(encInfos); // sent, and answered with the same

    Drive(
        kSource,
        {
            Row(CALL(VeskVideoEncoderCreate, &g_number), Head(30)).Answer(BytesOf(uint32_t{5})),
            Row(CALL(VeskVideoEncoderDelete, 0xfffffffe), Head(31, 0xfffffffe)),
            Row(CALL(VeskVideoEncoderSetParam, 4, &encParam), Head(32, 4)).Payload(BytesOf(encParam)),
            Row(CALL(VeskVideoEncoderSetQueHandle, 4, 5), Head(35, 4, 5)),
            Row(CALL(VeskVideoEncoderGetParam, 4, &encRead), Head(36, 4)).Answer(BytesOf(encParam)),
            Row(CALL(VeskVideoEncoderStart, 4), Head(37, 4)),
            Row(CALL(VeskVideoEncoderStop, 4), Head(38, 4)),
            Row(CALL(VeskVideoEncoderGetStatus, 4, &encStatus), Head(90, 4)).Answer(Bytes(28)),
            Row(CALL(VeskVideoEncoderGetStatusInfos, 2, encInfos.data(), 64), Head(91, 2))
                .Payload(infos)
                .Answer(infos),
            Row(CALL(VeskVideoEncoderGetChrStatistics, 4, &encStatistics), Head(92, 4)).Answer(Bytes(104)),
            Row(CALL(VeskVideoEncoderForceKeyFrame, 4), Head(96, 4)),
            Row(CALL(VeskVideoEncoderModifyFrameRate, 65536, 25), Head(97, 25)),
            Row(CALL(VeskVideoEncoderSetParamEx, 4, &encParamEx), Head(135, 4)).Payload(BytesOf(encParamEx)),
            Row(CALL(VeskVideoEncoderGetParamEx, 4, &encExRead), Head(136, 4)).Answer(BytesOf(encParamEx)),
            Row(CALL(VeskVideoDecoderCreate, &g_number), Head(40)).Answer(BytesOf(uint32_t{6})),
            Row(CALL(VeskVideoDecoderDelete, 4), Head(41, 4)),
            Row(CALL(VeskVideoDecoderSetParam, 4, &decParam), Head(42, 4)).Payload(BytesOf(decParam)),
            Row(CALL(VeskVideoDecoderSetParamEx, 4, &decParamEx), Head(43, 4)).Payload(BytesOf(decParamEx)),
            Row(CALL(VeskVideoDecoderSetQueHandle, 4, 5), Head(44, 4, 5)),
            Row(CALL(VeskVideoDecoderGetParam, 4, &decRead), Head(45, 4)).Answer(BytesOf(decParam)),
            Row(CALL(VeskVideoDecoderStart, 4), Head(46, 4)),
            Row(CALL(VeskVideoDecoderStop, 4), Head(47, 4)),
            Row(CALL(VeskVideoDecoderGetStatus, 4, &decStatus), Head(93, 4)).Answer(Bytes(28)),
            Row(CALL(VeskVideoDecoderGetStatusInfos, 2, decInfos.data(), 64), Head(94, 2))
                .Payload(infos)
                .Answer(infos),
            Row(CALL(VeskVideoDecoderGetChrStatistics, 4, &decStatistics), Head(95, 4)).Answer(Bytes(112)),
            Row(CALL(VeskVideoDecoderSetAntiJitter, 4, 255), Head(103, 4, 255)),
        });
    EXPECT_EQ(BytesOf(encRead), BytesOf(encParam));
    EXPECT_EQ(BytesOf(decRead), BytesOf(decParam));
}

TEST(CodecRequests, RefusedBeforeAnythingIsSent)
{
    static const VeskVideoEncParam svcEnc = EncParam(3);
    static const VeskVideoDecParam svcDec = DecParam(10);
    static std::vector<VeskVideoEncStatusInfo> encInfos(131072);
    static std::vector<VeskVideoDecStatusInfo> decInfos(131072);
    Drive(kSource, std::vector<Refusal>{
                       {CALL(VeskVideoEncoderCreate, nullptr), 1},
                       {CALL(VeskVideoEncoderSetParam, 4, nullptr), 2},
                       {CALL(VeskVideoEncoderSetParam, 4, &svcEnc), 2},
                       {CALL(VeskVideoEncoderGetParam, 4, nullptr), 2},
                       {CALL(VeskVideoEncoderSetFecParam, 4, nullptr), 2},
                       {CALL(VeskVideoEncoderGetStatus, 4, nullptr), 2},
                       {CALL(VeskVideoEncoderGetStatusInfos, 2, nullptr, 64), 2},
                       {CALL(VeskVideoEncoderGetStatusInfos, 2, encInfos.data(), 63), 2},
                       {CALL(VeskVideoEncoderGetStatusInfos, 0x8000001, encInfos.data(), 4194304), 2},
                       {CALL(VeskVideoEncoderGetStatusInfos, 0, encInfos.data(), 64), 2},
                       {CALL(VeskVideoEncoderGetStatusInfos, 131072, encInfos.data(), 4194304), 2},
                       {CALL(VeskVideoEncoderGetChrStatistics, 4, nullptr), 2},
                       {CALL(VeskVideoEncoderSetParamEx, 4, nullptr), 2},
                       {CALL(VeskVideoEncoderGetParamEx, 4, nullptr), 2},
                       {CALL(VeskVideoDecoderCreate, nullptr), 1},
                       {CALL(VeskVideoDecoderSetParam, 4, nullptr), 1},
                       {CALL(VeskVideoDecoderSetParam, 4, &svcDec), 2},
                       {CALL(VeskVideoDecoderSetParamEx, 4, nullptr), 1},
                       {CALL(VeskVideoDecoderGetParam, 4, nullptr), 2},
                       {CALL(VeskVideoDecoderGetStatus, 4, nullptr), 2},
                       {CALL(VeskVideoDecoderGetStatusInfos, 2, nullptr, 64), 2},
                       {CALL(VeskVideoDecoderGetStatusInfos, 2, decInfos.data(), 63), 2},
                       {CALL(VeskVideoDecoderGetStatusInfos, 131072, decInfos.data(), 4194304), 2},
                       {CALL(VeskVideoDecoderGetChrStatistics, 4, nullptr), 2},
                   });
}

TEST(CodecRequests, ExtendedParametersHaveRanges)
{
    const struct {
        VeskVideoEncParamEx param;
        bool isSent;
    } cases[] = {
        {EncParamEx(64), true},        {EncParamEx(63), false},          {EncParamEx(0), false},
        {EncParamEx(50001), false},    {EncParamEx(UINT32_MAX), false},  {EncParamEx(64, 3), false},
        {EncParamEx(64, 0, 5), false}, {EncParamEx(64, 0, 0, 5), false}, {EncParamEx(64, UINT32_MAX), false},
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

TEST(CodecRequests, TheFecLineIsWrittenEveryThousandthCall)
{
    const VeskVideoEncFecParam fec{0.25F, 7};
    const std::string line = "L3 vesk_video_interface_codec VeskVideoEncoderSetFecParam Begin, encStmNo[4], "
                             "lossRate[0.250000], constLostNum[7]";
    std::vector<int> written;
    for (int call = 1; call <= 1001; ++call) {
        Reset();
        Get().answer = [call](const Sent&) { return Answer{0, AnswerBytes(call == 500 ? 9 : 0)}; };
        VeskVideoEncoderSetFecParam(4, nullptr); // does not count
        EXPECT_EQ(VeskVideoEncoderSetFecParam(4, &fec), call == 500 ? 9U : 0U);
        const auto lines = RequestLines();
        EXPECT_EQ(lines[3], "T3 VeskVideoEncoderSetFecParam VeskVideoEncoderSetFecParam encStmNo=4 "
                            "lossRate=0.250000 constLostNum=7.");
        if (lines[4] == line)
            written.push_back(call);
        EXPECT_EQ(Get().sent.at(0).Payload(), BytesOf(fec));
    }
    EXPECT_EQ(written, (std::vector<int>{1, 1001}));
}

TEST(CodecRequests, CapabilitiesAreLoggedEntryByEntry)
{
    VeskVideoEncodeCapability encode{};
    encode.codec[13] = {200, {}, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, {1, 0, 0, 2, 0, 0}, {1, 0, 255}, {}};
    VeskVideoDecodeCapability decode{};
    decode.maxChannel = 4000000000;
    decode.codec[0] = {1, {}, 1, 2, 3, 4, 5, 1, 2, {0, 0, 0, 0, 0, 1}, {0, 0, 0}, 0};
    VeskVideoEncodeCapability encodeRead;
    VeskVideoDecodeCapability decodeRead;
    Reset();
    Get().answer = [&](const Sent& sent) {
        return Answer{0, AnswerBytes(0, sent.Head().msgId == 98 ? BytesOf(encode) : BytesOf(decode))};
    };
    EXPECT_EQ(VeskVideoGetEncodeCapability(&encodeRead), 0U);
    EXPECT_EQ(VeskVideoGetDecodeCapability(&decodeRead), 0U);
    EXPECT_EQ(BytesOf(encodeRead), BytesOf(encode));
    EXPECT_EQ(BytesOf(decodeRead), BytesOf(decode));
    EXPECT_EQ(
        RequestLines(),
        (Lines{
            "T3 VeskVideoGetEncodeCapability #####send VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY start#####\n",
            "L3 vesk_video_interface Get encode capability start",
            "T3 VeskVideoGetEncodeCapability #####send VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY msg[0]#####\n",
            "L3 vesk_video_interface PrintVeskVideoEncodeCapability: maxChannel=0",
            "L3 vesk_video_interface PrintVeskVideoEncodeCapability:Codec 13: support=200, blocksPs=1, "
            "blockspf=2, maxWidth=3, minWidth=4, maxHeight=5, minHeight=6, maxBandWidth=7, h264MaxLevel=8, "
            "h265MaxLevel=9, isSvc=1, profiles=[1,0,0,1,0,0], fecs=[1,0,1]",
            "T3 VeskVideoGetDecodeCapability #####send VESK_VIDEO_MSG_GET_DECODE_CAPABILITY start#####\n",
            "L3 vesk_video_interface Get decode capability start",
            "L3 vesk_video_interface PrintVeskVideoDecodeCapability: maxChannel=4000000000",
            "L3 vesk_video_interface PrintVeskVideoDecodeCapability: Codec 0: support=1, blocksPs=1, "
            "maxWidth=2, minWidth=3, maxHeight=4, minHeight=5, isSvc=1, isTile=2, profiles=[0,0,0,0,0,1], "
            "fecs=[0,0,0]",
            "T3 VeskVideoGetDecodeCapability #####send VESK_VIDEO_MSG_GET_DECODE_CAPABILITY msg[0]#####\n",
        }));
    Reset();
    Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(9)}; };
    EXPECT_EQ(VeskVideoGetEncodeCapability(&encodeRead), 9U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY fail[9].");
    EXPECT_EQ(VeskVideoGetDecodeCapability(&decodeRead), 9U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VESK_VIDEO_MSG_GET_DECODE_CAPABILITY fail[9].");
    EXPECT_EQ(VeskVideoGetEncodeCapability(nullptr), 1U);
    EXPECT_EQ(RequestLines().back(),
              "L1 vesk_video_interface VeskVideoGetEncodeCapability: encodeCapability is NULL!");
    EXPECT_EQ(VeskVideoGetDecodeCapability(nullptr), 1U);
    EXPECT_EQ(RequestLines().back(),
              "L1 vesk_video_interface VeskVideoGetDecodeCapability: decodeCapability is NULL!");
}
