// Remote and local mouse streams.
#include "support/request_table.h"

static constexpr uint32_t kWide = 65541; // travels as 5 in 16 bits

// clang-format off
static const Family mice("vesk_video_interface_mouse", "invalid", [] { return Rows{
    ROW(OPEN_MOUSE_PORT, 56, RemoteMouseOpen, 255, Out)
        .Sends({255}, "B3 send %m start|?1 mouseStmNo|>T3 {%m msg[0], mouseStmNo[77] }\n"),
    ROW(SET_MOUSE_QUE_HANDLE, 58, RemoteMouseSetQueHandle, kWide, 6)
        .Sends({6, 0, 5}, "B3 send %m start|>T3 {%m msg[0], mouseStmNo[65541] }\n"),
    ROW(MOUSE_CONNECT, 59, RemoteMouseConnect, kWide, 6)
        .Sends({6, 0, 5}, "B3 send %m start|>T3 {%m msg[0], mouseStmNo[65541], decStmNo[6] }\n"),
    ROW(MOUSE_START, 60, RemoteMouseStart, kWide).Sends({0, 0, 5}, ">T3 {%m msg[0], mouseStmNo[65541] }\n"),
    ROW(MOUSE_STOP, 61, RemoteMouseStop, kWide)
        .Sends({0, 0, 5}, "B3 {%m start}|>T3 {%m msg[0], mouseStmNo[65541] }\n"),
    ROW(CLOSE_MOUSE_PORT, 62, RemoteMouseClose, kWide)
        .Sends({0, 0, 5}, "B3 send %m start|>T3 send %m msg[0], mouseStmNo[65541] \n"),
    ROW(SET_REMOTE_MOUSE_BACKGRAND_AREA, 130, RemoteMouseSetBackgroundArea, kWide, In)
        .Sends({kWide}, "L3 {%m start}\n|?1 area|>L3 {%m msg ret[0]}\n"),
    ROW(OPEN_LOCAL_MOUSE, 121, LocalMouseOpen, Out)
        .Sends({}, "B3 send %m start|?1 localMouseStmNo|>T3 send %m msg[0], mouseStmNo[77] \n"),
    ROW(START_LOCAL_MOUSE, 122, LocalMouseStart, kWide)
        .Sends({0, 0, 5}, "B3 {%m start}|>T3 {%m msg[0], mouseStmNo[65541] }\n"),
    ROW(STOP_LOCAL_MOUSE, 123, LocalMouseStop, kWide)
        .Sends({0, 0, 5}, "B3 {%m start}|>T3 {%m msg[0], mouseStmNo[65541] }\n"),
    ROW(SET_LOCAL_MOUSE_INDEPENDENT, 124, LocalMouseSetIndependent, kWide, 255)
        .Sends({kWide, 255}, "B3 send %m start|>T3 send %m msg[0], mouseStmNo[65541]\n"),
    ROW(SET_LOCAL_MOUSE_PARAM, 125, LocalMouseSetParam, kWide, In)
        .Sends({kWide}, "B3 send %m start|>T3 send %m msg[0], mouseStmNo[65541]\n"),
    ROW(SET_LOCAL_MOUSE_PARAM, 125, LocalMouseSetParam, 5, nullptr)
        .Sends({5}, "B3 send %m start|>T3 send %m msg[0], mouseStmNo[5]\n"),
    ROW(ATTACH_LOCAL_MOUSE, 126, LocalMouseAttach, kWide, 6)
        .Sends({kWide, 6}, "B3 send %m start|>T3 send %m msg[0], mouseStmNo[65541] \n"),
    ROW(LOCAL_MOUSE_SHOW_ENABLE, 127, LocalMouseShowEnable, kWide, 1)
        .Sends({kWide, 1}, "L3 Set local mouse show enable start!|T3 send %m start\n|>T3 send %m msg[0]\n|"
        "!L1 Set local mouse show enable, result[9]!|!invalid"),
    // The lines name the remote stream's message.
    ROW(SET_LOCAL_MOUSE_QUE_HANDLE, 128, LocalMouseSetQueHandle, kWide, 6)
        .Sends({6, 0, 5}, "B3 {VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE start}|"
        ">T3 {VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE msg[0], mouseStmNo[65541] }\n"),
    ROW(CLOSE_LOCAL_MOUSE, 129, LocalMouseClose, kWide)
        .Sends({0, 0, 5}, "B3 send %m start|>T3 send %m msg[0], mouseStmNo[65541] \n"),
}; });
// clang-format on
