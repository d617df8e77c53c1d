// What an output shows.
#include "support/request_table.h"

#include <gtest/gtest.h>

static const auto one = Patterned<VeskVideoVoMultiPicParam>([](auto& param) {
    param.picNum = 1;
    VeskVideoSubPicParam& p = param.subPic[0];
    p.decFlag = 1, p.inputId = 2, p.sufaceFlag = 3, p.winHandle = 0xfedcba9876543210, p.colorSpace = 4;
    p.mirror = 5, p.showMode = 6, p.basWidth = 7, p.basHeight = 8;
});
static const auto full = Patterned<VeskVideoVoMultiPicParam>([](auto& p) { p.picNum = 25; });
static const auto tooMany = Patterned<VeskVideoVoMultiPicParam>([](auto& p) { p.picNum = 26; });
static const auto mode = Patterned<VeskVideoDisplayInfo>([](auto& p) { p.displayMode = 2, p.fps = 60; });
static const auto badMode = Patterned<VeskVideoDisplayInfo>([](auto& p) { p.displayMode = 3, p.fps = 60; });
static const std::string path(4095, 'i'), tooLong(4096, 'i');
static constexpr size_t kBytes = 3 * sizeof(VeskVideoFilterWindow);

// clang-format off
static const Family displays("vesk_video_interface", "function", [] { return Rows{
    ROW(SET_VO_SRC, 25, VoSetSrc, 4, &one).Sends({4}, "start|?1 voMultiPicParam|L3 %s: outEngNo=4.|"
        "L3 %s:picNum[0] decFlag[1] inputId[2] sufaceFlag[3] winHandle[0xfedcba9876543210] colorSpace[4] "
        "bas-width[7] bas-height[8] showMode[6] mirror[5]"),
    ROW(SET_VO_SRC, 25, VoSetSrc, 4, &tooMany)
        .Refused(2, "start|L1 Set picNum[26] > VESK_VIDEO_MAX_SUBPIC_NUM"),
    ROW(SET_SR_ENABLE, 143, VoSetByomSrEnable, 255)
        .Sends({255}, "L3 Set set byom enable[255]|L3 {%m start}|>unended"),
    ROW(SET_FILTER_WINDOW, 144, AddFilterWindows, 6, 3, In(kBytes))
        .Sends({6, 3}, "L3 {%m start 6 3}|>unended"),
    // A count whose bytes do not fit 32 bits is refused by the transport, though the low bits would fit.
    ROW(SET_FILTER_WINDOW, 144, AddFilterWindows, 6, 0x20000001, In)
        .Refused(2, "L3 {%m start 6 536870913}|function"),
    ROW(SET_FILTER_WINDOW, 144, AddFilterWindows, 6, 3, nullptr).Sends({6, 3}, "L3 {%m start 6 3}|>unended"),
    ROW(DELETE_FILTER_WINDOW, 145, DeleteFilterWindows, 6, 3, In(kBytes))
        .Sends({6, 3}, "T3 {%s start}|>T3 {%s msg[0]}|!L1 [Send Syn Msg Fail!] retVal is Invalid![0x9][0x0]"),
    ROW(DELETE_FILTER_WINDOW, 145, DeleteFilterWindows, 6, 0x20000001, In)
        .Refused(2, "T3 {%s start}|L1 [Send Syn Msg Fail!] retVal is Invalid![0x2][0x0]"),
    ROW(SET_DEFAULT_IMAGE, 146, VoSetDefaultImage, 1, 2, path.c_str())
        .Sends({1, 2}, "start|?2 L1 the length of filePath is nullptr or too long"),
    ROW(SET_DEFAULT_IMAGE, 146, VoSetDefaultImage, 1, 2, tooLong.c_str())
        .Refused(2, "start|L1 the length of filePath is nullptr or too long"),
    ROW(SET_DISPLAY_MODE, 154, VoSetDisplayMode, &mode).Sends({}, "?2 L3 param displayInfo is null|"
        "L3 Set displayMode [2] fps[60]|L3 %s:Set displayMode [2] fps[60]|>unended"),
    ROW(SET_DISPLAY_MODE, 154, VoSetDisplayMode, &badMode).Refused(2, "L3 Set displayMode [3] fps[60]|"
        "L3 %s:Set displayMode [3] fps[60]|L1 displayMode [3] invalid"),
    ROW(VO_WINDOW_DESTROY, 162, VoNotifyWindowDestroyed, 1, reinterpret_cast<void*>(uintptr_t{32512}))
        .Sends({32512, 1}, "start|L3 %s: outEngNo=1 winHandle=0x7f00."),
}; });
// clang-format on

TEST(Display, EveryPictureHasItsLine)
{
    Reset();
    EXPECT_EQ(VeskVideoVoSetSrc(1, &full), 0U);
    const auto lines = RequestLines();
    ASSERT_EQ(lines.size(), 28U);
    EXPECT_NE(lines[26].find("VeskVideoVoSetSrc:picNum[24] decFlag["), std::string::npos);
}
