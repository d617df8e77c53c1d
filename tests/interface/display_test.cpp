// What an output shows.
#include "support/request_table.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

namespace {

VeskVideoVoMultiPicParam Composition(uint32_t picNum)
{
    auto param = Patterned<VeskVideoVoMultiPicParam>(3);
    param.picNum = picNum;
    VeskVideoSubPicParam& p = param.subPic[0];
    p.decFlag = 1, p.inputId = 2, p.sufaceFlag = 3, p.winHandle = 0xfedcba9876543210, p.colorSpace = 4;
    p.mirror = 5, p.showMode = 6, p.basWidth = 7, p.basHeight = 8;
    return param;
}

VeskVideoDisplayInfo Mode(uint32_t displayMode)
{
    auto info = Patterned<VeskVideoDisplayInfo>(4);
    info.displayMode = displayMode, info.fps = 60;
    return info;
}

} // namespace

static const Family displays("vesk_video_interface", FailureForm::kFunction, [] {
    static const VeskVideoVoMultiPicParam one = Composition(1), none = Composition(0),
                                          tooMany = Composition(26);
    static const VeskVideoDisplayInfo mode = Mode(2), badMode = Mode(3);
    static const std::string path(4095, 'i'), longPath(4096, 'i');
    static const auto windows = Patterned<std::array<VeskVideoFilterWindow, 3>>(5);
    // A count whose bytes do not fit 32 bits is refused by the transport, though the low bits would fit.
    constexpr uint32_t kOverflowing = 0x20000001;
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_SET_VO_SRC, 25, VeskVideoVoSetSrc, 4, &one).Head(4).Null("voMultiPicParam")
            .Refuses(2, {"L1 Set picNum[26] > VESK_VIDEO_MAX_SUBPIC_NUM"}, CALL(VeskVideoVoSetSrc, 4,
                &tooMany))
            .Says("%s: outEngNo=4.")
            .Says("%s:picNum[0] decFlag[1] inputId[2] sufaceFlag[3] winHandle[0xfedcba9876543210] "
                "colorSpace[4] bas-width[7] bas-height[8] showMode[6] mirror[5]"),
        ROW(VESK_VIDEO_MSG_SET_VO_SRC, 25, VeskVideoVoSetSrc, 4, &none).Head(4).Says("%s: outEngNo=4."),
        ROW(VESK_VIDEO_MSG_SET_SR_ENABLE, 143, VeskVideoVoSetByomSrEnable, 255).Head(255).Bare()
            .Says("Set set byom enable[255]").Says("#####send %m start#####").Unended(),
        ROW(VESK_VIDEO_MSG_SET_FILTER_WINDOW, 144, VeskVideoAddFilterWindows, 6, 3, windows.data())
            .Head(6, 3).Payload(BytesOf(windows)).Bare()
            .Refuses(2, {"L3 #####send %m start 6 536870913#####", "T1 %s failed[2].", "L1 %s failed[2]."},
                CALL(VeskVideoAddFilterWindows, 6, kOverflowing, windows.data()))
            .Says("#####send %m start 6 3#####").Unended(),
        ROW(VESK_VIDEO_MSG_SET_FILTER_WINDOW, 144, VeskVideoAddFilterWindows, 6, 3, nullptr).Head(6, 3)
            .Bare().Says("#####send %m start 6 3#####").Unended(),
        ROW(VESK_VIDEO_MSG_DELETE_FILTER_WINDOW, 145, VeskVideoDeleteFilterWindows, 6, 3, windows.data())
            .Head(6, 3).Payload(BytesOf(windows)).Bare().Traces("#####send %s start#####")
            .Refuses(2, {"L1 [Send Syn Msg Fail!] retVal is Invalid![0x2][0x0]"},
                CALL(VeskVideoDeleteFilterWindows, 6, kOverflowing, windows.data()))
            .End("#####send %s msg[0]#####").Fails({"L1 [Send Syn Msg Fail!] retVal is Invalid![0x9][0x0]"}),
        ROW(VESK_VIDEO_MSG_SET_DEFAULT_IMAGE, 146, VeskVideoVoSetDefaultImage, 1, 2, path.c_str()).Head(1, 2)
            .Payload(Text(path)).NullIs("L1 the length of filePath is nullptr or too long", 2)
            .Refuses(2, {"L1 the length of filePath is nullptr or too long"},
                CALL(VeskVideoVoSetDefaultImage, 1, 2, longPath.c_str())),
        ROW(VESK_VIDEO_MSG_SET_DISPLAY_MODE, 154, VeskVideoVoSetDisplayMode, &mode).Bare()
            .NullIs("L3 param displayInfo is null", 2)
            .Refuses(2, {"L3 Set displayMode [3] fps[60]", "L3 %s:Set displayMode [3] fps[60]",
                "L1 displayMode [3] invalid"}, CALL(VeskVideoVoSetDisplayMode, &badMode))
            .Says("Set displayMode [2] fps[60]").Says("%s:Set displayMode [2] fps[60]").Unended(),
        ROW(VESK_VIDEO_MSG_VO_WINDOW_DESTROY, 162, VeskVideoVoNotifyWindowDestroyed, 1,
            reinterpret_cast<void*>(uintptr_t{32512}))
            .Head(32512, 1).Says("%s: outEngNo=1 winHandle=0x7f00."),
    };
    // clang-format on
});

TEST(Display, EveryPictureHasItsLine)
{
    Reset();
    const VeskVideoVoMultiPicParam full = Composition(25);
    EXPECT_EQ(VeskVideoVoSetSrc(1, &full), 0U);
    const auto lines = RequestLines();
    ASSERT_EQ(lines.size(), 28U);
    EXPECT_NE(lines[26].find("VeskVideoVoSetSrc:picNum[24] decFlag["), std::string::npos);
}

TEST(Display, ACountThatDoesNotFitIsRefusedWithTheTransportsLine)
{
    Reset();
    EXPECT_EQ(VeskVideoAddFilterWindows(6, UINT32_MAX, "windows"), 2U);
    const std::string line = "L1 zora_msg_adapt input param error, rspBufLen=-1";
    EXPECT_EQ(std::count(Get().lines.begin(), Get().lines.end(), line), 2);
}
