// Overlay channels.
#include "support/request_table.h"

using namespace request_table;

static const Family overlays("vesk_video_interface", FailureForm::kMessage, [] {
    static auto param = Patterned<VeskVideoOverlayParam>(6);
    param.flag0 = 1, param.flag1 = 2, param.flag2 = 255;
    for (uint32_t i = 0; i < 8; ++i)
        param.value[i] = 4000000000 + i;
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM, 155, VeskVideoCreateOverlayChannel, 3, 65537, Out())
            .Head(3, 0, 1).Bare().Traces("#####send %m start 3 65537 #####\n").NullFails(2).Unended(),
        ROW(VESK_VIDEO_MSG_GET_OVERLAY_QUE_HANDLE, 156, VeskVideoGetOverlayQueHandle, 3, Out()).Head(3)
            .Bare().Traces("#####send %m start 3 #####\n").NullFails(2).Unended(),
        ROW(VESK_VIDEO_MSG_SET_OVERLAY_PARAM, 157, VeskVideoSetOverlayParam, 3, &param).Head(3)
            .Null("overlayParam")
            .Says("%s: 3 1 2 255 4000000000 4000000001 4000000002 4000000003 4000000004 4000000005 "
                "4000000006 4000000007 0.")
            .Unended(),
        ROW(VESK_VIDEO_MSG_DESTROY_OVERLAY_PARAM, 158, VeskVideoDestroyOverlayChannel, 3).Head(3).Bare()
            .Says("#####send %s start 3 #####\n").Unended(),
        ROW(VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM, 159, VeskVideoEnableOverlay, 3, 1).Head(3, 1).Bare()
            .Says("#####send %s start 3 1 #####\n").Unended(),
    };
    // clang-format on
});
