// Input ports.
#include "support/request_table.h"

#include <gtest/gtest.h>

#include <chrono>

using namespace recording;
using namespace request_table;

static const Family inputs("vesk_video_interface", FailureForm::kFunction, [] {
    constexpr uint32_t kPort = 0xfffffffe; // zero-extended, never sign-extended
    static const VeskVideoViPortParam param{1, 4000000000, 200, 255, {}, -1, 2, -3, 4, -5, 6};
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_GET_VI_COUNT, 5, VeskVideoGetViCount, Out()).Null("count")
            .End("#####send %m msg[0] 77 #####\n").Fails(FailureForm::kMessage),
        ROW(VESK_VIDEO_MSG_GET_VI_PORT, 6, VeskVideoGetViPort, Out{3}, 3).Head(3)
            .NullIs("L1 param error, viPortInfo is null or count is 0", 2)
            .Refuses(2, {"L1 param error, viPortInfo is null or count is 0"},
                [] { return VeskVideoGetViPort(reinterpret_cast<VeskVideoViPortInfo*>(8), 0); })
            .Fails(FailureForm::kMessage),
        ROW(VESK_VIDEO_MSG_OPEN_VI_PORT, 9, VeskVideoViOpen, kPort, Out()).Head(kPort)
            .Says("%s: viPort=4294967294.").Null("inEngNo").End("#####send %m msg[0] 77 #####\n"),
        ROW(VESK_VIDEO_MSG_CLOSE_VI_PORT, 11, VeskVideoViClose, 4).Head(4).Says("%s: inEngNo=4."),
        ROW(VESK_VIDEO_MSG_SET_VI_PARAM, 12, VeskVideoViSetParam, 4, &param).Head(4).Null("viPortParam")
            .Says("%s: 1 4000000000 200 255 -1 2 -3 4 -5 6."),
        ROW(VESK_VIDEO_MSG_GET_VI_PARAM, 13, VeskVideoViGetParam, 4, Out()).Head(4).Bare()
            .Traces("#####send %m start 4 #####\n").Null("viPortParam"),
        ROW(VESK_VIDEO_MSG_SET_VI_CONNECT, 14, VeskVideoViConnect, 4, 5).Head(4, 5)
            .Says("%s: inEngNo=4 stmNo=5."),
        ROW(VESK_VIDEO_MSG_SET_VI_DISCONNECT, 15, VeskVideoViDisconnect, 4, 5).Head(4, 5)
            .Says("%s: inEngNo=4 stmNo=5."),
        ROW(VESK_VIDEO_MSG_VI_START, 16, VeskVideoViStart, 4).Head(4).Says("%s: inEngNo=4."),
        ROW(VESK_VIDEO_MSG_VI_STOP, 17, VeskVideoViStop, 4).Head(4).Says("%s: inEngNo=4."),
        ROW(VESK_VIDEO_MSG_VI_MODIFY_INPUT, 18, VeskVideoViModifyInput, 4, 5).Head(4, 5)
            .Says("%s: inEngNo=4 stmNo=5.").FailsFirst("Modify input, inEngNo[4] stmNo[5] result[9]"),
        ROW(VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID, 70, VeskVideoSetViFaceQueHandle, 65541, 9).Head(9, 0, 5)
            .IsAsynchronous().Says("%s enter inEngNo=65541 queId=9.").Fails(FailureForm::kMessage),
        ROW(VESK_VIDEO_MSG_ENCODER_FREEZE, 137, VeskVideoViFreeze, 4, 255, "frozen", 3).Head(4, 255)
            .Payload({std::byte{'f'}, std::byte{'r'}, std::byte{'o'}}).Bare()
            .Says("%s inEngNo=4 flag=255 length=3").Start(),
        ROW(VESK_VIDEO_MSG_ENCODER_FREEZE, 137, VeskVideoViFreeze, 4, 0, nullptr, 16).Head(4).Bare()
            .Says("%s inEngNo=4 flag=0 length=16").Start(),
        ROW(VESK_VIDEO_MSG_VI_ENABLE, 138, VeskVideoViEnable, 2).Head(2).Bare().Says("vi enable, viPort=2")
            .Start().Says("%s: viPort=2."),
        ROW(VESK_VIDEO_MSG_VI_DISABLE, 139, VeskVideoViDisable, 2).Head(2).Says("%s: viPort=2.")
            .Fails({"T1 %s failed[9] 2.", "L1 %s failed[9] 2."}),
    };
    // clang-format on
});

static const HasOwnTest queue(VESK_VIDEO_MSG_GET_VI_QUE_HANDLE);

TEST(Input, TheQueueIsWaitedFor)
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
        uint32_t queHandle = 44;
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(VeskVideoViGetQueHandle(4, &queHandle), c.result);
        const auto pauses = c.attempts == 20 ? 20 : c.attempts - 1;
        EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100) * pauses);
        ASSERT_EQ(Get().sent.size(), c.attempts);
        EXPECT_EQ(BytesOf(Get().sent.back().Head()), BytesOf(VeskVideoMsgHead{0, 10, 0, 4, 0, 0}));
        EXPECT_EQ(queHandle, c.result == 0 ? 55U : 44U);
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
    EXPECT_EQ(VeskVideoViGetQueHandle(4, nullptr), 1U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VeskVideoViGetQueHandle: queHandle is NULL!");
}
