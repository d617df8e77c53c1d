// Input ports.
#include "support/request_table.h"

#include <gtest/gtest.h>

#include <chrono>
#include <csignal>

#include <sys/time.h>

static constexpr uint32_t kPort = 0xfffffffe; // zero-extended, never sign-extended
static const VeskVideoViPortParam param{1, 4000000000, 200, 255, {}, -1, 2, -3, 4, -5, 6};

// clang-format off
static const Family inputs("vesk_video_interface", "function", [] { return Rows{
    ROW(GET_VI_COUNT, 5, GetViCount, Out).Sends({}, "start|?1 count|>T3 {%m msg[0] 77 }\n|!message"),
    ROW(GET_VI_PORT, 6, GetViPort, Out(3), 3)
        .Sends({3}, "start|?2 L1 param error, viPortInfo is null or count is 0|!message"),
    ROW(GET_VI_PORT, 6, GetViPort, Out, 0)
        .Refused(2, "start|L1 param error, viPortInfo is null or count is 0"),
    ROW(OPEN_VI_PORT, 9, ViOpen, kPort, Out)
        .Sends({kPort}, "start|L3 %s: viPort=4294967294.|?1 inEngNo|>T3 {%m msg[0] 77 }\n"),
    ROW(CLOSE_VI_PORT, 11, ViClose, 4).Sends({4}, "start|L3 %s: inEngNo=4."),
    ROW(SET_VI_PARAM, 12, ViSetParam, 4, &param)
        .Sends({4}, "start|?1 viPortParam|L3 %s: 1 4000000000 200 255 -1 2 -3 4 -5 6."),
    ROW(GET_VI_PARAM, 13, ViGetParam, 4, Out).Sends({4}, "T3 {%m start 4 }\n|?1 viPortParam"),
    ROW(SET_VI_CONNECT, 14, ViConnect, 4, 5).Sends({4, 5}, "start|L3 %s: inEngNo=4 stmNo=5."),
    ROW(SET_VI_DISCONNECT, 15, ViDisconnect, 4, 5).Sends({4, 5}, "start|L3 %s: inEngNo=4 stmNo=5."),
    ROW(VI_START, 16, ViStart, 4).Sends({4}, "start|L3 %s: inEngNo=4."),
    ROW(VI_STOP, 17, ViStop, 4).Sends({4}, "start|L3 %s: inEngNo=4."),
    ROW(VI_MODIFY_INPUT, 18, ViModifyInput, 4, 5).Sends({4, 5}, "start|L3 %s: inEngNo=4 stmNo=5.|"
        "!L1 Modify input, inEngNo[4] stmNo[5] result[9]|!function"),
    ROW(SET_CAMERA_QUEUE_ID, 70, SetViFaceQueHandle, 65541, 9)
        .Sends({9, 0, 5}, "start|L3 %s enter inEngNo=65541 queId=9.|!message"),
    ROW(ENCODER_FREEZE, 137, ViFreeze, 4, 255, In(3), 3)
        .Sends({4, 255}, "L3 %s inEngNo=4 flag=255 length=3|start"),
    ROW(ENCODER_FREEZE, 137, ViFreeze, 4, 0, nullptr, 16)
        .Sends({4}, "L3 %s inEngNo=4 flag=0 length=16|start"),
    ROW(VI_ENABLE, 138, ViEnable, 2).Sends({2}, "L3 vi enable, viPort=2|start|L3 %s: viPort=2."),
    ROW(VI_DISABLE, 139, ViDisable, 2).Sends({2}, "start|L3 %s: viPort=2.|!B1 %s failed[9] 2."),
}; });
// clang-format on

TEST(Input, TheQueueIsWaitedFor)
{
    const struct {
        std::vector<uint16_t> results; // the last one again and again
        size_t attempts;
        int pauses; // of 100 ms
        uint32_t result;
        std::string lines;
    } cases[] = {
        // clang-format off
        {{4}, 20, 20, 4, "T1 get queHandle is fail timeout, inEngNo[4]|function"}, {{7}, 1, 0, 7, "function"},
        {{1, 1, 1, 0}, 4, 3, 0, "end"}, {{4, 2}, 2, 1, 2, "function"}, {{4, 3}, 2, 1, 3, "function"},
        // clang-format on
    };
    std::signal(SIGALRM, [](int) {}); // signals do not shorten a pause
    itimerval often{{0, 10000}, {0, 10000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    for (const auto& c : cases) {
        Reset();
        Get().answer = [&c](const Sent&) {
            const uint16_t result = c.results[std::min(Get().sent.size(), c.results.size()) - 1];
            return Answer{0, Block({0, 0, result, 0, 0, 0}, result == 0 ? BytesOf(uint32_t{55}) : Bytes())};
        };
        uint32_t queHandle = 44;
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(VeskVideoViGetQueHandle(4, &queHandle), c.result);
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(100) * c.pauses);
        ASSERT_EQ(Get().sent.size(), c.attempts);
        EXPECT_EQ(Get().sent.back().data, Block({0, 10, 0, 4, 0, 0}));
        EXPECT_EQ(queHandle, c.result == 0 ? 55U : 44U);
        EXPECT_EQ(RequestLines(),
                  Expand("start|L3 %s: inEngNo=4.|L3 queId=44|" + c.lines, "VeskVideoViGetQueHandle",
                         "VESK_VIDEO_MSG_GET_VI_QUE_HANDLE", "vesk_video_interface", c.result));
    }
    often = {};
    setitimer(ITIMER_REAL, &often, nullptr);
    EXPECT_EQ(VeskVideoViGetQueHandle(4, nullptr), 1U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VeskVideoViGetQueHandle: queHandle is NULL!");
}
