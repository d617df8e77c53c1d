// Snapshots, stream loops, wallpapers, annotation, image verification and video-I/O callbacks.
#include "support/request_table.h"

#include <array>

static const auto snapshot = Patterned<VeskVideoSnapshotParam>([](auto& p) { p.taskId = 4000000000; });
static const char* const path = "image";

// clang-format off
static const Family media("vesk_video_interface", "message", [] { return Rows{
    ROW(SET_VIO_CALLBACK, 71, SetVioCallback, 4, In)
        .Sends({4}, "start|L3 %s: engNo=4.|?2 param|!L1 %s fail, engNo[4] result[9]|!function"),
    ROW(GET_SNAPSHOT, 72, GetSnapshot, &snapshot, 2, 3)
        .Sends({3, 2}, "L3 Get Snapshot Start!|start|?1 param|>T3 {%m msg[0] taskId[4000000000]}\n"),
    ROW(SET_ANNOTATION_STATUS, 75, SetAnnotationStatus, 65537, 2, 255).Sends({2, 255, 1}, "L3 {%m start}\n|"
        "!L1 Set annotation status result[9]|!L1 [Send Msg Fail!] ret is Invalid![0x9][0x0]"),
    ROW(SET_WALLPAPER_INFO, 101, SetDynamicWallpapersStm, In)
        .Sends({}, "L3 Set dynamic wallpapers stm start!|start|?2 L1 wallpaperParam is nullptr|"
        "!L1 Set dynamic wallpapers stm result[9]|!L1 [Send Msg Fail!] ret is Invalid![0x9][0x0]"),
    ROW(SET_LOOP_MODE, 118, SetStreamLoop, 1, 2, 3, Out).Sends({}, "L3 {%m start}\n|?2 loopHandle|"
        "T3 encNo[1] decNo[2] mode[3]|>unended", BytesOf(std::array{1U, 2U, 3U, 0U})),
    ROW(SET_LOOP_START, 119, SetStreamLoopEnable, 65537, 1)
        .Sends({1, 0, 1}, "L3 {%m start 65537 1 }\n|>unended"),
    ROW(VERYFY_IMAGE, 142, VerifyImage, path, In).Sends({reinterpret_cast<uintptr_t>(path)}, "T3 {%m start}|"
        "L3 %s ender.|?2 filePath|?2 req|>unended|!function"),
}; });
// clang-format on
