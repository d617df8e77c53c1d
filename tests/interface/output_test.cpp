// Output ports: every request over its row.
#include "interface/request_table.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

namespace {

uint32_t g_number;
VeskVideoVoPortInfo g_ports[2];
VeskVideoVoPortParam g_read;
const VeskVideoVoPortParam kParam{1, 4000000000, -3, 4, -5, 6, -7, 8, 255, {}};

} // namespace

TEST(OutputRequests, EachOverItsRow)
{
    const uint32_t port = 0xfffffffe; // zero-extended, never sign-extended
    Drive("vesk_video_interface",
          {
              Row(CALL(VeskVideoGetVoCount, &g_number), Head(7)).Answer(BytesOf(uint32_t{2})),
              Row(CALL(VeskVideoGetVoPort, g_ports, 2), Head(8, 2)).Answer(Bytes(4752)),
              Row(CALL(VeskVideoVoOpen, port, &g_number), Head(20, port)).Answer(BytesOf(uint32_t{77})),
              Row(CALL(VeskVideoVoSetParam, 5, &kParam), Head(22, 5)).Payload(BytesOf(kParam)),
              Row(CALL(VeskVideoVoGetParam, 5, &g_read), Head(24, 5)).Answer(BytesOf(kParam)),
              Row(CALL(VeskVideoVoSetOffset, 3, -10, 20), Head(26, 3))
                  .Payload(BytesOf(std::array<int32_t, 2>{-10, 20})),
              Row(CALL(VeskVideoVoSetQueHandle, 2, 7), Head(23, 2, 7)),
              Row(CALL(VeskVideoVoStart, 5), Head(27, 5)),
              Row(CALL(VeskVideoVoStop, 5), Head(28, 5)),
              Row(CALL(VeskVideoVoClose, 5), Head(29, 5)),
              Row(CALL(VeskVideoVoEnable, 1), Head(140, 1)),
              Row(CALL(VeskVideoVoDisable, 1), Head(141, 1)),
          });
    EXPECT_EQ(BytesOf(g_read), BytesOf(kParam));
    EXPECT_EQ(g_number, 77U);
}

TEST(OutputRequests, RefusedBeforeAnythingIsSent)
{
    Drive("vesk_video_interface", std::vector<Refusal>{
                                      {CALL(VeskVideoGetVoCount, nullptr), 1},
                                      {CALL(VeskVideoGetVoPort, nullptr, 2), 1},
                                      {CALL(VeskVideoGetVoPort, g_ports, 0), 2},
                                      {CALL(VeskVideoVoOpen, 1, nullptr), 1},
                                      {CALL(VeskVideoVoSetParam, 1, nullptr), 1},
                                      {CALL(VeskVideoVoGetParam, 1, nullptr), 1},
                                      {CALL(VeskVideoGetOrientation, 1, "any", 2.0), 0},
                                  });
}
