// What the device and its codecs can do.
#include "support/request_table.h"

static const auto encoders = Patterned<VeskVideoEncodeCapability>([](auto& p) {
    p = {};
    p.codec[13] = {200, {}, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, {1, 0, 0, 2, 0, 0}, {1, 0, 255}, {}};
});
static const VeskVideoDecodeCapability decoders{
    4000000000, {{1, {}, 1, 2, 3, 4, 5, 1, 2, {0, 0, 0, 0, 0, 1}, {0, 0, 0}, 0}}};

// clang-format off
static const Family capabilities("vesk_video_interface", "message", [] { return Rows{
    ROW(GET_ENCODE_CAPABILITY, 98, GetEncodeCapability, Out).Sends({}, "start|L3 Get encode capability start|"
        "?1 encodeCapability|>T3 {%m msg[0]}\n|>L3 PrintVeskVideoEncodeCapability: maxChannel=0|"
        ">L3 PrintVeskVideoEncodeCapability:Codec 13: support=200, blocksPs=1, blockspf=2, maxWidth=3, "
        "minWidth=4, maxHeight=5, minHeight=6, maxBandWidth=7, h264MaxLevel=8, h265MaxLevel=9, isSvc=1, "
        "profiles=[1,0,0,1,0,0], fecs=[1,0,1]", {}, BytesOf(encoders)),
    ROW(GET_DECODE_CAPABILITY, 99, GetDecodeCapability, Out)
        .Sends({}, "start|L3 Get decode capability start|?1 decodeCapability|"
        ">L3 PrintVeskVideoDecodeCapability: maxChannel=4000000000|>L3 PrintVeskVideoDecodeCapability: "
        "Codec 0: support=1, blocksPs=1, maxWidth=2, minWidth=3, maxHeight=4, minHeight=5, isSvc=1, "
        "isTile=2, profiles=[0,0,0,0,0,1], fecs=[0,0,0]|>T3 {%m msg[0]}\n", {}, BytesOf(decoders)),
    ROW(GET_CAPABILITY, 153, GetCapability, 6, Out).Sends({0, 6}, "start|?1 capability"),
}; });
// clang-format on
