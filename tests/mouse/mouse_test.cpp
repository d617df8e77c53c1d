// Mouse streams: every request over its row.
#include "interface/request_table.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

namespace {

constexpr char kSource[] = "vesk_video_interface_mouse";

uint32_t g_number;

} // namespace

TEST(MouseRequests, EachOverItsRow)
{
    const uint32_t wide = 65541; // travels as 5 in 16 bits
    static const auto area = Pattern<VeskVideoMouseArea>(1);
    static const auto param = Pattern<VeskVideoLocalMouseParam>(2);

    const std::vector<Row> rows{
        Row(CALL(VeskVideoRemoteMouseOpen, 255, &g_number), Head(56, 255)).Answer(BytesOf(uint32_t{8})),
        Row(CALL(VeskVideoRemoteMouseSetQueHandle, wide, 6), Head(58, 6, 0, 5)),
        Row(CALL(VeskVideoRemoteMouseConnect, wide, 6), Head(59, 6, 0, 5)),
        Row(CALL(VeskVideoRemoteMouseStart, 5), Head(60, 0, 0, 5)),
        Row(CALL(VeskVideoRemoteMouseStop, 5), Head(61, 0, 0, 5)),
        Row(CALL(VeskVideoRemoteMouseClose, 5), Head(62, 0, 0, 5)),
        Row(CALL(VeskVideoRemoteMouseSetBackgroundArea, wide, &area), Head(130, wide)).Payload(BytesOf(area)),
        Row(CALL(VeskVideoLocalMouseOpen, &g_number), Head(121)).Answer(BytesOf(uint32_t{9})),
        Row(CALL(VeskVideoLocalMouseStart, 65536), Head(122)),
        Row(CALL(VeskVideoLocalMouseStop, 5), Head(123, 0, 0, 5)),
        Row(CALL(VeskVideoLocalMouseSetIndependent, wide, 255), Head(124, wide, 255)),
        Row(CALL(VeskVideoLocalMouseSetParam, wide, &param), Head(125, wide)).Payload(BytesOf(param)),
        Row(CALL(VeskVideoLocalMouseSetParam, 5, nullptr), Head(125, 5)),
        Row(CALL(VeskVideoLocalMouseAttach, wide, 6), Head(126, wide, 6)),
        Row(CALL(VeskVideoLocalMouseShowEnable, wide, 1), Head(127, wide, 1)),
        Row(CALL(VeskVideoLocalMouseSetQueHandle, wide, 6), Head(128, 6, 0, 5)),
        Row(CALL(VeskVideoLocalMouseClose, 5), Head(129, 0, 0, 5)),
    };
    Drive(kSource, rows);
}

TEST(MouseRequests, RefusedBeforeAnythingIsSent)
{
    Drive(kSource, std::vector<Refusal>{
                       {CALL(VeskVideoRemoteMouseOpen, 1, nullptr), 1},
                       {CALL(VeskVideoLocalMouseOpen, nullptr), 1},
                       {CALL(VeskVideoRemoteMouseSetBackgroundArea, 1, nullptr), 1},
                       {CALL(VeskVideoRemoteMouseSetIndependent, 1), 0},
                       {CALL(VeskVideoRemoteMouseAttach, "any", 2.0), 0},
                       {CALL(VeskVideoRemoteMouseForwardEnable), 0},
                       {CALL(VeskVideoLocalMouseSetShowArea, 1, 2, 3), 0},
                   });
}
