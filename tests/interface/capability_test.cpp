// What the device and its codecs can do.
#include "support/request_table.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

static const Family capabilities("vesk_video_interface", FailureForm::kMessage, [] {
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_GET_CAPABILITY, 153, VeskVideoGetCapability, 6, Out()).Head(0, 6)
            .Null("capability"),
    };
    // clang-format on
});

static const HasOwnTest encode(VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY),
    decode(VESK_VIDEO_MSG_GET_DECODE_CAPABILITY);

TEST(Capability, OfACodecIsLoggedEntryByEntry)
{
    VeskVideoEncodeCapability encoders{};
    encoders.codec[13] = {200, {}, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, {1, 0, 0, 2, 0, 0}, {1, 0, 255}, {}};
    VeskVideoDecodeCapability decoders{};
    decoders.maxChannel = 4000000000;
    decoders.codec[0] = {1, {}, 1, 2, 3, 4, 5, 1, 2, {0, 0, 0, 0, 0, 1}, {0, 0, 0}, 0};
    VeskVideoEncodeCapability encodersRead;
    VeskVideoDecodeCapability decodersRead;
    Reset();
    Get().answer = [&](const Sent& sent) {
        return Answer{0, AnswerBytes(0, sent.Head().msgId == 98 ? BytesOf(encoders) : BytesOf(decoders))};
    };
    EXPECT_EQ(VeskVideoGetEncodeCapability(&encodersRead), 0U);
    EXPECT_EQ(VeskVideoGetDecodeCapability(&decodersRead), 0U);
    EXPECT_EQ(BytesOf(Get().sent[1].Head()), BytesOf(VeskVideoMsgHead{0, 99, 0, 0, 0, 0}));
    EXPECT_EQ(BytesOf(encodersRead), BytesOf(encoders));
    EXPECT_EQ(BytesOf(decodersRead), BytesOf(decoders));
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
    Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(9)}; };
    EXPECT_EQ(VeskVideoGetEncodeCapability(&encodersRead), 9U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY fail[9].");
    EXPECT_EQ(VeskVideoGetDecodeCapability(&decodersRead), 9U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VESK_VIDEO_MSG_GET_DECODE_CAPABILITY fail[9].");
    EXPECT_EQ(VeskVideoGetEncodeCapability(nullptr), 1U);
    EXPECT_EQ(RequestLines().back(),
              "L1 vesk_video_interface VeskVideoGetEncodeCapability: encodeCapability is NULL!");
    EXPECT_EQ(VeskVideoGetDecodeCapability(nullptr), 1U);
    EXPECT_EQ(RequestLines().back(),
              "L1 vesk_video_interface VeskVideoGetDecodeCapability: decodeCapability is NULL!");
}
