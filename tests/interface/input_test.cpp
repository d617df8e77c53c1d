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
            Row(CALL(VeskVideoGetViCount, &g_number), Head(5)).Answer(BytesOf(uint32_t{3})),
            Row(CALL(VeskVideoGetViPort, g_ports, 3), Head(6, 3)).Answer(Bytes(972)),
            Row(CALL(VeskVideoViOpen, port, &g_number), Head(9, port)).Answer(BytesOf(uint32_t{77})),
            Row(CALL(VeskVideoViGetParam, 4, &g_param), Head(13, 4)).Answer(BytesOf(kParam)),
            Row(CALL(VeskVideoViSetParam, 4, &kParam), Head(12, 4)).Payload(BytesOf(kParam)),
            Row(CALL(VeskVideoViConnect, 4, 5), Head(14, 4, 5)),
            Row(CALL(VeskVideoViDisconnect, 4, 5), Head(15, 4, 5)),
            Row(CALL(VeskVideoViModifyInput, 4, 5), Head(18, 4, 5)),
            Row(CALL(VeskVideoViFreeze, 4, 255, "frozen", 3), Head(137, 4, 255))
                .Payload({std::byte{'f'}, std::byte{'r'}, std::byte{'o'}}),
            Row(CALL(VeskVideoViFreeze, 4, 0, nullptr, 16), Head(137, 4)),
            Row(CALL(VeskVideoViClose, 4), Head(11, 4)),
            Row(CALL(VeskVideoViStart, 4), Head(16, 4)),
            Row(CALL(VeskVideoViStop, 4), Head(17, 4)),
            Row(CALL(VeskVideoViEnable, 2), Head(138, 2)),
            Row(CALL(VeskVideoViDisable, 2), Head(139, 2)),
            Row(CALL(VeskVideoSetViFaceQueHandle, 65541, 9), Head(70, 9, 0, 5)).IsAsynchronous(),
            Row(CALL(VeskVideoCamControl, 4, 22, g_control, 12), Head(147, 4, 22)).Payload(controlBytes),
            Row(CALL(VeskVideoCamControl, 4, -1, nullptr, 12), Head(147, 4, 0xffffffff)),
            Row(CALL(VeskVideoCamControl, 4, 16, g_control, 12), Head(147, 4, 16)).Answer(Bytes(12)),
            Row(CALL(VeskVideoCamSetPreset, 65538, &kPreset), Head(148, 0, 0, 2)).Payload(BytesOf(kPreset)),
            Row(CALL(VeskVideoCamGetPresetCount, &g_number), Head(149)).Answer(Bytes(4)),
            Row(CALL(VeskVideoCamQueryPreset, 3, g_presets, 5), Head(150, 3, 5)).Answer(Bytes(40)),
            Row(CALL(VeskVideoCamGetBoundaryState, 65538, &g_boundary), Head(151, 0, 0, 2)).Answer(Bytes(8)),
            Row(CALL(VeskVideoSetViPortEptzParam, 91, &eptz), Head(63, 0, 0, 91)).Payload(BytesOf(eptz)),
            Row(CALL(VeskVideoSetViPortPtzfParam, 91, &ptzf), Head(64, 0, 0, 91)).Payload(BytesOf(ptzf)),
            Row(CALL(VeskVideoGetViPortEptzParam, 65540, &g_eptz), Head(65, 0, 0, 4)).Answer(BytesOf(eptz)),
            Row(CALL(VeskVideoGetViPortPtzfParam, 4, &g_ptzf), Head(66, 0, 0, 4)).Answer(BytesOf(ptzf)),
            Row(CALL(VeskVideoExecutViPortTrackingParam, 4), Head(67, 0, 0, 4)),
            Row(CALL(VeskVideoGetViPortPtStatus, 4, &g_status), Head(68, 0, 0, 4)).Answer(Bytes(1)),
            Row(CALL(VeskVideoGetViPortAFStatus, 4, &g_status), Head(69, 0, 0, 4)).Answer(Bytes(1)),
            Row(CALL(VeskVideoViSetEptzMoveSpeed, 4, -2), Head(152, 4, 0xfffffffe)),
            Row(CALL(VeskVideoSetVirtualViSrc, 4, path.c_str()), Head(120, 4)).Payload(pathBytes),
            Row(CALL(VeskVideoSetAppCaptureParam, 4, &appIn), Head(104, 4)).Payload(BytesOf(appIn)),
            Row(CALL(VeskVideoSetAndroidContext, vm, context), Head(160, 0x123456789, 2)),
            Row(CALL(VeskVideoSetAndroidProjection, -1, context), Head(161, UINT64_MAX, 2)),
            Row(CALL(VeskVideoGetCapability, 6, &g_capability), Head(153, 0, 6)).Answer(Bytes(8)),
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
    Drive(kSource, std::vector<Refusal>{
                       {CALL(VeskVideoGetViCount, nullptr), 1},
                       {CALL(VeskVideoGetViPort, nullptr, 3), 2},
                       {CALL(VeskVideoGetViPort, g_ports, 0), 2},
                       {CALL(VeskVideoViOpen, 1, nullptr), 1},
                       {CALL(VeskVideoViGetParam, 1, nullptr), 1},
                       {CALL(VeskVideoViSetParam, 1, nullptr), 1},
                       {CALL(VeskVideoViGetQueHandle, 1, nullptr), 1},
                       {CALL(VeskVideoReplaceInput, "any", 1), 0},
                       {CALL(VeskVideoCamControl, 1, 23, g_control, 12), 2},
                       {CALL(VeskVideoCamSetPreset, 1, nullptr), 1},
                       {CALL(VeskVideoCamGetPresetCount, nullptr), 1},
                       {CALL(VeskVideoCamQueryPreset, 1, nullptr, 5), 1},
                       {CALL(VeskVideoCamGetBoundaryState, 1, nullptr), 1},
                       {CALL(VeskVideoCamGetPreset, 1, 2), 0},
                       {CALL(VeskVideoCamGetPosition), 0},
                       {CALL(VeskVideoSetViPortEptzParam, 92, nullptr), 3},
                       {CALL(VeskVideoSetViPortEptzParam, 91, nullptr), 1},
                       {CALL(VeskVideoSetViPortPtzfParam, UINT32_MAX, &g_ptzf), 3},
                       {CALL(VeskVideoSetViPortPtzfParam, 0, nullptr), 1},
                       {CALL(VeskVideoGetViPortEptzParam, 1, nullptr), 1},
                       {CALL(VeskVideoGetViPortPtzfParam, 1, nullptr), 2},
                       {CALL(VeskVideoGetViPortPtStatus, 1, nullptr), 1},
                       {CALL(VeskVideoSetVirtualViSrc, 1, nullptr), 1},
                       {CALL(VeskVideoSetVirtualViSrc, 1, longPath.c_str()), 2},
                       {CALL(VeskVideoSetAppCaptureParam, 1, nullptr), 2},
                       {CALL(VeskVideoSetAppCaptureParam, 1, &noTask), 2},
                       {CALL(VeskVideoSetAndroidContext, nullptr, nullptr), 1},
                       {CALL(VeskVideoSetAndroidContext, g_control, nullptr), 1},
                       {CALL(VeskVideoGetCapability, 1, nullptr), 1},
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
