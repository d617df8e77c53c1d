// Input ports, cameras, framing and other sources: every request over its row.
#include "interface/request_table.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstring>

using namespace recording;
using namespace request_table;

namespace {

constexpr char kSource[] = "vesk_video_interface";

uint32_t g_number;
uint8_t g_status;
VeskVideoViPortInfo g_ports[3];
VeskVideoViPortParam g_param;
VeskVideoPresetInfo g_presets[5];
VeskVideoBoundaryState g_boundary;
VeskVideoEptzParams g_eptz;
VeskVideoPtzfParams g_ptzf;
VeskVideoCapability g_capability;
char g_control[12] = "eleven char";

const VeskVideoViPortParam kParam{1, 4000000000, 200, 255, {}, -1, 2, -3, 4, -5, 6};
const VeskVideoPresetInfo kPreset{1, {}, 7};

VeskVideoAppInParam AppIn()
{
    VeskVideoAppInParam param{"app", 0x1122334455667788, 1, 2, 3, 4000000000, -5, 0};
    return param;
}

} // namespace

TEST(InputRequests, EachOverItsRow)
{
    const uint32_t port = 0xfffffffe;
    static const auto eptz = Pattern<VeskVideoEptzParams>(1);
    static const auto ptzf = Pattern<VeskVideoPtzfParams>(2);
    static const VeskVideoAppInParam appIn = AppIn();
    static const std::string path(4096, 'p');
    Bytes pathBytes(4096, std::byte{'p'});
    pathBytes.push_back(std::byte{0});
    static void* const vm = reinterpret_cast<void*>(uintptr_t{0x123456789});
    static void* const context = reinterpret_cast<void*>(uintptr_t{4294967298});
    const auto controlBytes = [] {
        Bytes bytes(12);
        std::memcpy(bytes.data(), "eleven char", 12);
        return bytes;
    }();

    Drive(
        kSource,
        std::vector<Row>{
            {"VeskVideoGetViCount",
             [] { return VeskVideoGetViCount(&g_number); },
             Head(5),
             {},
             BytesOf(uint32_t{3}),
             {Start("VESK_VIDEO_MSG_GET_VI_COUNT")},
             {"T3 #####send VESK_VIDEO_MSG_GET_VI_COUNT msg[0] 3 #####\n"},
             MessageFailed("VESK_VIDEO_MSG_GET_VI_COUNT")},
            {"VeskVideoGetViPort",
             [] { return VeskVideoGetViPort(g_ports, 3); },
             Head(6, 3),
             {},
             Bytes(972),
             {Start("VESK_VIDEO_MSG_GET_VI_PORT")},
             Done("VESK_VIDEO_MSG_GET_VI_PORT"),
             MessageFailed("VESK_VIDEO_MSG_GET_VI_PORT")},
            {"VeskVideoViOpen",
             [=] { return VeskVideoViOpen(port, &g_number); },
             Head(9, port),
             {},
             BytesOf(uint32_t{77}),
             {Start("VESK_VIDEO_MSG_OPEN_VI_PORT"), "L3 VeskVideoViOpen: viPort=4294967294."},
             {"T3 #####send VESK_VIDEO_MSG_OPEN_VI_PORT msg[0] 77 #####\n"},
             Failed("VeskVideoViOpen")},
            {"VeskVideoViGetParam",
             [] { return VeskVideoViGetParam(4, &g_param); },
             Head(13, 4),
             {},
             BytesOf(kParam),
             {"T3 #####send VESK_VIDEO_MSG_GET_VI_PARAM start 4 #####\n"},
             Done("VESK_VIDEO_MSG_GET_VI_PARAM"),
             Failed("VeskVideoViGetParam")},
            {"VeskVideoViSetParam",
             [] { return VeskVideoViSetParam(4, &kParam); },
             Head(12, 4),
             BytesOf(kParam),
             {},
             {Start("VESK_VIDEO_MSG_SET_VI_PARAM"),
              "L3 VeskVideoViSetParam: 1 4000000000 200 255 -1 2 -3 4 -5 6."},
             Done("VESK_VIDEO_MSG_SET_VI_PARAM"),
             Failed("VeskVideoViSetParam")},
            {"VeskVideoViConnect",
             [] { return VeskVideoViConnect(4, 5); },
             Head(14, 4, 5),
             {},
             {},
             {Start("VESK_VIDEO_MSG_SET_VI_CONNECT"), "L3 VeskVideoViConnect: inEngNo=4 stmNo=5."},
             Done("VESK_VIDEO_MSG_SET_VI_CONNECT"),
             Failed("VeskVideoViConnect")},
            {"VeskVideoViDisconnect",
             [] { return VeskVideoViDisconnect(4, 5); },
             Head(15, 4, 5),
             {},
             {},
             {Start("VESK_VIDEO_MSG_SET_VI_DISCONNECT"), "L3 VeskVideoViDisconnect: inEngNo=4 stmNo=5."},
             Done("VESK_VIDEO_MSG_SET_VI_DISCONNECT"),
             Failed("VeskVideoViDisconnect")},
            {"VeskVideoViModifyInput",
             [] { return VeskVideoViModifyInput(4, 5); },
             Head(18, 4, 5),
             {},
             {},
             {Start("VESK_VIDEO_MSG_VI_MODIFY_INPUT"), "L3 VeskVideoViModifyInput: inEngNo=4 stmNo=5."},
             Done("VESK_VIDEO_MSG_VI_MODIFY_INPUT"),
             After("L1 Modify input, inEngNo[4] stmNo[5] result[9]", Failed("VeskVideoViModifyInput"))},
            {"VeskVideoViFreeze",
             [] { return VeskVideoViFreeze(4, 255, "frozen", 3); },
             Head(137, 4, 255),
             {std::byte{'f'}, std::byte{'r'}, std::byte{'o'}},
             {},
             {"L3 VeskVideoViFreeze inEngNo=4 flag=255 length=3", Start("VESK_VIDEO_MSG_ENCODER_FREEZE")},
             Done("VESK_VIDEO_MSG_ENCODER_FREEZE"),
             Failed("VeskVideoViFreeze")},
            {"VeskVideoViFreeze",
             [] { return VeskVideoViFreeze(4, 0, nullptr, 16); },
             Head(137, 4),
             {},
             {},
             {"L3 VeskVideoViFreeze inEngNo=4 flag=0 length=16", Start("VESK_VIDEO_MSG_ENCODER_FREEZE")},
             Done("VESK_VIDEO_MSG_ENCODER_FREEZE"),
             Failed("VeskVideoViFreeze")},
            {"VeskVideoViClose",
             [] { return VeskVideoViClose(4); },
             Head(11, 4),
             {},
             {},
             {Start("VESK_VIDEO_MSG_CLOSE_VI_PORT"), "L3 VeskVideoViClose: inEngNo=4."},
             Done("VESK_VIDEO_MSG_CLOSE_VI_PORT"),
             Failed("VeskVideoViClose")},
            {"VeskVideoViStart",
             [] { return VeskVideoViStart(4); },
             Head(16, 4),
             {},
             {},
             {Start("VESK_VIDEO_MSG_VI_START"), "L3 VeskVideoViStart: inEngNo=4."},
             Done("VESK_VIDEO_MSG_VI_START"),
             Failed("VeskVideoViStart")},
            {"VeskVideoViStop",
             [] { return VeskVideoViStop(4); },
             Head(17, 4),
             {},
             {},
             {Start("VESK_VIDEO_MSG_VI_STOP"), "L3 VeskVideoViStop: inEngNo=4."},
             Done("VESK_VIDEO_MSG_VI_STOP"),
             Failed("VeskVideoViStop")},
            {"VeskVideoViEnable",
             [] { return VeskVideoViEnable(2); },
             Head(138, 2),
             {},
             {},
             {"L3 vi enable, viPort=2", Start("VESK_VIDEO_MSG_VI_ENABLE"), "L3 VeskVideoViEnable: viPort=2."},
             Done("VESK_VIDEO_MSG_VI_ENABLE"),
             Failed("VeskVideoViEnable")},
            {"VeskVideoViDisable",
             [] { return VeskVideoViDisable(2); },
             Head(139, 2),
             {},
             {},
             {Start("VESK_VIDEO_MSG_VI_DISABLE"), "L3 VeskVideoViDisable: viPort=2."},
             Done("VESK_VIDEO_MSG_VI_DISABLE"),
             OnBoth("VeskVideoViDisable failed[9] 2.")},
            {"VeskVideoSetViFaceQueHandle",
             [] { return VeskVideoSetViFaceQueHandle(65541, 9); },
             Head(70, 9, 0, 5),
             {},
             {},
             {Start("VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID"),
              "L3 VeskVideoSetViFaceQueHandle enter inEngNo=65541 queId=9."},
             Done("VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID"),
             MessageFailed("VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID"),
             true},

            {"VeskVideoCamControl",
             [] { return VeskVideoCamControl(4, 22, g_control, 12); },
             Head(147, 4, 22),
             controlBytes,
             {},
             {Start("VeskVideoCamControl")},
             Done("VeskVideoCamControl"),
             {"T3 #####send VeskVideoCamControl msg[9]#####\n",
              "L1 VeskVideoCamControl failed, inEngNo=4, cmdType=22 ret=9"}},
            {"VeskVideoCamControl",
             [] { return VeskVideoCamControl(4, -1, nullptr, 12); },
             Head(147, 4, 0xffffffff),
             {},
             {},
             {Start("VeskVideoCamControl")},
             Done("VeskVideoCamControl"),
             {"T3 #####send VeskVideoCamControl msg[9]#####\n",
              "L1 VeskVideoCamControl failed, inEngNo=4, cmdType=-1 ret=9"}},
            {"VeskVideoCamControl",
             [] { return VeskVideoCamControl(4, 16, g_control, 12); },
             Head(147, 4, 16),
             {},
             Bytes(12),
             {Start("VeskVideoCamControl")},
             Done("VeskVideoCamControl"),
             {"T3 #####send VeskVideoCamControl msg[9]#####\n",
              "L1 VeskVideoCamControl failed, inEngNo=4, cmdType=16 ret=9"}},
            {"VeskVideoCamSetPreset",
             [] { return VeskVideoCamSetPreset(65538, &kPreset); },
             Head(148, 0, 0, 2),
             BytesOf(kPreset),
             {},
             {"L3 VeskVideoCamSetPreset engNo[65538], presetId[7] isValid[1]!",
              "T3 #####send VeskVideoCamSetPreset #####\n"},
             Done("VESK_VIDEO_MSG_SET_PRESET"),
             {"L1 Set preset result= 9", "T3 #####send VESK_VIDEO_MSG_SET_PRESET msg[9]#####\n"}},
            {"VeskVideoCamGetPresetCount",
             [] { return VeskVideoCamGetPresetCount(&g_number); },
             Head(149),
             {},
             Bytes(4),
             {Start("VeskVideoCamGetPresetCount")},
             {"T3 #####send VeskVideoCamGetPresetCount ret[0]#####\n"},
             Invalid("Send Msg Fail!", "ret")},
            {"VeskVideoCamQueryPreset",
             [] { return VeskVideoCamQueryPreset(3, g_presets, 5); },
             Head(150, 3, 5),
             {},
             Bytes(40),
             {Start("VeskVideoCamQueryPreset")},
             Done("VeskVideoCamQueryPreset"),
             {"T3 #####send VeskVideoCamQueryPreset msg[9]#####\n"}},
            {"VeskVideoCamGetBoundaryState",
             [] { return VeskVideoCamGetBoundaryState(65538, &g_boundary); },
             Head(151, 0, 0, 2),
             {},
             Bytes(8),
             {"L3 Get boundary state, inEngNo[65538]."},
             {},
             After("L1 Get boundary state result= 9", Invalid("Send Msg Fail!", "ret"))},

            {"VeskVideoSetViPortEptzParam",
             [] { return VeskVideoSetViPortEptzParam(91, &eptz); },
             Head(63, 0, 0, 91),
             BytesOf(eptz),
             {},
             {Start("VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM")},
             Done("VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM"),
             MessageFailed("VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM")},
            {"VeskVideoSetViPortPtzfParam",
             [] { return VeskVideoSetViPortPtzfParam(91, &ptzf); },
             Head(64, 0, 0, 91),
             BytesOf(ptzf),
             {},
             {Start("VESK_VIDEO_MSG_SET_VI_PTZF_PARAM")},
             Done("VESK_VIDEO_MSG_SET_VI_PTZF_PARAM"),
             MessageFailed("VESK_VIDEO_MSG_SET_VI_PTZF_PARAM")},
            {"VeskVideoGetViPortEptzParam",
             [] { return VeskVideoGetViPortEptzParam(65540, &g_eptz); },
             Head(65, 0, 0, 4),
             {},
             BytesOf(eptz),
             {"T3 Get VI port cutout param start!",
              "T3 #####send VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM start 65540 #####\n"},
             After("T3 Get VI port cutout param, inEngNo[65540] result[0]",
                   Done("VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM")),
             MessageFailed("VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM")},
            {"VeskVideoGetViPortPtzfParam",
             [] { return VeskVideoGetViPortPtzfParam(4, &g_ptzf); },
             Head(66, 0, 0, 4),
             {},
             BytesOf(ptzf),
             {"T3 Get VI port ptzf param start!",
              "T3 #####send VESK_VIDEO_MSG_GET_VI_PTZF_PARAM start 4 #####\n"},
             After("T3 Get VI port ptzf param, inEngNo[4] result[0]",
                   Done("VESK_VIDEO_MSG_GET_VI_PTZF_PARAM")),
             MessageFailed("VESK_VIDEO_MSG_GET_VI_PTZF_PARAM")},
            {"VeskVideoExecutViPortTrackingParam",
             [] { return VeskVideoExecutViPortTrackingParam(4); },
             Head(67, 0, 0, 4),
             {},
             {},
             {"T3 Execut VI port tracking param start!",
              "L3 VeskVideoExecutViPortTrackingParam enter inEngNo=4."},
             After("T3 Execut VI port tracking param, inEngNo[4] result[0]",
                   Done("VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM")),
             MessageFailed("VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM")},
            {"VeskVideoGetViPortPtStatus",
             [] { return VeskVideoGetViPortPtStatus(4, &g_status); },
             Head(68, 0, 0, 4),
             {},
             Bytes(1),
             {"T3 Start Get VI port pt status",
              "T3 #####send VESK_VIDEO_MSG_GET_VI_PT_STATUS start 4 #####\n"},
             After("T3 Get VI port pt status, inEngNo[4] result[0]", Done("VESK_VIDEO_MSG_GET_VI_PT_STATUS")),
             MessageFailed("VESK_VIDEO_MSG_GET_VI_PT_STATUS")},
            {"VeskVideoGetViPortAFStatus",
             [] { return VeskVideoGetViPortAFStatus(4, &g_status); },
             Head(69, 0, 0, 4),
             {},
             Bytes(1),
             {"T3 Start Get VI port af status",
              "T3 #####send VESK_VIDEO_MSG_GET_VI_AF_STATUS start 4 #####\n"},
             After("T3 Get VI port af status, inEngNo[4] result[0]", Done("VESK_VIDEO_MSG_GET_VI_AF_STATUS")),
             MessageFailed("VESK_VIDEO_MSG_GET_VI_AF_STATUS")},
            {"VeskVideoViSetEptzMoveSpeed",
             [] { return VeskVideoViSetEptzMoveSpeed(4, -2); },
             Head(152, 4, 0xfffffffe),
             {},
             {},
             {Start("VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED"),
              "L3 VeskVideoViSetEptzMoveSpeed: inEngNo=4 eptzMoveSpeed=-2."},
             Done("VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED"),
             After("L1 ViSetEptzMoveSpeed, inEngNo=4 result=9", Failed("VeskVideoViSetEptzMoveSpeed"))},

            {"VeskVideoSetVirtualViSrc",
             [] { return VeskVideoSetVirtualViSrc(4, path.c_str()); },
             Head(120, 4),
             pathBytes,
             {},
             {"L3 #####send VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM start 4 #####\n"},
             Done("VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM"),
             MessageFailed("VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM")},
            {"VeskVideoSetAppCaptureParam",
             [] { return VeskVideoSetAppCaptureParam(4, &appIn); },
             Head(104, 4),
             BytesOf(appIn),
             {},
             {Start("VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM"), "L3 VeskVideoSetAppCaptureParam: inEngNo=4.",
              "L3 appInParam: app 1234605616436508552 1 2 3 4000000000 -5."},
             Done("VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM"),
             OnBoth("VeskVideoSetAppCaptureParam failed[9] 4.")},
            {"VeskVideoSetAndroidContext",
             [] { return VeskVideoSetAndroidContext(vm, context); },
             Head(160, 0x123456789, 2),
             {},
             {},
             {Start("VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS"), "L3 VeskVideoSetAndroidContext enter.",
              "L3 Init Android Objects"},
             Done("VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS"),
             Failed("VeskVideoSetAndroidContext")},
            {"VeskVideoSetAndroidProjection",
             [] { return VeskVideoSetAndroidProjection(-1, context); },
             Head(161, UINT64_MAX, 2),
             {},
             {},
             {Start("VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION"),
              "L3 VeskVideoSetAndroidProjection enter resultCode:4294967295.",
              "L3 Set Android MediaProjection, resultCode=-1"},
             Done("VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION"),
             MessageFailed("VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION")},
            {"VeskVideoGetCapability",
             [] { return VeskVideoGetCapability(6, &g_capability); },
             Head(153, 0, 6),
             {},
             Bytes(8),
             {Start("VESK_VIDEO_MSG_GET_CAPABILITY")},
             Done("VESK_VIDEO_MSG_GET_CAPABILITY"),
             MessageFailed("VESK_VIDEO_MSG_GET_CAPABILITY")},
        });
    EXPECT_EQ(BytesOf(g_param), BytesOf(kParam));
    EXPECT_EQ(BytesOf(g_eptz), BytesOf(eptz));
    EXPECT_EQ(BytesOf(g_ptzf), BytesOf(ptzf));
}

TEST(InputRequests, RefusedBeforeAnythingIsSent)
{
    static const std::string longPath(4097, 'p');
    static VeskVideoAppInParam noTask = AppIn();
    noTask.taskHandle = 0;
    std::memset(noTask.text, 't', sizeof noTask.text); // fills its field, without a NUL
    Drive(kSource,
          std::vector<Refusal>{
              {"VeskVideoGetViCount",
               [] { return VeskVideoGetViCount(nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_GET_VI_COUNT"), "L1 VeskVideoGetViCount: count is NULL!"}},
              {"VeskVideoGetViPort",
               [] { return VeskVideoGetViPort(nullptr, 3); },
               2,
               {Start("VESK_VIDEO_MSG_GET_VI_PORT"), "L1 param error, viPortInfo is null or count is 0"}},
              {"VeskVideoGetViPort",
               [] { return VeskVideoGetViPort(g_ports, 0); },
               2,
               {Start("VESK_VIDEO_MSG_GET_VI_PORT"), "L1 param error, viPortInfo is null or count is 0"}},
              {"VeskVideoViOpen",
               [] { return VeskVideoViOpen(1, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_OPEN_VI_PORT"), "L3 VeskVideoViOpen: viPort=1.",
                "L1 VeskVideoViOpen: inEngNo is NULL!"}},
              {"VeskVideoViGetParam",
               [] { return VeskVideoViGetParam(1, nullptr); },
               1,
               {"T3 #####send VESK_VIDEO_MSG_GET_VI_PARAM start 1 #####\n",
                "L1 VeskVideoViGetParam: viPortParam is NULL!"}},
              {"VeskVideoViSetParam",
               [] { return VeskVideoViSetParam(1, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_SET_VI_PARAM"), "L1 VeskVideoViSetParam: viPortParam is NULL!"}},
              {"VeskVideoViGetQueHandle",
               [] { return VeskVideoViGetQueHandle(1, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_GET_VI_QUE_HANDLE"), "L3 VeskVideoViGetQueHandle: inEngNo=1.",
                "L1 VeskVideoViGetQueHandle: queHandle is NULL!"}},
              {"VeskVideoReplaceInput", [] { return VeskVideoReplaceInput("any", 1); }, 0, {}},
              {"VeskVideoCamControl",
               [] { return VeskVideoCamControl(1, 23, g_control, 12); },
               2,
               {"L1 wrong ctrl param[23]"}},
              {"VeskVideoCamSetPreset",
               [] { return VeskVideoCamSetPreset(1, nullptr); },
               1,
               {"L1 VeskVideoCamSetPreset: presetInfo is NULL!"}},
              {"VeskVideoCamGetPresetCount",
               [] { return VeskVideoCamGetPresetCount(nullptr); },
               1,
               {Start("VeskVideoCamGetPresetCount"), "L1 VeskVideoCamGetPresetCount: count is NULL!"}},
              {"VeskVideoCamQueryPreset",
               [] { return VeskVideoCamQueryPreset(1, nullptr, 5); },
               1,
               {Start("VeskVideoCamQueryPreset"), "L1 VeskVideoCamQueryPreset: presetInfo is NULL!"}},
              {"VeskVideoCamGetBoundaryState",
               [] { return VeskVideoCamGetBoundaryState(1, nullptr); },
               1,
               {"L1 VeskVideoCamGetBoundaryState: boundaryState is NULL!"}},
              {"VeskVideoCamGetPreset",
               [] { return VeskVideoCamGetPreset(1, 2) + VeskVideoCamGetPosition(); },
               0,
               {}},
              {"VeskVideoSetViPortEptzParam",
               [] { return VeskVideoSetViPortEptzParam(92, nullptr); },
               3,
               {Start("VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM"), "L1 port[92] is invalid"}},
              {"VeskVideoSetViPortEptzParam",
               [] { return VeskVideoSetViPortEptzParam(91, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM"),
                "L1 VeskVideoSetViPortEptzParam: eptzParams is NULL!"}},
              {"VeskVideoSetViPortPtzfParam",
               [] { return VeskVideoSetViPortPtzfParam(UINT32_MAX, &g_ptzf); },
               3,
               {Start("VESK_VIDEO_MSG_SET_VI_PTZF_PARAM"), "L1 port[4294967295] is invalid"}},
              {"VeskVideoSetViPortPtzfParam",
               [] { return VeskVideoSetViPortPtzfParam(0, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_SET_VI_PTZF_PARAM"),
                "L1 VeskVideoSetViPortPtzfParam: ptzfParams is NULL!"}},
              {"VeskVideoGetViPortEptzParam",
               [] { return VeskVideoGetViPortEptzParam(1, nullptr); },
               1,
               {"T3 Get VI port cutout param start!",
                "T3 #####send VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM start 1 #####\n",
                "L1 VeskVideoGetViPortEptzParam: eptzParams is NULL!"}},
              {"VeskVideoGetViPortPtzfParam",
               [] { return VeskVideoGetViPortPtzfParam(1, nullptr); },
               2,
               {"T3 Get VI port ptzf param start!",
                "T3 #####send VESK_VIDEO_MSG_GET_VI_PTZF_PARAM start 1 #####\n",
                "T1 VESK_VIDEO_MSG_GET_VI_PTZF_PARAM fail[2].",
                "L1 VESK_VIDEO_MSG_GET_VI_PTZF_PARAM fail[2]."}},
              {"VeskVideoGetViPortPtStatus",
               [] { return VeskVideoGetViPortPtStatus(1, nullptr); },
               1,
               {"T3 Start Get VI port pt status",
                "T3 #####send VESK_VIDEO_MSG_GET_VI_PT_STATUS start 1 #####\n",
                "L1 VeskVideoGetViPortPtStatus: status is NULL!"}},
              {"VeskVideoSetVirtualViSrc",
               [] { return VeskVideoSetVirtualViSrc(1, nullptr); },
               1,
               {"L3 #####send VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM start 1 #####\n",
                "L1 VeskVideoSetVirtualViSrc: filePath is NULL!"}},
              {"VeskVideoSetVirtualViSrc",
               [] { return VeskVideoSetVirtualViSrc(1, longPath.c_str()); },
               2,
               {"L3 #####send VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM start 1 #####\n",
                "L1 the length of filePath is too long"}},
              {"VeskVideoSetAppCaptureParam",
               [] { return VeskVideoSetAppCaptureParam(1, nullptr); },
               2,
               {Start("VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM"), "L3 VeskVideoSetAppCaptureParam: inEngNo=1.",
                "L1 VeskVideoSetAppCaptureParam: appInParam is NULL!"}},
              {"VeskVideoSetAppCaptureParam",
               [] { return VeskVideoSetAppCaptureParam(1, &noTask); },
               2,
               {Start("VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM"), "L3 VeskVideoSetAppCaptureParam: inEngNo=1.",
                "L3 appInParam: " + std::string(256, 't') + " 0 1 2 3 4000000000 -5.",
                "L1 taskHandle is null"}},
              {"VeskVideoSetAndroidContext",
               [] { return VeskVideoSetAndroidContext(nullptr, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS"), "L3 VeskVideoSetAndroidContext enter.",
                "L1 VeskVideoSetAndroidContext: javaVm is NULL!"}},
              {"VeskVideoSetAndroidContext",
               [] { return VeskVideoSetAndroidContext(g_control, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS"), "L3 VeskVideoSetAndroidContext enter.",
                "L1 VeskVideoSetAndroidContext: javaContext is NULL!"}},
              {"VeskVideoGetCapability",
               [] { return VeskVideoGetCapability(1, nullptr); },
               1,
               {Start("VESK_VIDEO_MSG_GET_CAPABILITY"), "L1 VeskVideoGetCapability: capability is NULL!"}},
          });
}

TEST(InputRequests, TheQueueIsWaitedFor)
{
    const struct {
        std::vector<uint16_t> results; // the last one again and again
        size_t attempts;
        uint32_t result;
    } cases[] = {{{1, 1, 1, 0}, 4, 0}, {{7}, 1, 7}, {{4, 2}, 2, 2}, {{4, 3}, 2, 3}, {{4}, 20, 4}};
    for (const auto& c : cases) {
        Reset();
        Get().answer = [&c](const Sent&) {
            const uint16_t result = c.results[std::min(Get().sent.size(), c.results.size()) - 1];
            return Answer{0, AnswerBytes(result, result == 0 ? BytesOf(uint32_t{55}) : Bytes())};
        };
        uint32_t queue = 44;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(VeskVideoViGetQueHandle(4, &queue), c.result);
        const auto pauses = c.attempts == 20 ? 20 : c.attempts - 1;
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100) * pauses);
        EXPECT_EQ(Get().sent.size(), c.attempts);
        EXPECT_EQ(queue, c.result == 0 ? 55U : 44U);
        Lines expected = {
            "T3 VeskVideoViGetQueHandle #####send VESK_VIDEO_MSG_GET_VI_QUE_HANDLE start#####\n",
            "L3 vesk_video_interface VeskVideoViGetQueHandle: inEngNo=4.",
            "L3 vesk_video_interface queId=44"};
        const std::string failed = "VeskVideoViGetQueHandle failed[" + std::to_string(c.result) + "].";
        if (c.attempts == 20)
            expected.push_back("T1 VeskVideoViGetQueHandle get queHandle is fail timeout, inEngNo[4]");
        if (c.result == 0)
            expected.push_back(
                "T3 VeskVideoViGetQueHandle #####send VESK_VIDEO_MSG_GET_VI_QUE_HANDLE msg[0]#####\n");
        else
            expected.insert(expected.end(),
                            {"T1 VeskVideoViGetQueHandle " + failed, "L1 vesk_video_interface " + failed});
        EXPECT_EQ(RequestLines(), expected);
    }
}

TEST(InputRequests, OutParametersStayWhenTheServiceRefuses)
{
    Reset();
    Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(5)}; };
    uint8_t status = 0xcd;
    VeskVideoCapability capability{{1, 2}};
    EXPECT_EQ(VeskVideoGetViPortPtStatus(1, &status), 5U);
    EXPECT_EQ(VeskVideoGetViPortAFStatus(1, &status), 5U);
    EXPECT_EQ(status, 0xcd);
    EXPECT_EQ(VeskVideoGetCapability(1, &capability), 5U);
    EXPECT_EQ(capability.serviceData[1], 2U);
}
