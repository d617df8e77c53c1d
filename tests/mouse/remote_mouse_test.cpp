// Remote mouse streams.
#include "support/request_table.h"

using namespace request_table;

static const Family mice("vesk_video_interface_mouse", FailureForm::kSendInvalid, [] {
    constexpr uint32_t kWide = 65541; // travels as 5 in 16 bits
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_OPEN_MOUSE_PORT, 56, VeskVideoRemoteMouseOpen, 255, Out()).Head(255).Bare()
            .Both("send %m start").Null("mouseStmNo").End("#####send %m msg[0], mouseStmNo[77] #####\n"),
        ROW(VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE, 58, VeskVideoRemoteMouseSetQueHandle, kWide, 6)
            .Head(6, 0, 5).Bare().Both("send %m start")
            .End("#####send %m msg[0], mouseStmNo[65541] #####\n"),
        ROW(VESK_VIDEO_MSG_MOUSE_CONNECT, 59, VeskVideoRemoteMouseConnect, kWide, 6).Head(6, 0, 5).Bare()
            .Both("send %m start").End("#####send %m msg[0], mouseStmNo[65541], decStmNo[6] #####\n"),
        ROW(VESK_VIDEO_MSG_MOUSE_START, 60, VeskVideoRemoteMouseStart, kWide).Head(0, 0, 5).Bare()
            .End("#####send %m msg[0], mouseStmNo[65541] #####\n"),
        ROW(VESK_VIDEO_MSG_MOUSE_STOP, 61, VeskVideoRemoteMouseStop, kWide).Head(0, 0, 5).Bare()
            .Both("#####send %m start#####").End("#####send %m msg[0], mouseStmNo[65541] #####\n"),
        ROW(VESK_VIDEO_MSG_CLOSE_MOUSE_PORT, 62, VeskVideoRemoteMouseClose, kWide).Head(0, 0, 5).Bare()
            .Both("send %m start").End("send %m msg[0], mouseStmNo[65541] \n"),
        ROW(VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA, 130, VeskVideoRemoteMouseSetBackgroundArea,
            kWide, In())
            .Head(kWide).Bare().Says("#####send %m start#####\n").Null("area")
            .Ends({"L3 #####send %m msg ret[0]#####\n"}),
    };
    // clang-format on
});
