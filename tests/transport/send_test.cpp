// The three sends and the two readers of answers, byte by byte and line by line.
#include "support/failing_malloc.h"
#include "support/recording_platform.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace recording;

namespace {

using Lines = std::vector<std::string>;

constexpr VeskVideoMsgHead kHead{0, 27, 3, 0x1122334455667788, 9, 0};
const std::string kError = "L1 zora_msg_adapt ";

uint32_t Plain(const void* payload = nullptr, uint32_t payloadLen = 0)
{
    return VeskVideoSendSyncMsgWithoutResponse(&kHead, payload, payloadLen);
}

uint32_t Query(const void* payload, uint32_t payloadLen, void* out, uint32_t outLen = 4)
{
    return VeskVideoSendSyncMsg(&kHead, payload, payloadLen, out, outLen);
}

Lines ErrorLines()
{
    Lines lines;
    for (const std::string& line : Get().lines) {
        if (line.starts_with(kError))
            lines.push_back(line.substr(kError.size()));
    }
    return lines;
}

Lines Twice(const std::string& line)
{
    return line.empty() ? Lines{} : Lines{line, line};
}

class SendTest : public testing::Test {
protected:
    void SetUp() override { Reset(); }
    void TearDown() override { EXPECT_EQ(Get().unreleased, 0); }
};

} // namespace

TEST_F(SendTest, EveryFieldOfTheEnvelopeStandsAtItsPlace)
{
    std::strcpy(NORTH_RECV_PROC_NAME + 6, "tail"); // goes along after the first NUL
    ASSERT_EQ(Plain("payload", 7), VESK_VIDEO_OK);
    std::memset(NORTH_RECV_PROC_NAME + 6, 0, 10);

    ASSERT_EQ(Get().sent.size(), 1U);
    const Sent& sent = Get().sent[0];
    EXPECT_TRUE(sent.isSynchronous);
    EXPECT_EQ(sent.timeout, 5000U);
    OsMsgEnvelope expected{};
    expected.type = 1;
    std::strcpy(expected.sendProcName, VeskVideoGetServiceName());
    std::memcpy(expected.sendTaskName, "VAPI", 4);
    expected.msgId = 27;
    std::memcpy(expected.recvProcName, "VIDEO\0tail", 10);
    std::memcpy(expected.recvTaskName, "VCTL", 4);
    expected.dataLen = 31;
    expected.data = sent.envelope.data;
    EXPECT_EQ(std::memcmp(&sent.envelope, &expected, sizeof expected), 0);
    EXPECT_EQ(std::memcmp(sent.data.data(), &kHead, sizeof kHead), 0);
    EXPECT_EQ(std::memcmp(sent.Payload().data(), "payload", 7), 0);
}

TEST_F(SendTest, AsynchronousSendCarriesTheHeaderAloneAndReturnsWhatThePlatformSays)
{
    Get().asynResult = 0x1234;
    EXPECT_EQ(VeskVideoSendAsyncMsg(&kHead), 0x1234U);
    ASSERT_EQ(Get().sent.size(), 1U);
    EXPECT_FALSE(Get().sent[0].isSynchronous);
    EXPECT_EQ(Get().sent[0].envelope.type, 0U);
    EXPECT_EQ(Get().sent[0].envelope.msgId, 27U);
    EXPECT_EQ(Get().sent[0].data, BytesOf(kHead));
    EXPECT_EQ(Get().lines, Lines{"L3 zora_msg_adapt send sync msg: type=0, msgId=27, dataLen=24 "
                                 "uwSubMsgID=3, ulParam1=1234605616436508552, ulParam2=9\n"});
}

TEST_F(SendTest, LinesOfASuccessfulExchange)
{
    Plain();
    uint32_t out = 0;
    Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(0, BytesOf(uint32_t{42}))}; };
    EXPECT_EQ(Query(nullptr, 0, &out), VESK_VIDEO_OK);
    EXPECT_EQ(out, 42U);
    const std::string sent = "send sync msg: type=1, msgId=27, dataLen=24 uwSubMsgID=3, "
                             "ulParam1=1234605616436508552, ulParam2=9\n";
    EXPECT_EQ(Get().lines, (Lines{"T3 VeskVideoSendSyncMsgWithoutResponse " + sent,
                                  "T3 VeskVideoHeadleSyncResult recv video result success, ret=0",
                                  "T3 VeskVideoSendSyncMsg " + sent,
                                  "T3 VeskVideoHandleSyncResponse recv response success, dataLen = 4"}));
    const std::string format = "send sync msg: type=%d, msgId=%u, dataLen=%u uwSubMsgID=%u, ulParam1=%llu, "
                               "ulParam2=%u\n";
    EXPECT_EQ(Get().formats[0], format);
    EXPECT_EQ(Get().formats[2], "send sync msg: type=%d, msgId=%d, dataLen=%d uwSubMsgID=%d, ulParam1=%llu, "
                                "ulParam2=%d\n");
}

TEST_F(SendTest, AnswersAreJudgedByLengthAndResult)
{
    const Bytes head = AnswerBytes(0);
    const std::string plain = "response buf error, zoraMsgLen=24 rspBufLen=";
    const std::string query = "sync response error, msgId[27] dataLen[";
    const std::string asked = "response buf error, outBufLen=4 rspBufLen=";
    const struct {
        const char* what;
        Answer answer;
        uint32_t plainResult;
        std::string plainLine; // written twice
        uint32_t queryResult;
        std::string queryLine;
    } cases[] = {
        // clang-format off
        {"refused by the platform", {0x2a}, 1, "send sync msg Fail[0x2a]", 1, "send sync msg Fail[0x2a]"},
        {"no answer", {}, 1, "send sync msg Fail[0x0]", 1, "send sync msg Fail[0]"},
        {"23 bytes", {0, Bytes(head.begin(), head.end() - 1)}, 1, plain + "23", 1, query + "23]"},
        {"0 bytes", {0, Bytes()}, 1, plain + "0", 1, query + "0]"},
        {"a header without data", {0, {}, 24}, 1, plain + "24", 1, query + "24]"},
        {"28 bytes without data", {0, {}, 28}, 1, plain + "28", 1, query + "28]"},
        {"bare header, result 7", {0, AnswerBytes(7)}, 7, "", 7, ""},
        {"result 0xffff with payload", {0, AnswerBytes(0xffff, Bytes(5))}, 1, plain + "29", 0xffff, ""},
        {"payload as asked for", {0, AnswerBytes(0, Bytes(4))}, 1, plain + "28", 0, ""},
        {"payload too long", {0, AnswerBytes(0, Bytes(5))}, 1, plain + "29", 1, asked + "5"},
        {"payload too short", {0, AnswerBytes(0, Bytes(3))}, 1, plain + "27", 1, asked + "3"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Reset();
        Get().answer = [&c](const Sent&) { return c.answer; };
        EXPECT_EQ(Plain(), c.plainResult);
        EXPECT_EQ(ErrorLines(), Twice(c.plainLine));
        Get().lines.clear();
        uint32_t out = 0xabababab;
        EXPECT_EQ(Query(nullptr, 0, &out), c.queryResult);
        EXPECT_EQ(out, c.queryResult == 0 ? 0 : 0xabababab);
        EXPECT_EQ(ErrorLines(), Twice(c.queryLine));
        EXPECT_EQ(Get().unreleased, 0);
    }
}

TEST_F(SendTest, ArgumentsAreRefusedBeforeAnythingIsSent)
{
    uint32_t out = 0;
    const struct {
        const char* what;
        std::function<uint32_t()> call;
        Lines lines;
    } cases[] = {
        // clang-format off
        {"payload of no length", [] { return Plain("x", 0); }, Twice("input param error, rspBufLen=0")},
        {"one byte too long", [] { return Plain("x", 4194281); }, Twice("input param error, rspBufLen=4194281")},
        {"overflowing", [] { return Plain("x", UINT32_MAX); }, Twice("input param error, rspBufLen=-1")},
        {"no response buffer", [] { return Query(nullptr, 0, nullptr); },
         {"input param error, rspBufLen=4", "input param error, rspBuf rspBufLen=4"}},
        {"response buffer of no length", [&] { return Query(nullptr, 0, &out, 0); },
         {"input param error, rspBufLen=0", "input param error, rspBuf rspBufLen=0"}},
        {"query one byte too long", [&] { return Query("x", 4194281, &out); },
         Twice("msg data is too long, msgLen=4194281 totalLen=4194305")},
        {"query that overflows", [&] { return Query("x", UINT32_MAX, &out); },
         Twice("msg data is too long, msgLen=-1 totalLen=23")},
        {"length without a payload", [&] { return Query(nullptr, 8, &out); },
         {"input param error, payload is NULL, payloadLen=8"}},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Reset();
        EXPECT_EQ(c.call(), 2U);
        EXPECT_TRUE(Get().sent.empty());
        EXPECT_EQ(ErrorLines(), c.lines);
    }
}

TEST_F(SendTest, TheLimitBoundsHeaderAndPayloadTogether)
{
    const Bytes payload(4194280, std::byte{0x5a});
    uint32_t out = 0;
    EXPECT_EQ(Plain(payload.data(), 4194280), VESK_VIDEO_OK);
    EXPECT_EQ(Query(payload.data(), 4194280, &out), 1U); // answered without a payload
    for (const Sent& sent : Get().sent) {
        EXPECT_EQ(sent.data.size(), 4194304U);
        EXPECT_EQ(sent.Payload(), payload);
    }
    EXPECT_EQ(Plain(nullptr, 100), VESK_VIDEO_OK); // a null payload has no length
    ASSERT_EQ(Get().sent.size(), 3U);
    EXPECT_EQ(Get().sent.back().data.size(), 24U);
}

TEST_F(SendTest, FailedCopiesFailTheSendAndNothingLeaves)
{
    // Copies of a query: four names, header, payload, response.
    uint32_t out = 0;
    for (int failing = 1; failing <= 7; ++failing) {
        SCOPED_TRACE(failing);
        Reset();
        Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(0, Bytes(4))}; };
        Get().failingCopy = failing;
        EXPECT_EQ(Query("p", 1, &out), 1U);
        EXPECT_EQ(Get().sent.size(), failing == 7 ? 1U : 0U);
        EXPECT_EQ(ErrorLines().size(), failing <= 4 ? 1U : failing == 7 ? 2U : 0U);
    }
    EXPECT_EQ(ErrorLines(), Twice("memcpy_s failed, outBufLen=4 rspBufLen=4"));
    Reset();
    Get().failingCopy = 3;
    EXPECT_EQ(VeskVideoSendAsyncMsg(&kHead), 1U);
    EXPECT_EQ(ErrorLines(), Lines{"memcpy_s failed, recvTaskName[VCTL] recvProcName[VIDEO] sendProcName[] "
                                  "sendTaskName[]"});
    Get().failingCopy = 5;
    EXPECT_EQ(VeskVideoSendAsyncMsg(&kHead), 1U);
    Get().failingSet = 1;
    EXPECT_EQ(Plain(), 1U);
    EXPECT_TRUE(Get().sent.empty());
}

TEST_F(SendTest, WithoutMemoryASendFailsWithItsLine)
{
    if (!failing_malloc::IsAvailable())
        GTEST_SKIP() << "the sanitizer's allocator is in place";
    uint32_t out = 0;
    const Bytes payload(1000);
    Get().lines.reserve(8);
    Get().formats.reserve(8);
    Get().sourceLines.reserve(8);
    {
        const failing_malloc::Scope scope(1024);
        EXPECT_EQ(Plain(payload.data(), 1000), 1U);
        EXPECT_EQ(Query(payload.data(), 1000, &out), 1U);
    }
    EXPECT_EQ(ErrorLines(), Lines(4, "malloc failed, len=1024"));
    Get().lines.clear();
    {
        const failing_malloc::Scope scope(24);
        EXPECT_EQ(VeskVideoSendAsyncMsg(&kHead), 1U);
    }
    EXPECT_EQ(ErrorLines(), Twice("malloc failed, len=24"));
    EXPECT_TRUE(Get().sent.empty());
}

TEST_F(SendTest, ARequestAllocatesOnce)
{
    if (!failing_malloc::IsAvailable())
        GTEST_SKIP() << "the sanitizer's allocator is in place";
    Get().isQuiet = true;
    const VeskVideoVoPortParam param{};
    uint32_t out = 0;
    const size_t before = failing_malloc::Count();
    EXPECT_EQ(VeskVideoVoSetParam(1, &param), 1U);
    EXPECT_EQ(failing_malloc::Count(), before + 1);
    EXPECT_EQ(VeskVideoVoOpen(1, &out), 1U);
    EXPECT_EQ(failing_malloc::Count(), before + 2);
}
