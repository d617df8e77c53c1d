// Local mouse streams.
#include "support/request_table.h"

using namespace request_table;

static const Family mice("vesk_video_interface_mouse", FailureForm::kSendInvalid, [] {
    constexpr uint32_t kWide = 65541; // travels as 5 in 16 bits
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE, 121, VeskVideoLocalMouseOpen, Out()).Bare()
            .Both("send %m start").Null("localMouseStmNo").End("send %m msg[0], mouseStmNo[77] \n"),
        ROW(VESK_VIDEO_MSG_START_LOCAL_MOUSE, 122, VeskVideoLocalMouseStart, kWide).Head(0, 0, 5).Bare()
            .Both("#####send %m start#####").End("#####send %m msg[0], mouseStmNo[65541] #####\n"),
        ROW(VESK_VIDEO_MSG_STOP_LOCAL_MOUSE, 123, VeskVideoLocalMouseStop, kWide).Head(0, 0, 5).Bare()
            .Both("#####send %m start#####").End("#####send %m msg[0], mouseStmNo[65541] #####\n"),
        ROW(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT, 124, VeskVideoLocalMouseSetIndependent, kWide, 255)
            .Head(kWide, 255).Bare().Both("send %m start").End("send %m msg[0], mouseStmNo[65541]\n"),
        ROW(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM, 125, VeskVideoLocalMouseSetParam, kWide, In()).Head(kWide)
            .Bare().Both("send %m start").End("send %m msg[0], mouseStmNo[65541]\n"),
        ROW(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM, 125, VeskVideoLocalMouseSetParam, 5, nullptr).Head(5)
            .Bare().Both("send %m start").End("send %m msg[0], mouseStmNo[5]\n"),
        ROW(VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE, 126, VeskVideoLocalMouseAttach, kWide, 6).Head(kWide, 6)
            .Bare().Both("send %m start").End("send %m msg[0], mouseStmNo[65541] \n"),
        ROW(VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE, 127, VeskVideoLocalMouseShowEnable, kWide, 1)
            .Head(kWide, 1).Bare().Says("Set local mouse show enable start!").Traces("send %m start\n")
            .End("send %m msg[0]\n").FailsFirst("Set local mouse show enable, result[9]!"),
        // The lines name the remote stream's message.
        ROW(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_QUE_HANDLE, 128, VeskVideoLocalMouseSetQueHandle, kWide, 6)
            .Head(6, 0, 5).Bare().Both("#####send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE start#####")
            .End("#####send VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE msg[0], mouseStmNo[65541] #####\n"),
        ROW(VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE, 129, VeskVideoLocalMouseClose, kWide).Head(0, 0, 5).Bare()
            .Both("send %m start").End("send %m msg[0], mouseStmNo[65541] \n"),
    };
    // clang-format on
});
