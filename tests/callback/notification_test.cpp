// The road of a notification from the message procedure to the application's callback.
#include "support/processes.h"
#include "support/request_table.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <set>
#include <thread>
#include <tuple>

#include <sys/wait.h>
#include <unistd.h>

using vesk::messages::kNotifications;

namespace {

using Delivered = std::tuple<uint32_t, std::optional<Bytes>, uint32_t>; // number, data (none: null), length
std::vector<Delivered> g_delivered;
size_t g_readable = 0; // bytes that the test knows to follow the next data pointer
const std::string kError = "L1 vesk_video_callback ";

uint32_t Record(uint32_t notifyId, void* data, uint32_t dataLen)
{
    auto& bytes = std::get<1>(g_delivered.emplace_back(notifyId, std::nullopt, dataLen));
    if (const auto* begin = static_cast<const std::byte*>(data); begin != nullptr)
        bytes.emplace(begin, begin + std::max<size_t>(dataLen, std::exchange(g_readable, 0)));
    return 1;
}

OsMsgEnvelope Envelope(uint32_t msgId, Bytes& data)
{
    return {1, {}, 2, "VIDEO", "VCTL", msgId, 3, "app", "VAPI", {}, uint32_t(data.size()), data.data()};
}

/// Hands a message over in a block of exactly its length, so that reading past it is seen. Returns the lines
/// between those that every message has.
Lines Receive(uint32_t msgId, const Bytes& payload = {}, const VeskVideoMsgHead& head = {})
{
    Bytes data = Block(head, payload);
    data.shrink_to_fit();
    OsMsgEnvelope envelope = Envelope(msgId, data);
    Get().lines.clear();
    Get().sourceLines.clear();
    EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(&envelope), 0U);
    if (Get().isQuiet)
        return {};
    const Lines& lines = Get().lines;
    EXPECT_EQ(lines.front(), "T3 VeskProcDealToNorthInterfaceMsg ##### NorthInterfaceMsg enter #####");
    EXPECT_EQ(lines.end()[-2],
              "T3 VeskVideoCtrlToNorthMsg recv video msg: type=1, msgId=" + std::to_string(msgId) +
                  ", sendCpuId=2, sendProcName=VIDEO, sendTaskName=VCTL\n\trecvCpuId=3, "
                  "recvProcName=app, recvTaskName=VAPI, dataLen=" +
                  std::to_string(data.size()) + "\n");
    EXPECT_EQ(lines.back(), "T3 VeskProcDealToNorthInterfaceMsg ##### NorthInterfaceMsg end #####");
    return Lines(lines.begin() + 1, lines.end() - 2);
}

/// Installs @p callback, or takes it away.
void Install(VeskVideoNotifyCallback callback)
{
    const VeskVideoCallbackInfo info{callback, {}};
    EXPECT_EQ(callback != nullptr ? VeskVideoSetCallback(&info) : VeskVideoExit(), 0U);
}

class NotificationTest : public testing::Test {
protected:
    void SetUp() override
    {
        Reset();
        Install(Record); // takes what an earlier test left held
        Reset();
        g_delivered.clear();
    }
};

} // namespace

TEST_F(NotificationTest, EachHandlerTracesAndDelivers)
{
    constexpr VeskVideoMsgHead kHead{0, 0, 0, 0xaaaaaaaa00000005, 6, 0};
    VeskVideoDisplayLink link{-1, {}, 1, {}, 7, {}};
    std::memset(link.portName, 'p', sizeof link.portName); // a name without a NUL
    const std::string shownLink =
        "T3 VI[-1]:portName[" + std::string(64, 'p') + "] isDec[1] surfaceId[7] dataLen[80]";
    const Bytes any(5, std::byte{9}), loop = BytesOf(NotifyLoopState{5, 6});
    const Bytes param1 = BytesOf(kHead.ulParam1), param2 = BytesOf(kHead.ulParam2);

    struct Case {
        uint32_t id;
        std::string handler, lines;
        Bytes payload;
        std::optional<Bytes> data = {}; // none: the payload is passed on
        std::optional<uint32_t> dataLen = {};
    };
    std::vector<Case> cases = {
        // clang-format off
        {0, "MsgOnLocalLoopStateNotify", "entry|T3 loop action=5 result=6", {}, loop, 8},
        {1, "MsgOnEncResourceInsufficient", "entry|T3 Enc Resource Insufficient[5]", {}, param1, 4},
        {2, "MsgOnEncodeOverloadStatusNotify", "entry|L3 %s data: encStmNo-3,rts-4.",
            BytesOf(VeskVideoEncOverloadStatus{3, 4})},
        {3, "MsgOnReCreateDecNotify", "entry|T3 Notify ReCreate Dec[6]", {}, param2, 4},
        {4, "MsgOnDecodeStateNotify", "entry", any},
        {5, "MsgOnIFrameRequestNotify", "entry", {}, param1},
        {6, "MsgOnWallPaperDecOkNotify", "entry", any, param1},
        {100, "MsgOnVoPortPlugStateNotify", "entry|T3 vo in notify port = 1, val = 2",
            BytesOf(VeskVideoVoPortPlugState{1, {}, 2})},
        {101, "MsgOnVoPortDdcInfoNotify", "entry|T3 ddcInfo:port[1] Width[1920] height[1080] fr[60]",
            BytesOf(VeskVideoVoPortDdcInfo{1, {}, 1920, 1080, 60})},
        {102, "MsgOnViPortPlusStateNotify", "entry|L3 %s:vi in notify port = 1, val = 2",
            BytesOf(VeskVideoViPortPlugState{1, {}, 2})},
        {103, "MsgOnViPortPixelInfoNotify", "T3 VI[4]:Width=1280, height=720, fr=30, portType=16|"
            "L1 net camera decoder in, stmNo is [9], port is 4|entry",
            BytesOf(VeskVideoViPortPixelInfo{4, {}, 9, 16, {}, 1280, 720, 30})},
        {106, "MsgOnDisplayFirstFrameNotify", shownLink + "|entry", BytesOf(link)},
        {107, "MsgOnCameraCtrlResultNotify", "T3 viPort[1] camCtrlCmd[-2] errCode[3] dataLen[12]|entry",
            BytesOf(VeskVideoCamCtrlResult{1, -2, 3})},
        {108, "MsgOnDisplayDestroyLinkNotify", shownLink + "|entry", BytesOf(link)},
        {206, "MsgOnVideoproxyDieNotify", "entry", any},
        {207, "MsgOnVideoproxyRestartNotify", "entry", any},
        {109, "MsgOnVideoAnnotationReadyNotify", "entry", any},
        {208, "MsgOnVideoBgResourceInitReadyNotify", "entry", any},
        // clang-format on
    };
    for (const uint32_t id : {104U, 105U, 200U, 201U, 202U, 203U, 204U, 205U, 16U, 17U, 18U, 31U})
        cases.push_back({id, "", "", any});
    std::set<uint32_t> ids;
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        ids.insert(c.id);
        g_delivered.clear();
        const Bytes data = c.data.value_or(c.payload);
        g_readable = data.size();
        const Lines lines = Receive(c.id, c.payload, kHead);
        EXPECT_EQ(lines, Expand(c.lines, c.handler, vesk::messages::FindNotification(c.id)->name,
                                "vesk_video_callback"));
        const Delivered delivered{c.id, data, c.dataLen.value_or(c.payload.size())};
        EXPECT_EQ(g_delivered, std::vector{delivered});
        const auto& at = Get().sourceLines;
        EXPECT_EQ(std::set(at.begin() + 1, at.end() - 2).size(), lines.size()) << "one source line each";
    }
    for (const auto& notification : kNotifications)
        EXPECT_TRUE(ids.contains(notification.number)) << notification.name << " has no row";
}

TEST_F(NotificationTest, PayloadsAreDeliveredOrRefusedByTheirLength)
{
    const std::string null = kError + "data is nullptr!", size = kError + "dataLen error";
    const std::string stray = "T3 VeskVideoCtrlToNorthMsg no handle!"; // 65736 has the low 16 bits of 200
    const struct {
        uint32_t id, length;
        std::string refused = {}; // not refused: the entry line alone, for the rest would need more
    } cases[] = {
        // clang-format off
        {2, 0}, {2, 1}, {2, 7}, {100, 1}, {100, 87}, {101, 1}, {101, 111}, {102, 1}, {102, 135}, {103, 1},
        {103, 187}, {200, 0}, {100, 0, null}, {101, 0, null}, {102, 0, null}, {103, 0, null}, {106, 0, null},
        {107, 0, null}, {108, 0, null}, {106, 79, size}, {106, 81, size}, {107, 11, size}, {107, 13, size},
        {108, 79, size}, {108, 81, size}, {7, 0, stray}, {99, 0, stray}, {65536, 0, stray}, {65736, 0, stray},
        // clang-format on
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.id) + ", " + std::to_string(c.length) + " bytes");
        g_delivered.clear();
        const Bytes payload(c.length, std::byte{1});
        const Lines lines = Receive(c.id, payload);
        if (c.refused.empty()) {
            EXPECT_EQ(lines.size(), c.id == 200 ? 0U : 1U);
            const Delivered delivered{c.id, c.length == 0 ? std::nullopt : std::optional(payload), c.length};
            EXPECT_EQ(g_delivered, std::vector{delivered});
        } else {
            EXPECT_EQ(lines.back(), c.refused);
            EXPECT_TRUE(g_delivered.empty());
        }
    }
}

TEST_F(NotificationTest, WithoutACallbackOnlyPortNotificationsAreHeld)
{
    Install(nullptr);
    std::vector<Delivered> held;
    for (const auto& notification : kNotifications) {
        const uint32_t id = notification.number;
        const Bytes payload(id == 107 ? 12 : 80, static_cast<std::byte>(id));
        Receive(id, payload);
        const bool isHeld = id >= 100 && id <= 103;
        EXPECT_EQ(Times(kError + "callback is nullptr!"), isHeld ? 0U : 1U) << id;
        if (isHeld)
            held.emplace_back(id, payload, 80);
    }
    std::list<NorthMsgResendInfo> queue(7);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&queue), 0U);
    ASSERT_EQ(queue.size(), 4U);
    EXPECT_EQ(queue.back().msgId, 103U);
    EXPECT_EQ(queue.back().dataLen, 80U);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&g_cbResendQueue), 0U);
    const VeskVideoCallbackInfo forwarded{};
    EXPECT_EQ(VeskVideoSetCallback(&forwarded), 0U);
    EXPECT_TRUE(g_delivered.empty());
    Get().failingCopy = 1; // dropped
    Receive(100, Bytes(8));
    Install([](uint32_t id, void* data, uint32_t dataLen) {
        if (id == 101)
            VeskVideoExit(); // the others stay held, in order
        return Record(id, data, dataLen);
    });
    EXPECT_EQ(g_delivered.size(), 2U);
    EXPECT_EQ(g_cbResendQueue.size(), 2U);
    Install(Record);
    EXPECT_EQ(g_delivered, held);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&queue), 0U);
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(VeskVideoGetMsgResendQ(nullptr), 1U);
    EXPECT_EQ(Get().lines.back(), kError + "VeskVideoGetMsgResendQ: queue is NULL!");
}

TEST_F(NotificationTest, MalformedMessagesAreDropped)
{
    Bytes data(23);
    EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(nullptr), 1U);
    EXPECT_EQ(Get().lines.back(), kError + "recv msg pstMsg is null");
    OsMsgEnvelope envelope = Envelope(200, data);
    VeskVideoCtrlToNorthMsg(nullptr, data.data(), nullptr, 0);
    EXPECT_EQ(Get().lines.back(), kError + "inMsg is nullptr!");
    VeskVideoCtrlToNorthMsg(&envelope, nullptr, nullptr, 0);
    EXPECT_EQ(Get().lines.back(), kError + "zoraMsg is nullptr!");
    envelope.data = nullptr;
    EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(&envelope), 1U);
    EXPECT_EQ(Get().lines.back(), kError + "VeskProcDealToNorthInterfaceMsg: pstMsg->data is NULL!");
    for (const auto& notification : kNotifications) {
        envelope = Envelope(notification.number, data);
        EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(&envelope), 1U);
        VeskVideoCtrlToNorthMsg(&envelope, data.data(), nullptr, 0); // called directly
        const std::string id = std::to_string(notification.number);
        EXPECT_EQ(Times(kError + "recv msg is shorter than its header, msgId[" + id + "] dataLen[23]"), 2U);
    }
    EXPECT_TRUE(g_delivered.empty());
}

TEST_F(NotificationTest, NamesThatCannotBePrintedAreLeftOut)
{
    const std::string plain = "recvCpuId=3,  dataLen=24";
    const std::tuple<char(OsMsgEnvelope::*)[16], std::string, std::string> cases[] = {
        // clang-format off
        {&OsMsgEnvelope::sendTaskName, "a\rb", plain}, {&OsMsgEnvelope::sendProcName, "\n", plain},
        {&OsMsgEnvelope::recvProcName, std::string(16, 'x'), plain},
        {&OsMsgEnvelope::recvTaskName, std::string(16, 'x'), plain},
        {&OsMsgEnvelope::recvTaskName, std::string("a\0\n", 3), // a line feed after the NUL does no harm
            "sendProcName=VIDEO, sendTaskName=VCTL\n"
            "\trecvCpuId=3, recvProcName=app, recvTaskName=a, dataLen=24\n"},
        // clang-format on
    };
    for (const auto& [field, name, rest] : cases) {
        Bytes data = Block({});
        OsMsgEnvelope envelope = Envelope(200, data);
        std::ranges::copy(name, envelope.*field);
        VeskVideoCtrlToNorthMsg(&envelope, envelope.data, nullptr, 0);
        EXPECT_EQ(Get().lines.back(),
                  "T3 VeskVideoCtrlToNorthMsg recv video msg: type=1, msgId=200, sendCpuId=2, " + rest);
    }
}

TEST_F(NotificationTest, LinesOfTheMessageLibraryArePassedOn)
{
    CreateRecvMsgProcEntry();
    ASSERT_TRUE(AwaitRoutine());
    EXPECT_EQ(Times("T3 CreateRecvMsgProcEntry VeskVideoRegOneMsgTask SUCCESS"), 1U);
    EXPECT_EQ(Times("T3 VeskVideoToNorthInterfaceHandler OsMsgTaskRoutine task[1]"), 1U);
    Get().lines.clear();
    for (const uint32_t level : {1U, 2U, 3U, 4U})
        Get().logFunction(level, "%s text");
    Get().logFunction(1, nullptr);
    const std::string text = "msg log=%s text", trace = "T3 logprintf " + text;
    EXPECT_EQ(Get().lines, (Lines{trace, trace, kError + text, trace, kError + "logStr is nullptr!"}));
}

// A notification that finds no callback while one is being installed is either delivered by its handler
// or by the drain: never stranded, never delivered twice.
TEST_F(NotificationTest, NoneIsStrandedWhileACallbackIsInstalled)
{
    static std::atomic<uint32_t> s_count;
    Get().isQuiet = true;
    for (int round = 0; round < 200; ++round) {
        s_count = 0;
        g_veskVideoCallBackPtr = nullptr;
        std::thread receiver([] {
            for (int i = 0; i < 20; ++i)
                Receive(100, Bytes(8));
        });
        Install([](uint32_t, void*, uint32_t) -> uint32_t { return ++s_count; });
        receiver.join();
        ASSERT_EQ(s_count, 20U);
        ASSERT_TRUE(g_cbResendQueue.empty());
    }
}

// A child begins with a queue that is whole and unlocked, whatever its parent's threads are doing to it, and
// without what its parent holds.
TEST_F(NotificationTest, AForkedChildHoldsNothingOfItsParents)
{
    if (!processes::kThreadsMayFork)
        GTEST_SKIP();
    constexpr size_t kHeld = 500;
    Get().isQuiet = true;
    Install(nullptr);
    for (size_t i = 0; i < kHeld; ++i)
        Receive(100, Bytes(8));
    std::atomic<bool> ends = false;
    std::thread reader([&] { // holds the lock most of the time
        for (std::list<NorthMsgResendInfo> queue; !ends;)
            VeskVideoGetMsgResendQ(&queue);
    });
    for (int round = 0; round < 20 && !HasFailure(); ++round) {
        const pid_t child = fork();
        if (child == 0) {
            alarm(10);
            Install(Record);
            const size_t fromParent = g_delivered.size();
            Install(nullptr);
            Receive(100, Bytes(8));
            Install(Record);
            _exit(fromParent == 0 && g_delivered.size() == 1 ? 0 : 1);
        }
        int status = -1;
        waitpid(child, &status, 0);
        EXPECT_EQ(status, 0);
    }
    ends = true;
    reader.join();
    Install(Record);
    EXPECT_EQ(g_delivered.size(), kHeld);
}
