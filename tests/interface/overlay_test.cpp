// Overlay channels.
#include "support/request_table.h"

#include <numeric>

static const auto param = Patterned<VeskVideoOverlayParam>([](auto& p) {
    p.flag0 = 1, p.flag1 = 2, p.flag2 = 255;
    std::iota(p.value, p.value + 8, 4000000000);
});

// clang-format off
static const Family overlays("vesk_video_interface", "message", [] { return Rows{
    ROW(CREATE_OVERLAY_CHANNEL_PARAM, 155, CreateOverlayChannel, 3, 65537, Out)
        .Sends({3, 0, 1}, "T3 {%m start 3 65537 }\n|?2|>unended"),
    ROW(GET_OVERLAY_QUE_HANDLE, 156, GetOverlayQueHandle, 3, Out)
        .Sends({3}, "T3 {%m start 3 }\n|?2|>unended"),
    ROW(SET_OVERLAY_PARAM, 157, SetOverlayParam, 3, &param)
        .Sends({3}, "start|?1 overlayParam|L3 %s: 3 1 2 255 4000000000 4000000001 4000000002 4000000003 "
        "4000000004 4000000005 4000000006 4000000007 0.|>unended"),
    ROW(DESTROY_OVERLAY_PARAM, 158, DestroyOverlayChannel, 3).Sends({3}, "L3 {%s start 3 }\n|>unended"),
    ROW(ENABLE_OVERLAY_PARAM, 159, EnableOverlay, 3, 1).Sends({3, 1}, "L3 {%s start 3 1 }\n|>unended"),
}; });
// clang-format on
