// The three sends and the two readers of answers, byte by byte and line by line.
#include "support/failing_malloc.h"
#include "support/recording_platform.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <cstring>

namespace {

constexpr VeskVideoMsgHead kHead{0, 27, 3, 0x1122334455667788, 9, 0};
uint32_t g_out; // what a query fills

uint32_t Plain(const void* payload = nullptr, uint32_t payloadLen = 0)
{
    return VeskVideoSendSyncMsgWithoutResponse(&kHead, payload, payloadLen);
}

uint32_t Query(const void* payload, uint32_t payloadLen, void* out = &g_out, uint32_t outLen = 4)
{
    return VeskVideoSendSyncMsg(&kHead, payload, payloadLen, out, outLen);
}

/// The transport's lines in the module log, without their origin.
Lines ErrorLines()
{
    const std::string origin = "L1 zora_msg_adapt ";
    Lines lines = Get().lines;
    std::erase_if(lines, [&](const std::string& line) { return !line.starts_with(origin); });
    for (std::string& line : lines)
        line.erase(0, origin.size());
    return lines;
}

const auto twice = [](const std::string& line) { return Lines(line.empty() ? 0 : 2, line); };

class SendTest : public testing::Test {
protected:
    void SetUp() override { Reset(); }
    void TearDown() override { EXPECT_EQ(Get().unreleased, 0); }
};

} // namespace

TEST_F(SendTest, EveryFieldOfTheEnvelopeStandsAtItsPlace)
{
    std::strcpy(NORTH_RECV_PROC_NAME + 6, "tail"); // goes along after the first NUL
    EXPECT_EQ(Plain("payload", 7), VESK_VIDEO_OK);
    Get().results["OsMsgAsynSend"] = 0x1234;
    EXPECT_EQ(VeskVideoSendAsyncMsg(&kHead), 0x1234U);
    std::memset(NORTH_RECV_PROC_NAME + 6, 0, 10);

    ASSERT_EQ(Get().sent.size(), 2U);
    for (const uint32_t isPlain : {1U, 0U}) {
        const Sent& sent = Get().sent[1 - isPlain];
        const Bytes data = Block(kHead, isPlain ? BytesOf(*"payload", 7) : Bytes());
        OsMsgEnvelope expected{
            isPlain,           {}, 0, "", "VAPI", 27, 0, "VIDEO\0tail", "VCTL", {}, uint32_t(data.size()),
            sent.envelope.data};
        std::strcpy(expected.sendProcName, VeskVideoGetServiceName());
        EXPECT_EQ(BytesOf(sent.envelope), BytesOf(expected));
        EXPECT_EQ(sent.data, data);
        EXPECT_EQ(sent.timeout, isPlain ? 5000U : 0U);
    }
}

TEST_F(SendTest, LinesAndFormatsOfSuccessfulSends)
{
    const std::string head = "uwSubMsgID=3, ulParam1=1234605616436508552, ulParam2=9\n";
    const std::string sent = "send sync msg: type=1, msgId=27, dataLen=24 " + head;
    Plain();
    VeskVideoSendAsyncMsg(&kHead);
    Get().answer = [](const Sent&) { return Answer{0, Block({}, BytesOf(uint32_t{42}))}; };
    EXPECT_EQ(Query(nullptr, 0), VESK_VIDEO_OK);
    EXPECT_EQ(g_out, 42U);
    EXPECT_EQ(Get().lines, (Lines{"T3 VeskVideoSendSyncMsgWithoutResponse " + sent,
                                  "T3 VeskVideoHeadleSyncResult recv video result success, ret=0",
                                  "L3 zora_msg_adapt send sync msg: type=0, msgId=27, dataLen=24 " + head,
                                  "T3 VeskVideoSendSyncMsg " + sent,
                                  "T3 VeskVideoHandleSyncResponse recv response success, dataLen = 4"}));
    EXPECT_EQ(Get().formats[0],
              "send sync msg: type=%d, msgId=%u, dataLen=%u uwSubMsgID=%u, ulParam1=%llu, ulParam2=%u\n");
    EXPECT_EQ(Get().formats[3],
              "send sync msg: type=%d, msgId=%d, dataLen=%d uwSubMsgID=%d, ulParam1=%llu, ulParam2=%d\n");
}

TEST_F(SendTest, AnswersAreJudgedByLengthAndResult)
{
    const std::string plain = "response buf error, zoraMsgLen=24 rspBufLen=";
    const std::string query = "sync response error, msgId[27] dataLen[";
    const std::string asked = "response buf error, outBufLen=4 rspBufLen=";
    const auto answer = [](uint16_t result, size_t payload = 0) {
        return Answer{0, Block({0, 0, result, 0, 0, 0}, Bytes(payload))};
    };
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
        {"23 bytes", {0, Bytes(23)}, 1, plain + "23", 1, query + "23]"},
        {"0 bytes", {0, Bytes()}, 1, plain + "0", 1, query + "0]"},
        {"a header without data", {0, Bytes(), 24}, 1, plain + "24", 1, query + "24]"},
        {"28 bytes without data", {0, Bytes(), 28}, 1, plain + "28", 1, query + "28]"},
        {"bare header, result 7", answer(7), 7, "", 7, ""},
        {"result 0xffff with payload", answer(0xffff, 5), 1, plain + "29", 0xffff, ""},
        {"payload as asked for", answer(0, 4), 1, plain + "28", 0, ""},
        {"payload too long", answer(0, 5), 1, plain + "29", 1, asked + "5"},
        {"payload too short", answer(0, 3), 1, plain + "27", 1, asked + "3"},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        Reset();
        Get().answer = [&c](const Sent&) { return c.answer; };
        EXPECT_EQ(Plain(), c.plainResult);
        EXPECT_EQ(ErrorLines(), twice(c.plainLine));
        Get().lines.clear();
        g_out = 0xabababab;
        EXPECT_EQ(Query(nullptr, 0), c.queryResult);
        EXPECT_EQ(g_out, c.queryResult == 0 ? 0 : 0xabababab);
        EXPECT_EQ(ErrorLines(), twice(c.queryLine));
        EXPECT_EQ(Get().unreleased, 0);
    }
}

TEST_F(SendTest, ArgumentsAreRefusedBeforeAnythingIsSent)
{
    const std::string error = "input param error, ";
    const std::pair<std::function<uint32_t()>, Lines> cases[] = {
        // clang-format off
        {[] { return Plain("x", 0); }, twice(error + "rspBufLen=0")},
        {[] { return Plain("x", 4194281); }, twice(error + "rspBufLen=4194281")},
        {[] { return Plain("x", UINT32_MAX); }, twice(error + "rspBufLen=-1")},
        {[] { return VeskVideoAddFilterWindows(6, UINT32_MAX, "windows"); }, twice(error + "rspBufLen=-1")},
        {[] { return Query(nullptr, 0, nullptr); }, {error + "rspBufLen=4", error + "rspBuf rspBufLen=4"}},
        {[] { return Query(nullptr, 0, &g_out, 0); }, {error + "rspBufLen=0", error + "rspBuf rspBufLen=0"}},
        {[] { return Query("x", 4194281); }, twice("msg data is too long, msgLen=4194281 totalLen=4194305")},
        {[] { return Query("x", UINT32_MAX); }, twice("msg data is too long, msgLen=-1 totalLen=23")},
        {[] { return Query(nullptr, 8); }, {error + "payload is NULL, payloadLen=8"}},
        // clang-format on
    };
    for (const auto& [call, lines] : cases) {
        Reset();
        EXPECT_EQ(call(), 2U);
        EXPECT_TRUE(Get().sent.empty());
        EXPECT_EQ(ErrorLines(), lines);
    }
}

TEST_F(SendTest, TheLimitBoundsHeaderAndPayloadTogether)
{
    const Bytes payload(4194280, std::byte{0x5a});
    EXPECT_EQ(Plain(payload.data(), 4194280), VESK_VIDEO_OK);
    EXPECT_EQ(Query(payload.data(), 4194280), 1U); // answered without a payload
    EXPECT_EQ(Plain(nullptr, 100), VESK_VIDEO_OK); // a null payload has no length
    ASSERT_EQ(Get().sent.size(), 3U);
    for (size_t i = 0; i < 3; ++i)
        EXPECT_TRUE(Get().sent[i].data == Block(kHead, i < 2 ? payload : Bytes())) << i;
}

TEST_F(SendTest, FailedCopiesFailTheSendAndNothingLeaves)
{
    // Copies of a query: four names, header, payload, response.
    for (int failing = 1; failing <= 7; ++failing) {
        SCOPED_TRACE(failing);
        Reset(0, Bytes(4));
        Get().failingCopy = failing;
        EXPECT_EQ(Query("p", 1), 1U);
        EXPECT_EQ(Get().sent.size(), failing == 7 ? 1U : 0U);
        EXPECT_EQ(ErrorLines().size(), failing <= 4 ? 1U : failing == 7 ? 2U : 0U);
    }
    EXPECT_EQ(ErrorLines(), twice("memcpy_s failed, outBufLen=4 rspBufLen=4"));
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

TEST_F(SendTest, ARequestAllocatesOnceAndFailsWithoutMemory)
{
    const std::string payload(1000, 'p');
    const std::tuple<size_t, std::function<uint32_t()>, std::string> cases[] = {
        {1024, [&] { return Plain(payload.data(), 1000); }, "malloc failed, len=1024"},
        {1024, [&] { return Query(payload.data(), 1000); }, "malloc failed, len=1024"},
        {24, [] { return VeskVideoSendAsyncMsg(&kHead); }, "malloc failed, len=24"},
    };
    for (const auto& [size, call, line] : cases) {
        Reset();
        {
            const failing_malloc::Scope scope(size);
            EXPECT_EQ(call(), 1U);
        }
        EXPECT_EQ(ErrorLines(), twice(line));
        EXPECT_TRUE(Get().sent.empty());
    }
    Get().isQuiet = true; // and a request allocates once
    const VeskVideoVoPortParam param{};
    const size_t before = failing_malloc::Count();
    EXPECT_EQ(VeskVideoVoSetParam(1, &param), 1U);
    EXPECT_EQ(failing_malloc::Count(), before + 1);
    EXPECT_EQ(VeskVideoVoOpen(1, &g_out), 1U);
    EXPECT_EQ(failing_malloc::Count(), before + 2);
}
