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
          std::vector<Row>{
              {"VeskVideoGetVoCount",
               [] { return VeskVideoGetVoCount(&g_number); },
               Head(7),
               {},
               BytesOf(uint32_t{2}),
               {Start("VESK_VIDEO_MSG_GET_VO_COUNT")},
               Done("VESK_VIDEO_MSG_GET_VO_COUNT"),
               OnBoth("VESK_VIDEO_MSG_GET_VO_COUNT fail[9].")},
              {"VeskVideoGetVoPort",
               [] { return VeskVideoGetVoPort(g_ports, 2); },
               Head(8, 2),
               {},
               Bytes(4752),
               {Start("VESK_VIDEO_MSG_GET_VO_PORT")},
               Done("VESK_VIDEO_MSG_GET_VO_PORT"),
               OnBoth("VESK_VIDEO_MSG_GET_VO_PORT fail[9].")},
              {"VeskVideoVoOpen",
               [=] { return VeskVideoVoOpen(port, &g_number); },
               Head(20, port),
               {},
               BytesOf(uint32_t{77}),
               {Start("VESK_VIDEO_MSG_OPEN_VO_PORT"), "L3 VeskVideoVoOpen: voPort=4294967294."},
               {"T3 #####send VESK_VIDEO_MSG_OPEN_VO_PORT msg[0] 77 #####\n"},
               OnBoth("VeskVideoVoOpen failed[9].")},
              {"VeskVideoVoSetParam",
               [] { return VeskVideoVoSetParam(5, &kParam); },
               Head(22, 5),
               BytesOf(kParam),
               {},
               {"T3 #####send VESK_VIDEO_MSG_SET_VO_PARAM start 5 #####\n",
                "L3 VeskVideoVoSetParam:voPortParam: 1 4000000000 -3 4 -5 6 -7 8 255"},
               Done("VESK_VIDEO_MSG_SET_VO_PARAM"),
               OnBoth("VeskVideoVoSetParam failed[9].")},
              {"VeskVideoVoGetParam",
               [] { return VeskVideoVoGetParam(5, &g_read); },
               Head(24, 5),
               {},
               BytesOf(kParam),
               {"T3 #####send VESK_VIDEO_MSG_GET_VO_PARAM start 5 #####\n"},
               Done("VESK_VIDEO_MSG_GET_VO_PARAM"),
               OnBoth("VeskVideoVoGetParam failed[9].")},
              {"VeskVideoVoSetOffset",
               [] { return VeskVideoVoSetOffset(3, -10, 20); },
               Head(26, 3),
               BytesOf(std::array<int32_t, 2>{-10, 20}),
               {},
               {Start("VESK_VIDEO_MSG_SET_SCREEN_OFFSET"),
                "L3 VeskVideoVoSetOffset: outEngNo=3 xOffset=-10 yOffset=20."},
               Done("VESK_VIDEO_MSG_SET_SCREEN_OFFSET"),
               OnBoth("VeskVideoVoSetOffset failed[9].")},
              {"VeskVideoVoSetQueHandle",
               [] { return VeskVideoVoSetQueHandle(2, 7); },
               Head(23, 2, 7),
               {},
               {},
               {Start("VESK_VIDEO_MSG_SET_VO_QUE_HANDLE"),
                "L3 VeskVideoVoSetQueHandle:  outEngNo=2 queHandle=7 "},
               Done("VESK_VIDEO_MSG_SET_VO_QUE_HANDLE"),
               OnBoth("VeskVideoVoSetQueHandle failed[9].")},
              {"VeskVideoVoStart",
               [] { return VeskVideoVoStart(5); },
               Head(27, 5),
               {},
               {},
               {Start("VESK_VIDEO_MSG_VO_START"), "L3 VeskVideoVoStart:  outEngNo=5"},
               Done("VESK_VIDEO_MSG_VO_START"),
               OnBoth("VeskVideoVoStart failed[9].")},
              {"VeskVideoVoStop",
               [] { return VeskVideoVoStop(5); },
               Head(28, 5),
               {},
               {},
               {Start("VESK_VIDEO_MSG_VO_STOP"), "L3 VeskVideoVoStop: outEngNo=5."},
               Done("VESK_VIDEO_MSG_VO_STOP"),
               OnBoth("VeskVideoVoStop failed[9].")},
              {"VeskVideoVoClose",
               [] { return VeskVideoVoClose(5); },
               Head(29, 5),
               {},
               {},
               {Start("VESK_VIDEO_MSG_VO_CLOSE"), "L3 VeskVideoVoClose: outEngNo=5."},
               Done("VESK_VIDEO_MSG_VO_CLOSE"),
               OnBoth("VeskVideoVoClose failed[9].")},
              {"VeskVideoVoEnable",
               [] { return VeskVideoVoEnable(1); },
               Head(140, 1),
               {},
               {},
               {"T3 #####send VESK_VIDEO_MSG_VO_ENABLE start 1 #####\n", "L3 VeskVideoVoEnable: voPort=1."},
               Done("VESK_VIDEO_MSG_VO_ENABLE"),
               OnBoth("VeskVideoVoEnable failed[9] 1.")},
              {"VeskVideoVoDisable",
               [] { return VeskVideoVoDisable(1); },
               Head(141, 1),
               {},
               {},
               {"L3 vo disable, voPort=1", Start("VESK_VIDEO_MSG_VO_DISABLE"),
                "L3 VeskVideoVoDisable: voPort=1."},
               Done("VESK_VIDEO_MSG_VO_DISABLE"),
               OnBoth("VeskVideoVoDisable failed[9] 1.")},
          });
    EXPECT_EQ(BytesOf(g_read), BytesOf(kParam));
    EXPECT_EQ(g_number, 77U);
}

TEST(OutputRequests, RefusedBeforeAnythingIsSent)
{
    Drive("vesk_video_interface",
          std::vector<Refusal>{
              {"VeskVideoGetVoCount",
               [] { return VeskVideoGetVoCount(nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_GET_VO_COUNT"), "L1 VeskVideoGetVoCount: count is NULL!"}},
              {"VeskVideoGetVoPort",
               [] { return VeskVideoGetVoPort(nullptr, 2); },
               1,
               {Start("VESK_VIDEO_MSG_GET_VO_PORT"), "L1 VeskVideoGetVoPort: voPortInfo is NULL!"}},
              {"VeskVideoGetVoPort",
               [] { return VeskVideoGetVoPort(g_ports, 0); },
               2,
               {Start("VESK_VIDEO_MSG_GET_VO_PORT"), "T1 VESK_VIDEO_MSG_GET_VO_PORT fail[2].",
                "L1 VESK_VIDEO_MSG_GET_VO_PORT fail[2]."}},
              {"VeskVideoVoOpen",
               [] { return VeskVideoVoOpen(1, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_OPEN_VO_PORT"), "L3 VeskVideoVoOpen: voPort=1.",
                "L1 VeskVideoVoOpen: outEngNo is NULL!"}},
              {"VeskVideoVoSetParam",
               [] { return VeskVideoVoSetParam(1, nullptr); },
               1,
               {"T3 #####send VESK_VIDEO_MSG_SET_VO_PARAM start 1 #####\n",
                "L1 VeskVideoVoSetParam: voPortParam is NULL!"}},
              {"VeskVideoVoGetParam",
               [] { return VeskVideoVoGetParam(1, nullptr); },
               1,
               {"T3 #####send VESK_VIDEO_MSG_GET_VO_PARAM start 1 #####\n",
                "L1 VeskVideoVoGetParam: voPortParam is NULL!"}},
              {"VeskVideoGetOrientation", [] { return VeskVideoGetOrientation(1, "any", 2.0); }, 0, {}},
          });
}
