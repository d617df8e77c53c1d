// Sources that are not cameras.
#include "support/request_table.h"

static const VeskVideoAppInParam app{"app", 0x1122334455667788, 1, 2, 3, 4000000000, -5, 0};
static const auto noTask = Patterned<VeskVideoAppInParam>([](auto& p) {
    p = {"", 0, 1, 2, 3, 4000000000, -5, 0};
    std::memset(p.text, 't', sizeof p.text); // fills its field, without a NUL
});
static const std::string path(4096, 'p'), tooLong(4097, 'p');
static void* const vm = reinterpret_cast<void*>(0x123456789);
static void* const context = reinterpret_cast<void*>(4294967298);

// clang-format off
static const Family sources("vesk_video_interface", "message", [] { return Rows{
    ROW(SET_APP_CAPTURE_PARAM, 104, SetAppCaptureParam, 4, &app).Sends({4}, "start|L3 %s: inEngNo=4.|"
        "?2 appInParam|L3 appInParam: app 1234605616436508552 1 2 3 4000000000 -5.|!B1 %s failed[9] 4."),
    ROW(SET_APP_CAPTURE_PARAM, 104, SetAppCaptureParam, 4, &noTask).Refused(2, "start|L3 %s: inEngNo=4.|"
        "L3 appInParam: " + std::string(256, 't') + " 0 1 2 3 4000000000 -5.|L1 taskHandle is null"),
    ROW(SET_VIRTUAL_VI_PARAM, 120, SetVirtualViSrc, 4, path.c_str())
        .Sends({4}, "L3 {%m start 4 }\n|?1 filePath"),
    ROW(SET_VIRTUAL_VI_PARAM, 120, SetVirtualViSrc, 4, tooLong.c_str())
        .Refused(2, "L3 {%m start 4 }\n|L1 the length of filePath is too long"),
    ROW(INIT_ANDROID_OBJECTS, 160, SetAndroidContext, vm, context).Sends({0x123456789, 2}, "start|"
        "L3 %s enter.|?1 javaVm|?1 javaContext|L3 Init Android Objects|!function"),
    ROW(SET_ANDROID_MMEDIA_PROJECTION, 161, SetAndroidProjection, -1, context).Sends({UINT64_MAX, 2}, "start|"
        "L3 %s enter resultCode:4294967295.|L3 Set Android MediaProjection, resultCode=-1"),
}; });
// clang-format on
