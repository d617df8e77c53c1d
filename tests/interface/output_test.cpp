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
              Row(CALL(VeskVideoGetVoCount, &g_number), Head(7), "GET_VO_COUNT")
                  .Answer(BytesOf(uint32_t{2}))
                  .FailsWith(OnBoth("VESK_VIDEO_MSG_GET_VO_COUNT fail[9].")),
              Row(CALL(VeskVideoGetVoPort, g_ports, 2), Head(8, 2), "GET_VO_PORT")
                  .Answer(Bytes(4752))
                  .FailsWith(OnBoth("VESK_VIDEO_MSG_GET_VO_PORT fail[9].")),
              Row(CALL(VeskVideoVoOpen, port, &g_number), Head(20, port), "OPEN_VO_PORT")
                  .Answer(BytesOf(uint32_t{77}))
                  .Args(": voPort=4294967294.")
                  .Ends("T3 #####send VESK_VIDEO_MSG_OPEN_VO_PORT msg[0] 77 #####\n")
                  .FailsWith(OnBoth("VeskVideoVoOpen failed[9].")),
              Row(CALL(VeskVideoVoSetParam, 5, &kParam), Head(22, 5), "SET_VO_PARAM")
                  .Payload(BytesOf(kParam))
                  .Before("T3 #####send VESK_VIDEO_MSG_SET_VO_PARAM start 5 #####\n",
                          "L3 VeskVideoVoSetParam:voPortParam: 1 4000000000 -3 4 -5 6 -7 8 255")
                  .FailsWith(OnBoth("VeskVideoVoSetParam failed[9].")),
              Row(CALL(VeskVideoVoGetParam, 5, &g_read), Head(24, 5), "GET_VO_PARAM")
                  .Answer(BytesOf(kParam))
                  .StartsWith("5")
                  .FailsWith(OnBoth("VeskVideoVoGetParam failed[9].")),
              Row(CALL(VeskVideoVoSetOffset, 3, -10, 20), Head(26, 3), "SET_SCREEN_OFFSET")
                  .Payload(BytesOf(std::array<int32_t, 2>{-10, 20}))
                  .Args(": outEngNo=3 xOffset=-10 yOffset=20.")
                  .FailsWith(OnBoth("VeskVideoVoSetOffset failed[9].")),
              Row(CALL(VeskVideoVoSetQueHandle, 2, 7), Head(23, 2, 7), "SET_VO_QUE_HANDLE")
                  .Args(":  outEngNo=2 queHandle=7 ")
                  .FailsWith(OnBoth("VeskVideoVoSetQueHandle failed[9].")),
              Row(CALL(VeskVideoVoStart, 5), Head(27, 5), "VO_START")
                  .Args(":  outEngNo=5")
                  .FailsWith(OnBoth("VeskVideoVoStart failed[9].")),
              Row(CALL(VeskVideoVoStop, 5), Head(28, 5), "VO_STOP")
                  .Args(": outEngNo=5.")
                  .FailsWith(OnBoth("VeskVideoVoStop failed[9].")),
              Row(CALL(VeskVideoVoClose, 5), Head(29, 5), "VO_CLOSE")
                  .Args(": outEngNo=5.")
                  .FailsWith(OnBoth("VeskVideoVoClose failed[9].")),
              Row(CALL(VeskVideoVoEnable, 1), Head(140, 1), "VO_ENABLE")
                  .Before("T3 #####send VESK_VIDEO_MSG_VO_ENABLE start 1 #####\n",
                          "L3 VeskVideoVoEnable: voPort=1.")
                  .FailsWith(OnBoth("VeskVideoVoEnable failed[9] 1.")),
              Row(CALL(VeskVideoVoDisable, 1), Head(141, 1), "VO_DISABLE")
                  .Before("L3 vo disable, voPort=1", Start("VO_DISABLE"), "L3 VeskVideoVoDisable: voPort=1.")
                  .FailsWith(OnBoth("VeskVideoVoDisable failed[9] 1.")),
          });
    EXPECT_EQ(BytesOf(g_read), BytesOf(kParam));
    EXPECT_EQ(g_number, 77U);
}

TEST(OutputRequests, RefusedBeforeAnythingIsSent)
{
    Drive("vesk_video_interface",
          {
              IsNull(CALL(VeskVideoGetVoCount, nullptr), 1, "GET_VO_COUNT", "count"),
              IsNull(CALL(VeskVideoGetVoPort, nullptr, 2), 1, "GET_VO_PORT", "voPortInfo"),
              Refusal(CALL(VeskVideoGetVoPort, g_ports, 0), 2, Start("GET_VO_PORT"),
                      "T1 VESK_VIDEO_MSG_GET_VO_PORT fail[2].", "L1 VESK_VIDEO_MSG_GET_VO_PORT fail[2]."),
              Refusal(CALL(VeskVideoVoOpen, 1, nullptr), 1, Start("OPEN_VO_PORT"),
                      "L3 VeskVideoVoOpen: voPort=1.", "L1 VeskVideoVoOpen: outEngNo is NULL!"),
              Refusal(CALL(VeskVideoVoSetParam, 1, nullptr), 1,
                      "T3 #####send VESK_VIDEO_MSG_SET_VO_PARAM start 1 #####\n",
                      "L1 VeskVideoVoSetParam: voPortParam is NULL!"),
              Refusal(CALL(VeskVideoVoGetParam, 1, nullptr), 1,
                      "T3 #####send VESK_VIDEO_MSG_GET_VO_PARAM start 1 #####\n",
                      "L1 VeskVideoVoGetParam: voPortParam is NULL!"),
              Refusal(CALL(VeskVideoGetOrientation, 1, "any", 2.0), 0),
          });
}
