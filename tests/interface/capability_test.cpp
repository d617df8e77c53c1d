// What the device and its codecs can do.
#include "support/request_table.h"

using namespace request_table;

static const Family capabilities("vesk_video_interface", FailureForm::kMessage, [] {
    static VeskVideoEncodeCapability encoders{};
    encoders.codec[13] = {200, {}, 1, 2, 3, 4, 5, 6, 7, 8, 9, 1, {1, 0, 0, 2, 0, 0}, {1, 0, 255}, {}};
    static VeskVideoDecodeCapability decoders{};
    decoders.maxChannel = 4000000000;
    decoders.codec[0] = {1, {}, 1, 2, 3, 4, 5, 1, 2, {0, 0, 0, 0, 0, 1}, {0, 0, 0}, 0};
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY, 98, VeskVideoGetEncodeCapability, Out())
            .Answer(BytesOf(encoders)).Says("Get encode capability start").Null("encodeCapability")
            .Ends({"T3 #####send %m msg[0]#####\n", "L3 PrintVeskVideoEncodeCapability: maxChannel=0",
                   "L3 PrintVeskVideoEncodeCapability:Codec 13: support=200, blocksPs=1, blockspf=2, maxWidth=3, "
                   "minWidth=4, maxHeight=5, minHeight=6, maxBandWidth=7, h264MaxLevel=8, h265MaxLevel=9, isSvc=1, "
                   "profiles=[1,0,0,1,0,0], fecs=[1,0,1]"}),
        ROW(VESK_VIDEO_MSG_GET_DECODE_CAPABILITY, 99, VeskVideoGetDecodeCapability, Out())
            .Answer(BytesOf(decoders)).Says("Get decode capability start").Null("decodeCapability")
            .Ends({"L3 PrintVeskVideoDecodeCapability: maxChannel=4000000000",
                   "L3 PrintVeskVideoDecodeCapability: Codec 0: support=1, blocksPs=1, maxWidth=2, minWidth=3, "
                   "maxHeight=4, minHeight=5, isSvc=1, isTile=2, profiles=[0,0,0,0,0,1], fecs=[0,0,0]",
                   "T3 #####send %m msg[0]#####\n"}),
        ROW(VESK_VIDEO_MSG_GET_CAPABILITY, 153, VeskVideoGetCapability, 6, Out()).Head(0, 6).Null("capability"),
    };
    // clang-format on
});
