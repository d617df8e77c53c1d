// Snapshots, stream loops, wallpapers, annotation, image verification and video-I/O callbacks.
#include "support/request_table.h"

using namespace request_table;

static const Family media("vesk_video_interface", FailureForm::kMessage, [] {
    static auto snapshot = Patterned<VeskVideoSnapshotParam>(7);
    snapshot.taskId = 4000000000;
    static const std::string path = "image";
    static const std::array<uint32_t, 4> loop{1, 2, 3, 0};
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_SET_VIO_CALLBACK, 71, VeskVideoSetVioCallback, 4, In()).Head(4)
            .Says("%s: engNo=4.").Null("param", 2).Fails(FailureForm::kFunction)
            .FailsFirst("%s fail, engNo[4] result[9]"),
        ROW(VESK_VIDEO_MSG_GET_SNAPSHOT, 72, VeskVideoGetSnapshot, &snapshot, 2, 3).Head(3, 2).Bare()
            .Says("Get Snapshot Start!").Start().Null("param")
            .End("#####send %m msg[0] taskId[4000000000]#####\n"),
        ROW(VESK_VIDEO_MSG_SET_ANNOTATION_STATUS, 75, VeskVideoSetAnnotationStatus, 65537, 2, 255)
            .Head(2, 255, 1).Bare().Says("#####send %m start#####\n")
            .FailsFirst("Set annotation status result[9]")
            .Fails({"L1 [Send Msg Fail!] ret is Invalid![0x9][0x0]"}),
        ROW(VESK_VIDEO_MSG_SET_WALLPAPER_INFO, 101, VeskVideoSetDynamicWallpapersStm, In()).Bare()
            .Says("Set dynamic wallpapers stm start!").Start().NullIs("L1 wallpaperParam is nullptr", 2)
            .FailsFirst("Set dynamic wallpapers stm result[9]")
            .Fails({"L1 [Send Msg Fail!] ret is Invalid![0x9][0x0]"}),
        ROW(VESK_VIDEO_MSG_SET_LOOP_MODE, 118, VeskVideoSetStreamLoop, 1, 2, 3, Out()).Payload(BytesOf(loop))
            .Bare().Says("#####send %m start#####\n").Null("loopHandle", 2)
            .Traces("encNo[1] decNo[2] mode[3]").Unended(),
        ROW(VESK_VIDEO_MSG_SET_LOOP_START, 119, VeskVideoSetStreamLoopEnable, 65537, 1).Head(1, 0, 1).Bare()
            .Says("#####send %m start 65537 1 #####\n").Unended(),
        ROW(VESK_VIDEO_MSG_VERYFY_IMAGE, 142, VeskVideoVerifyImage, path.c_str(), In())
            .Head(reinterpret_cast<uintptr_t>(path.c_str())).Bare().Traces("#####send %m start#####")
            .Says("%s ender.").Null("filePath", 2).Null("req", 2).Unended().Fails(FailureForm::kFunction),
    };
    // clang-format on
});
