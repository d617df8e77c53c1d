// UVC streams.
#include "support/request_table.h"

using namespace request_table;

static const Family streams("vesk_video_interface_uvc", FailureForm::kSendInvalid, [] {
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_INIT_UVC, 48, VeskVideoUvcInit).IsAsynchronous().FailsAs(1),
        ROW(VESK_VIDEO_MSG_DEINIT_UVC, 49, VeskVideoUvcDeinit).IsAsynchronous().FailsAs(1),
        ROW(VESK_VIDEO_MSG_OPEN_UVC_PORT, 50, VeskVideoUvcOpen, Out()).Null("uvcStmNo").FailsAs(1),
        ROW(VESK_VIDEO_MSG_SET_UVC_PARAM, 51, VeskVideoUvcSetStmParam, 0xfffffffe, In()).Head(0xfffffffe)
            .Null("uvcParam"),
        ROW(VESK_VIDEO_MSG_SET_UVC_PARAM_EX, 52, VeskVideoUvcSetStmParamEx, 3, In()).Head(3)
            .Null("uvcParam"),
        ROW(VESK_VIDEO_MSG_START_UVC_STREAM, 53, VeskVideoUvcStartStream, 3).Head(3),
        ROW(VESK_VIDEO_MSG_STOP_UVC_STREAM, 54, VeskVideoUvcStopStream, 3).Head(3),
        ROW(VESK_VIDEO_MSG_CLOSE_UVC_PORT, 55, VeskVideoUvcClose, 3).Head(3),
        ROW(VESK_VIDEO_MSG_UVC_REQ_I_FRAME, 131, VeskVideoUvcForceKeyFrame, 7).Head(7)
            .Refuses(11, {"L1 uvcStmNo[8] is invaild\n"}, CALL(VeskVideoUvcForceKeyFrame, 8)).FailsAs(1),
    };
    // clang-format on
});
