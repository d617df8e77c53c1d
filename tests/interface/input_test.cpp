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
        {
            Row(CALL(VeskVideoGetViCount, &g_number), Head(5), "GET_VI_COUNT")
                .Answer(BytesOf(uint32_t{3}))
                .Ends("T3 #####send VESK_VIDEO_MSG_GET_VI_COUNT msg[0] 3 #####\n")
                .FailsByMessage(),
            Row(CALL(VeskVideoGetViPort, g_ports, 3), Head(6, 3), "GET_VI_PORT")
                .Answer(Bytes(972))
                .FailsByMessage(),
            Row(CALL(VeskVideoViOpen, port, &g_number), Head(9, port), "OPEN_VI_PORT")
                .Answer(BytesOf(uint32_t{77}))
                .Args(": viPort=4294967294.")
                .Ends("T3 #####send VESK_VIDEO_MSG_OPEN_VI_PORT msg[0] 77 #####\n"),
            Row(CALL(VeskVideoViGetParam, 4, &g_param), Head(13, 4), "GET_VI_PARAM")
                .Answer(BytesOf(kParam))
                .StartsWith("4"),
            Row(CALL(VeskVideoViSetParam, 4, &kParam), Head(12, 4), "SET_VI_PARAM")
                .Payload(BytesOf(kParam))
                .Args(": 1 4000000000 200 255 -1 2 -3 4 -5 6."),
            Row(CALL(VeskVideoViConnect, 4, 5), Head(14, 4, 5), "SET_VI_CONNECT")
                .Args(": inEngNo=4 stmNo=5."),
            Row(CALL(VeskVideoViDisconnect, 4, 5), Head(15, 4, 5), "SET_VI_DISCONNECT")
                .Args(": inEngNo=4 stmNo=5."),
            Row(CALL(VeskVideoViModifyInput, 4, 5), Head(18, 4, 5), "VI_MODIFY_INPUT")
                .Args(": inEngNo=4 stmNo=5.")
                .FailsWith(After("L1 Modify input, inEngNo[4] stmNo[5] result[9]",
                                 Failed("VeskVideoViModifyInput"))),
            Row(CALL(VeskVideoViFreeze, 4, 255, "frozen", 3), Head(137, 4, 255), "ENCODER_FREEZE")
                .Payload({std::byte{'f'}, std::byte{'r'}, std::byte{'o'}})
                .Before("L3 VeskVideoViFreeze inEngNo=4 flag=255 length=3", Start("ENCODER_FREEZE")),
            Row(CALL(VeskVideoViFreeze, 4, 0, nullptr, 16), Head(137, 4), "ENCODER_FREEZE")
                .Before("L3 VeskVideoViFreeze inEngNo=4 flag=0 length=16", Start("ENCODER_FREEZE")),
            Row(CALL(VeskVideoViClose, 4), Head(11, 4), "CLOSE_VI_PORT").Args(": inEngNo=4."),
            Row(CALL(VeskVideoViStart, 4), Head(16, 4), "VI_START").Args(": inEngNo=4."),
            Row(CALL(VeskVideoViStop, 4), Head(17, 4), "VI_STOP").Args(": inEngNo=4."),
            Row(CALL(VeskVideoViEnable, 2), Head(138, 2), "VI_ENABLE")
                .Before("L3 vi enable, viPort=2", Start("VI_ENABLE"), "L3 VeskVideoViEnable: viPort=2."),
            Row(CALL(VeskVideoViDisable, 2), Head(139, 2), "VI_DISABLE")
                .Args(": viPort=2.")
                .FailsWith(OnBoth("VeskVideoViDisable failed[9] 2.")),
            Row(CALL(VeskVideoSetViFaceQueHandle, 65541, 9), Head(70, 9, 0, 5), "SET_CAMERA_QUEUE_ID")
                .Args(" enter inEngNo=65541 queId=9.")
                .FailsByMessage()
                .IsAsynchronous(),
            Row(CALL(VeskVideoCamControl, 4, 22, g_control, 12), Head(147, 4, 22), "VeskVideoCamControl")
                .Payload(controlBytes)
                .FailsWith({"T3 #####send VeskVideoCamControl msg[9]#####\n",
                            "L1 VeskVideoCamControl failed, inEngNo=4, cmdType=22 ret=9"}),
            Row(CALL(VeskVideoCamControl, 4, -1, nullptr, 12), Head(147, 4, 0xffffffff),
                "VeskVideoCamControl")
                .FailsWith({"T3 #####send VeskVideoCamControl msg[9]#####\n",
                            "L1 VeskVideoCamControl failed, inEngNo=4, cmdType=-1 ret=9"}),
            Row(CALL(VeskVideoCamControl, 4, 16, g_control, 12), Head(147, 4, 16), "VeskVideoCamControl")
                .Answer(Bytes(12))
                .FailsWith({"T3 #####send VeskVideoCamControl msg[9]#####\n",
                            "L1 VeskVideoCamControl failed, inEngNo=4, cmdType=16 ret=9"}),
            Row(CALL(VeskVideoCamSetPreset, 65538, &kPreset), Head(148, 0, 0, 2), "SET_PRESET")
                .Payload(BytesOf(kPreset))
                .Before("L3 VeskVideoCamSetPreset engNo[65538], presetId[7] isValid[1]!",
                        "T3 #####send VeskVideoCamSetPreset #####\n")
                .FailsWith(
                    {"L1 Set preset result= 9", "T3 #####send VESK_VIDEO_MSG_SET_PRESET msg[9]#####\n"}),
            Row(CALL(VeskVideoCamGetPresetCount, &g_number), Head(149), "VeskVideoCamGetPresetCount")
                .Answer(Bytes(4))
                .Ends("T3 #####send VeskVideoCamGetPresetCount ret[0]#####\n")
                .FailsWith(Invalid("Send Msg Fail!", "ret")),
            Row(CALL(VeskVideoCamQueryPreset, 3, g_presets, 5), Head(150, 3, 5), "VeskVideoCamQueryPreset")
                .Answer(Bytes(40))
                .FailsWith({"T3 #####send VeskVideoCamQueryPreset msg[9]#####\n"}),
            Row(CALL(VeskVideoCamGetBoundaryState, 65538, &g_boundary), Head(151, 0, 0, 2), "")
                .Answer(Bytes(8))
                .Before("L3 Get boundary state, inEngNo[65538].")
                .Ends()
                .FailsWith(After("L1 Get boundary state result= 9", Invalid("Send Msg Fail!", "ret"))),
            Row(CALL(VeskVideoSetViPortEptzParam, 91, &eptz), Head(63, 0, 0, 91), "SET_VI_CUTOUT_PARAM")
                .Payload(BytesOf(eptz))
                .FailsByMessage(),
            Row(CALL(VeskVideoSetViPortPtzfParam, 91, &ptzf), Head(64, 0, 0, 91), "SET_VI_PTZF_PARAM")
                .Payload(BytesOf(ptzf))
                .FailsByMessage(),
            Row(CALL(VeskVideoGetViPortEptzParam, 65540, &g_eptz), Head(65, 0, 0, 4), "")
                .Answer(BytesOf(eptz))
                .Before("T3 Get VI port cutout param start!",
                        "T3 #####send VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM start 65540 #####\n")
                .EndsWith(After("T3 Get VI port cutout param, inEngNo[65540] result[0]",
                                Done("GET_VI_CUTOUT_PARAM")))
                .FailsWith(MessageFailed("GET_VI_CUTOUT_PARAM")),
            Row(CALL(VeskVideoGetViPortPtzfParam, 4, &g_ptzf), Head(66, 0, 0, 4), "")
                .Answer(BytesOf(ptzf))
                .Before("T3 Get VI port ptzf param start!",
                        "T3 #####send VESK_VIDEO_MSG_GET_VI_PTZF_PARAM start 4 #####\n")
                .EndsWith(After("T3 Get VI port ptzf param, inEngNo[4] result[0]", Done("GET_VI_PTZF_PARAM")))
                .FailsWith(MessageFailed("GET_VI_PTZF_PARAM")),
            Row(CALL(VeskVideoExecutViPortTrackingParam, 4), Head(67, 0, 0, 4), "")
                .Before("T3 Execut VI port tracking param start!",
                        "L3 VeskVideoExecutViPortTrackingParam enter inEngNo=4.")
                .EndsWith(After("T3 Execut VI port tracking param, inEngNo[4] result[0]",
                                Done("EXECUT_VI_TRACKING_PARAM")))
                .FailsWith(MessageFailed("EXECUT_VI_TRACKING_PARAM")),
            Row(CALL(VeskVideoGetViPortPtStatus, 4, &g_status), Head(68, 0, 0, 4), "")
                .Answer(Bytes(1))
                .Before("T3 Start Get VI port pt status",
                        "T3 #####send VESK_VIDEO_MSG_GET_VI_PT_STATUS start 4 #####\n")
                .EndsWith(After("T3 Get VI port pt status, inEngNo[4] result[0]", Done("GET_VI_PT_STATUS")))
                .FailsWith(MessageFailed("GET_VI_PT_STATUS")),
            Row(CALL(VeskVideoGetViPortAFStatus, 4, &g_status), Head(69, 0, 0, 4), "")
                .Answer(Bytes(1))
                .Before("T3 Start Get VI port af status",
                        "T3 #####send VESK_VIDEO_MSG_GET_VI_AF_STATUS start 4 #####\n")
                .EndsWith(After("T3 Get VI port af status, inEngNo[4] result[0]", Done("GET_VI_AF_STATUS")))
                .FailsWith(MessageFailed("GET_VI_AF_STATUS")),
            Row(CALL(VeskVideoViSetEptzMoveSpeed, 4, -2), Head(152, 4, 0xfffffffe), "VI_SET_EPTZ_MOVE_SPEED")
                .Args(": inEngNo=4 eptzMoveSpeed=-2.")
                .FailsWith(After("L1 ViSetEptzMoveSpeed, inEngNo=4 result=9",
                                 Failed("VeskVideoViSetEptzMoveSpeed"))),
            Row(CALL(VeskVideoSetVirtualViSrc, 4, path.c_str()), Head(120, 4), "SET_VIRTUAL_VI_PARAM")
                .Payload(pathBytes)
                .Before("L3 #####send VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM start 4 #####\n")
                .FailsByMessage(),
            Row(CALL(VeskVideoSetAppCaptureParam, 4, &appIn), Head(104, 4), "SET_APP_CAPTURE_PARAM")
                .Payload(BytesOf(appIn))
                .Then("L3 VeskVideoSetAppCaptureParam: inEngNo=4.",
                      "L3 appInParam: app 1234605616436508552 1 2 3 4000000000 -5.")
                .FailsWith(OnBoth("VeskVideoSetAppCaptureParam failed[9] 4.")),
            Row(CALL(VeskVideoSetAndroidContext, vm, context), Head(160, 0x123456789, 2),
                "INIT_ANDROID_OBJECTS")
                .Then("L3 VeskVideoSetAndroidContext enter.", "L3 Init Android Objects"),
            Row(CALL(VeskVideoSetAndroidProjection, -1, context), Head(161, UINT64_MAX, 2),
                "SET_ANDROID_MMEDIA_PROJECTION")
                .Then("L3 VeskVideoSetAndroidProjection enter resultCode:4294967295.",
                      "L3 Set Android MediaProjection, resultCode=-1")
                .FailsByMessage(),
            Row(CALL(VeskVideoGetCapability, 6, &g_capability), Head(153, 0, 6), "GET_CAPABILITY")
                .Answer(Bytes(8))
                .FailsByMessage(),
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
    Drive(
        kSource,
        {
            IsNull(CALL(VeskVideoGetViCount, nullptr), 1, "GET_VI_COUNT", "count"),
            Refusal(CALL(VeskVideoGetViPort, nullptr, 3), 2, Start("GET_VI_PORT"),
                    "L1 param error, viPortInfo is null or count is 0"),
            Refusal(CALL(VeskVideoGetViPort, g_ports, 0), 2, Start("GET_VI_PORT"),
                    "L1 param error, viPortInfo is null or count is 0"),
            Refusal(CALL(VeskVideoViOpen, 1, nullptr), 1, Start("OPEN_VI_PORT"),
                    "L3 VeskVideoViOpen: viPort=1.", "L1 VeskVideoViOpen: inEngNo is NULL!"),
            Refusal(CALL(VeskVideoViGetParam, 1, nullptr), 1,
                    "T3 #####send VESK_VIDEO_MSG_GET_VI_PARAM start 1 #####\n",
                    "L1 VeskVideoViGetParam: viPortParam is NULL!"),
            IsNull(CALL(VeskVideoViSetParam, 1, nullptr), 1, "SET_VI_PARAM", "viPortParam"),
            Refusal(CALL(VeskVideoViGetQueHandle, 1, nullptr), 1, Start("GET_VI_QUE_HANDLE"),
                    "L3 VeskVideoViGetQueHandle: inEngNo=1.",
                    "L1 VeskVideoViGetQueHandle: queHandle is NULL!"),
            Refusal(CALL(VeskVideoReplaceInput, "any", 1), 0),
            Refusal(CALL(VeskVideoCamControl, 1, 23, g_control, 12), 2, "L1 wrong ctrl param[23]"),
            Refusal(CALL(VeskVideoCamSetPreset, 1, nullptr), 1,
                    "L1 VeskVideoCamSetPreset: presetInfo is NULL!"),
            IsNull(CALL(VeskVideoCamGetPresetCount, nullptr), 1, "VeskVideoCamGetPresetCount", "count"),
            IsNull(CALL(VeskVideoCamQueryPreset, 1, nullptr, 5), 1, "VeskVideoCamQueryPreset", "presetInfo"),
            Refusal(CALL(VeskVideoCamGetBoundaryState, 1, nullptr), 1,
                    "L1 VeskVideoCamGetBoundaryState: boundaryState is NULL!"),
            Refusal(CALL(VeskVideoCamGetPreset, 1, 2), 0),
            Refusal(CALL(VeskVideoCamGetPosition), 0),
            Refusal(CALL(VeskVideoSetViPortEptzParam, 92, nullptr), 3, Start("SET_VI_CUTOUT_PARAM"),
                    "L1 port[92] is invalid"),
            IsNull(CALL(VeskVideoSetViPortEptzParam, 91, nullptr), 1, "SET_VI_CUTOUT_PARAM", "eptzParams"),
            Refusal(CALL(VeskVideoSetViPortPtzfParam, UINT32_MAX, &g_ptzf), 3, Start("SET_VI_PTZF_PARAM"),
                    "L1 port[4294967295] is invalid"),
            IsNull(CALL(VeskVideoSetViPortPtzfParam, 0, nullptr), 1, "SET_VI_PTZF_PARAM", "ptzfParams"),
            Refusal(CALL(VeskVideoGetViPortEptzParam, 1, nullptr), 1, "T3 Get VI port cutout param start!",
                    "T3 #####send VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM start 1 #####\n",
                    "L1 VeskVideoGetViPortEptzParam: eptzParams is NULL!"),
            Refusal(CALL(VeskVideoGetViPortPtzfParam, 1, nullptr), 2, "T3 Get VI port ptzf param start!",
                    "T3 #####send VESK_VIDEO_MSG_GET_VI_PTZF_PARAM start 1 #####\n",
                    "T1 VESK_VIDEO_MSG_GET_VI_PTZF_PARAM fail[2].",
                    "L1 VESK_VIDEO_MSG_GET_VI_PTZF_PARAM fail[2]."),
            Refusal(CALL(VeskVideoGetViPortPtStatus, 1, nullptr), 1, "T3 Start Get VI port pt status",
                    "T3 #####send VESK_VIDEO_MSG_GET_VI_PT_STATUS start 1 #####\n",
                    "L1 VeskVideoGetViPortPtStatus: status is NULL!"),
            Refusal(CALL(VeskVideoSetVirtualViSrc, 1, nullptr), 1,
                    "L3 #####send VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM start 1 #####\n",
                    "L1 VeskVideoSetVirtualViSrc: filePath is NULL!"),
            Refusal(CALL(VeskVideoSetVirtualViSrc, 1, longPath.c_str()), 2,
                    "L3 #####send VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM start 1 #####\n",
                    "L1 the length of filePath is too long"),
            Refusal(CALL(VeskVideoSetAppCaptureParam, 1, nullptr), 2, Start("SET_APP_CAPTURE_PARAM"),
                    "L3 VeskVideoSetAppCaptureParam: inEngNo=1.",
                    "L1 VeskVideoSetAppCaptureParam: appInParam is NULL!"),
            Refusal(CALL(VeskVideoSetAppCaptureParam, 1, &noTask), 2, Start("SET_APP_CAPTURE_PARAM"),
                    "L3 VeskVideoSetAppCaptureParam: inEngNo=1.",
                    "L3 appInParam: " + std::string(256, 't') + " 0 1 2 3 4000000000 -5.",
                    "L1 taskHandle is null"),
            Refusal(CALL(VeskVideoSetAndroidContext, nullptr, nullptr), 1, Start("INIT_ANDROID_OBJECTS"),
                    "L3 VeskVideoSetAndroidContext enter.", "L1 VeskVideoSetAndroidContext: javaVm is NULL!"),
            Refusal(CALL(VeskVideoSetAndroidContext, g_control, nullptr), 1, Start("INIT_ANDROID_OBJECTS"),
                    "L3 VeskVideoSetAndroidContext enter.",
                    "L1 VeskVideoSetAndroidContext: javaContext is NULL!"),
            IsNull(CALL(VeskVideoGetCapability, 1, nullptr), 1, "GET_CAPABILITY", "capability"),
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
