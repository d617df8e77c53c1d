// Sources that are not cameras.
#include "support/request_table.h"

using namespace request_table;

static const Family sources("vesk_video_interface", FailureForm::kMessage, [] {
    static const VeskVideoAppInParam app{"app", 0x1122334455667788, 1, 2, 3, 4000000000, -5, 0};
    static VeskVideoAppInParam noTask{"", 0, 1, 2, 3, 4000000000, -5, 0};
    std::memset(noTask.text, 't', sizeof noTask.text); // fills its field, without a NUL
    static const std::string path(4096, 'p'), longPath(4097, 'p');
    const auto vm = reinterpret_cast<void*>(uintptr_t{0x123456789});
    const auto context = reinterpret_cast<void*>(uintptr_t{4294967298});
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM, 104, VeskVideoSetAppCaptureParam, 4, &app).Head(4)
            .Says("%s: inEngNo=4.").Null("appInParam", 2)
            .Refuses(2, {"L3 appInParam: " + std::string(256, 't') + " 0 1 2 3 4000000000 -5.",
                "L1 taskHandle is null"}, CALL(VeskVideoSetAppCaptureParam, 4, &noTask))
            .Says("appInParam: app 1234605616436508552 1 2 3 4000000000 -5.")
            .Fails({"T1 %s failed[9] 4.", "L1 %s failed[9] 4."}),
        ROW(VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM, 120, VeskVideoSetVirtualViSrc, 4, path.c_str()).Head(4)
            .Payload(Text(path)).Bare().Says("#####send %m start 4 #####\n").Null("filePath")
            .Refuses(2, {"L1 the length of filePath is too long"}, CALL(VeskVideoSetVirtualViSrc, 4,
                longPath.c_str())),
        ROW(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS, 160, VeskVideoSetAndroidContext, vm, context)
            .Head(0x123456789, 2).Says("%s enter.").Null("javaVm").Null("javaContext")
            .Says("Init Android Objects").Fails(FailureForm::kFunction),
        ROW(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION, 161, VeskVideoSetAndroidProjection, -1, context)
            .Head(UINT64_MAX, 2).Says("%s enter resultCode:4294967295.")
            .Says("Set Android MediaProjection, resultCode=-1"),
    };
    // clang-format on
});
