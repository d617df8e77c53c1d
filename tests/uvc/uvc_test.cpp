// UVC streams.
#include "support/request_table.h"

// clang-format off
static const Family streams("vesk_video_interface_uvc", "invalid", [] { return Rows{
    ROW(INIT_UVC, 48, UvcInit).Sends({}, "start|=1"),
    ROW(DEINIT_UVC, 49, UvcDeinit).Sends({}, "start|=1"),
    ROW(OPEN_UVC_PORT, 50, UvcOpen, Out).Sends({}, "start|?1 uvcStmNo|=1"),
    ROW(SET_UVC_PARAM, 51, UvcSetStmParam, 0xfffffffe, In).Sends({0xfffffffe}, "start|?1 uvcParam"),
    ROW(SET_UVC_PARAM_EX, 52, UvcSetStmParamEx, 3, In).Sends({3}, "start|?1 uvcParam"),
    ROW(START_UVC_STREAM, 53, UvcStartStream, 3).Sends({3}, "start"),
    ROW(STOP_UVC_STREAM, 54, UvcStopStream, 3).Sends({3}, "start"),
    ROW(CLOSE_UVC_PORT, 55, UvcClose, 3).Sends({3}, "start"),
    ROW(UVC_REQ_I_FRAME, 131, UvcForceKeyFrame, 7).Sends({7}, "start|=1"),
    ROW(UVC_REQ_I_FRAME, 131, UvcForceKeyFrame, 8).Refused(11, "start|L1 uvcStmNo[8] is invaild\n"),
}; });
// clang-format on
