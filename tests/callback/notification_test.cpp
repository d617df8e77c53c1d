// The road of a notification from the message procedure to the application's callback.
#include "platform/os_msg.h"
#include "support/recording_platform.h"
#include "vesk_video/message_list.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <optional>
#include <set>
#include <thread>

using namespace recording;

namespace {

using Lines = std::vector<std::string>;

struct Delivered {
    uint32_t id;
    std::optional<Bytes> data; // none: a null pointer
    uint32_t dataLen;
    bool operator==(const Delivered&) const = default;
};
std::vector<Delivered> g_delivered;
size_t g_readable = 0; // bytes that the test knows to follow the data pointer

uint32_t Record(uint32_t notifyId, void* data, uint32_t dataLen)
{
    std::optional<Bytes> bytes;
    if (const auto* begin = static_cast<const std::byte*>(data); begin != nullptr)
        bytes.emplace(begin, begin + std::max<size_t>(dataLen, g_readable));
    g_delivered.push_back({notifyId, bytes, dataLen});
    return 1;
}

OsMsgEnvelope Envelope(uint32_t msgId)
{
    OsMsgEnvelope envelope{};
    envelope.msgId = msgId;
    std::strcpy(envelope.sendProcName, "VIDEO");
    std::strcpy(envelope.sendTaskName, "VCTL");
    std::strcpy(envelope.recvProcName, "app");
    std::strcpy(envelope.recvTaskName, "VAPI");
    envelope.dataLen = sizeof(VeskVideoMsgHead);
    return envelope;
}

/// Hands a message over in a block of exactly its length, so that reading past it is seen.
uint32_t Receive(uint32_t msgId, const Bytes& payload = {}, const VeskVideoMsgHead& head = {})
{
    Bytes message = BytesOf(head);
    message.insert(message.end(), payload.begin(), payload.end());
    const auto block = std::make_unique<std::byte[]>(message.size());
    std::copy(message.begin(), message.end(), block.get());
    OsMsgEnvelope envelope = Envelope(msgId);
    envelope.dataLen = static_cast<uint32_t>(message.size());
    envelope.data = block.get();
    return VeskProcDealToNorthInterfaceMsg(&envelope);
}

/// The lines between the enter line and the trace of the received message.
Lines HandlerLines()
{
    const auto& lines = Get().lines;
    return Lines(lines.begin() + 1, lines.end() - 2);
}

/// Installs @p callback, or takes it away.
void Install(VeskVideoNotifyCallback callback)
{
    VeskVideoCallbackInfo info{};
    info.notifyCallback = callback;
    EXPECT_EQ(callback != nullptr ? VeskVideoSetCallback(&info) : VeskVideoExit(), 0U);
}

class NotificationTest : public testing::Test {
protected:
    void SetUp() override
    {
        Reset();
        Install([](uint32_t, void*, uint32_t) { return 0U; }); // takes what an earlier test left held
        Reset();
        g_delivered.clear();
        g_readable = 0;
        g_veskVideoCallBackPtr = Record;
    }
};

} // namespace

TEST_F(NotificationTest, EachHandlerTracesAndDelivers)
{
    constexpr VeskVideoMsgHead kHead{0, 0, 0, 0xaaaaaaaa00000005, 6, 0};
    VeskVideoDisplayLink link{-1, {}, 1, {}, 7, {}};
    std::memset(link.portName, 'p', sizeof link.portName); // a name without a NUL
    const std::string shownLink =
        "VI[-1]:portName[" + std::string(64, 'p') + "] isDec[1] surfaceId[7] dataLen[80]";
    const Bytes any(5, std::byte{9});
    const Bytes param1 = BytesOf(kHead.ulParam1), param2 = BytesOf(kHead.ulParam2);

    struct Case {
        uint32_t id;
        std::string handler; // its lines; "%e" is its entry line
        Lines lines;
        Bytes payload;
        Bytes data;
        uint32_t dataLen;
    };
    const auto passedOn = [](uint32_t id, const std::string& handler, Lines lines, const Bytes& payload) {
        return Case{id, handler, std::move(lines), payload, payload, static_cast<uint32_t>(payload.size())};
    };
    std::vector<Case> cases = {
        // clang-format off
        {0, "MsgOnLocalLoopStateNotify", {"%e", "T3 loop action=5 result=6"}, {}, BytesOf(NotifyLoopState{5, 6}), 8},
        {1, "MsgOnEncResourceInsufficient", {"%e", "T3 Enc Resource Insufficient[5]"}, {}, param1, 4},
        passedOn(2, "MsgOnEncodeOverloadStatusNotify",
                 {"%e", "L3 MsgOnEncodeOverloadStatusNotify data: encStmNo-3,rts-4."},
                 BytesOf(VeskVideoEncOverloadStatus{3, 4})),
        {3, "MsgOnReCreateDecNotify", {"%e", "T3 Notify ReCreate Dec[6]"}, {}, param2, 4},
        passedOn(4, "MsgOnDecodeStateNotify", {"%e"}, any),
        {5, "MsgOnIFrameRequestNotify", {"%e"}, {}, param1, 0},
        {6, "MsgOnWallPaperDecOkNotify", {"%e"}, any, param1, 5},
        passedOn(100, "MsgOnVoPortPlugStateNotify", {"%e", "T3 vo in notify port = 1, val = 2"},
                 BytesOf(VeskVideoVoPortPlugState{1, {}, 2})),
        passedOn(101, "MsgOnVoPortDdcInfoNotify",
                 {"%e", "T3 ddcInfo:port[1] Width[1920] height[1080] fr[60]"},
                 BytesOf(VeskVideoVoPortDdcInfo{1, {}, 1920, 1080, 60})),
        passedOn(102, "MsgOnViPortPlusStateNotify",
                 {"%e", "L3 MsgOnViPortPlusStateNotify:vi in notify port = 1, val = 2"},
                 BytesOf(VeskVideoViPortPlugState{1, {}, 2})),
        passedOn(103, "MsgOnViPortPixelInfoNotify",
                 {"T3 VI[4]:Width=1280, height=720, fr=30, portType=16",
                  "L1 net camera decoder in, stmNo is [9], port is 4", "%e"},
                 BytesOf(VeskVideoViPortPixelInfo{4, {}, 9, 16, {}, 1280, 720, 30})),
        passedOn(106, "MsgOnDisplayFirstFrameNotify", {"T3 " + shownLink, "%e"}, BytesOf(link)),
        passedOn(107, "MsgOnCameraCtrlResultNotify",
                 {"T3 viPort[1] camCtrlCmd[-2] errCode[3] dataLen[12]", "%e"},
                 BytesOf(VeskVideoCamCtrlResult{1, -2, 3})),
        passedOn(108, "MsgOnDisplayDestroyLinkNotify", {"T3 " + shownLink, "%e"}, BytesOf(link)),
        passedOn(206, "MsgOnVideoproxyDieNotify", {"%e"}, any),
        passedOn(207, "MsgOnVideoproxyRestartNotify", {"%e"}, any),
        passedOn(109, "MsgOnVideoAnnotationReadyNotify", {"%e"}, any),
        passedOn(208, "MsgOnVideoBgResourceInitReadyNotify", {"%e"}, any),
        // clang-format on
    };
    for (const uint32_t id : {104, 105, 200, 201, 202, 203, 204, 205, 16, 17, 18, 31})
        cases.push_back(passedOn(id, "", {}, any));
    std::set<uint32_t> ids;
    for (Case& c : cases) {
        SCOPED_TRACE(c.id);
        for (std::string& line : c.lines) {
            if (line == "%e")
                line = "T3 " + c.handler + ' ' + vesk::messages::FindNotification(c.id)->name + '\n';
            line.insert(3, (line[0] == 'T' ? c.handler : "vesk_video_callback") + ' ');
        }
        Get().lines.clear();
        Get().sourceLines.clear();
        g_delivered.clear();
        g_readable = c.data.size();
        EXPECT_EQ(Receive(c.id, c.payload, kHead), 0U);
        EXPECT_EQ(HandlerLines(), c.lines);
        EXPECT_EQ(g_delivered, (std::vector<Delivered>{{c.id, c.data, c.dataLen}}));
        const auto& at = Get().sourceLines;
        EXPECT_EQ(std::set(at.begin() + 1, at.end() - 2).size(), c.lines.size()) << "one source line each";
        ids.insert(c.id);
    }
    for (const auto& notification : vesk::messages::kNotifications)
        EXPECT_TRUE(ids.contains(notification.number)) << notification.name << " has no row";
}

TEST_F(NotificationTest, WithoutACallbackOnlyPortNotificationsAreHeld)
{
    Install(nullptr);
    std::vector<Delivered> held;
    for (const auto& notification : vesk::messages::kNotifications) {
        const uint32_t id = notification.number;
        SCOPED_TRACE(id);
        Get().lines.clear();
        const Bytes payload = id == 107 ? Bytes(12) : Bytes(80, static_cast<std::byte>(id));
        Receive(id, payload);
        const bool isHeld = id >= 100 && id <= 103;
        const Lines lines = HandlerLines();
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "L1 vesk_video_callback callback is nullptr!"),
                  isHeld ? 0 : 1);
        if (isHeld)
            held.push_back({id, payload, 80});
    }
    std::list<NorthMsgResendInfo> queue(7);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&queue), 0U);
    ASSERT_EQ(queue.size(), 4U);
    EXPECT_EQ(queue.back().msgId, 103U);
    EXPECT_EQ(queue.back().dataLen, 80U);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&g_cbResendQueue), 0U);
    VeskVideoCallbackInfo forwarded{};
    EXPECT_EQ(VeskVideoSetCallback(&forwarded), 0U);
    EXPECT_TRUE(g_delivered.empty());
    Get().failingCopy = 1; // dropped
    Receive(100, Bytes(8));
    Install(Record);
    EXPECT_EQ(g_delivered, held);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&queue), 0U);
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(VeskVideoGetMsgResendQ(nullptr), 1U);
    EXPECT_EQ(Get().lines.back(), "L1 vesk_video_callback VeskVideoGetMsgResendQ: queue is NULL!");
}

TEST_F(NotificationTest, WhatFindsNoCallbackInTheMiddleOfADrainStaysHeldInOrder)
{
    Install(nullptr);
    for (const uint32_t id : {100, 101, 102, 103})
        Receive(id, Bytes(8, static_cast<std::byte>(id)));
    Install([](uint32_t id, void* data, uint32_t dataLen) {
        if (id == 101)
            VeskVideoExit();
        return Record(id, data, dataLen);
    });
    EXPECT_EQ(g_delivered.size(), 2U);
    EXPECT_EQ(g_cbResendQueue.size(), 2U);
    Install(Record);
    std::vector<uint32_t> ids;
    for (const Delivered& delivered : g_delivered)
        ids.push_back(delivered.id);
    EXPECT_EQ(ids, (std::vector<uint32_t>{100, 101, 102, 103}));
}

TEST_F(NotificationTest, ShortPayloadsGoTheirWayWithoutTheLineThatNeedsMore)
{
    const std::pair<uint32_t, uint32_t> needed[] = {{2, 8}, {100, 88}, {101, 112}, {102, 136}, {103, 188}};
    for (const auto& [id, size] : needed) {
        SCOPED_TRACE(id);
        for (const uint32_t length : {1U, size - 1}) {
            Get().lines.clear();
            g_delivered.clear();
            const Bytes payload(length, std::byte{1});
            Receive(id, payload);
            EXPECT_EQ(HandlerLines().size(), 1U); // the entry line alone
            EXPECT_EQ(g_delivered, (std::vector<Delivered>{{id, payload, length}}));
        }
    }
    g_delivered.clear();
    Receive(2);
    Receive(200);
    EXPECT_EQ(g_delivered, (std::vector<Delivered>{{2, {}, 0}, {200, {}, 0}}));
}

TEST_F(NotificationTest, PayloadsThatAHandlerRefuses)
{
    const auto isRefused = [](uint32_t id, uint32_t length, const std::string& line) {
        Get().lines.clear();
        Receive(id, Bytes(length));
        EXPECT_EQ(HandlerLines().back(), "L1 vesk_video_callback " + line)
            << id << ", " << length << " bytes";
    };
    for (const uint32_t id : {100, 101, 102, 103, 106, 107, 108})
        isRefused(id, 0, "data is nullptr!");
    for (const uint32_t id : {106, 107, 108}) {
        const uint32_t exact = id == 107 ? 12 : 80;
        isRefused(id, exact - 1, "dataLen error");
        isRefused(id, exact + 1, "dataLen error");
    }
    EXPECT_TRUE(g_delivered.empty());
}

TEST_F(NotificationTest, MalformedMessagesAreDropped)
{
    const auto lastLine = [] { return Get().lines.back().substr(sizeof "L1 vesk_video_callback"); };
    EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(nullptr), 1U);
    EXPECT_EQ(lastLine(), "recv msg pstMsg is null");
    OsMsgEnvelope envelope = Envelope(200);
    EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(&envelope), 1U);
    EXPECT_EQ(lastLine(), "VeskProcDealToNorthInterfaceMsg: pstMsg->data is NULL!");
    const auto data = std::make_unique<std::byte[]>(23);
    envelope.data = data.get();
    VeskVideoCtrlToNorthMsg(nullptr, data.get(), nullptr, 0);
    EXPECT_EQ(lastLine(), "inMsg is nullptr!");
    VeskVideoCtrlToNorthMsg(&envelope, nullptr, nullptr, 0);
    EXPECT_EQ(lastLine(), "zoraMsg is nullptr!");
    for (const auto& notification : vesk::messages::kNotifications) {
        envelope.msgId = notification.number;
        envelope.dataLen = 23;
        const std::string line = "recv msg is shorter than its header, msgId[" +
                                 std::to_string(notification.number) + "] dataLen[23]";
        EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(&envelope), 1U);
        EXPECT_EQ(lastLine(), line);
        VeskVideoCtrlToNorthMsg(&envelope, data.get(), nullptr, 0); // called directly
        EXPECT_EQ(lastLine(), line);
    }
    EXPECT_TRUE(g_delivered.empty());
}

TEST_F(NotificationTest, UnknownNumbersAreTracedAndDropped)
{
    for (const uint32_t id : {7U, 99U, 65536U, 65536U + 200}) {
        Get().lines.clear();
        EXPECT_EQ(Receive(id), 0U);
        EXPECT_EQ(Get().lines,
                  (Lines{"T3 VeskProcDealToNorthInterfaceMsg ##### NorthInterfaceMsg enter #####",
                         "T3 VeskVideoCtrlToNorthMsg no handle!",
                         "T3 VeskVideoCtrlToNorthMsg recv video msg: type=0, msgId=" + std::to_string(id) +
                             ", sendCpuId=0, sendProcName=VIDEO, sendTaskName=VCTL\n"
                             "\trecvCpuId=0, recvProcName=app, recvTaskName=VAPI, dataLen=24\n",
                         "T3 VeskProcDealToNorthInterfaceMsg ##### NorthInterfaceMsg end #####"}));
    }
    EXPECT_TRUE(g_delivered.empty());
}

TEST_F(NotificationTest, NamesThatCannotBePrintedAreLeftOut)
{
    VeskVideoMsgHead head{};
    void (*const spoil[])(OsMsgEnvelope&) = {
        [](OsMsgEnvelope& e) { std::strcpy(e.sendTaskName, "a\rb"); },
        [](OsMsgEnvelope& e) { std::strcpy(e.sendProcName, "\n"); },
        [](OsMsgEnvelope& e) { std::memset(e.recvProcName, 'x', 16); },
        [](OsMsgEnvelope& e) { std::memset(e.recvTaskName, 'x', 16); },
    };
    for (const auto spoilName : spoil) {
        OsMsgEnvelope envelope = Envelope(200);
        spoilName(envelope);
        VeskVideoCtrlToNorthMsg(&envelope, &head, nullptr, 0);
        EXPECT_EQ(Get().lines.back(), "T3 VeskVideoCtrlToNorthMsg recv video msg: type=0, msgId=200, "
                                      "sendCpuId=0, recvCpuId=0,  dataLen=24");
    }
    OsMsgEnvelope envelope = Envelope(200);
    std::memcpy(envelope.recvTaskName, "a\0\n", 4); // a line feed after the NUL does no harm
    VeskVideoCtrlToNorthMsg(&envelope, &head, nullptr, 0);
    EXPECT_NE(Get().lines.back().find("recvTaskName=a,"), std::string::npos);
}

TEST_F(NotificationTest, LinesOfTheMessageLibraryArePassedOn)
{
    CreateRecvMsgProcEntry();
    EXPECT_EQ(AwaitRoutine(), "VAPI");
    ASSERT_NE(Get().logFunction, nullptr);
    for (const char* line : {"T3 CreateRecvMsgProcEntry VeskVideoRegOneMsgTask SUCCESS",
                             "T3 VeskVideoToNorthInterfaceHandler OsMsgTaskRoutine task[1]"})
        EXPECT_EQ(std::count(Get().lines.begin(), Get().lines.end(), line), 1) << line;
    Get().lines.clear();
    for (const uint32_t level : {1U, 2U, 3U, 4U})
        Get().logFunction(level, "%s text");
    Get().logFunction(1, nullptr);
    EXPECT_EQ(Get().lines, (Lines{"T3 logprintf msg log=%s text", "T3 logprintf msg log=%s text",
                                  "L1 vesk_video_callback msg log=%s text", "T3 logprintf msg log=%s text",
                                  "L1 vesk_video_callback logStr is nullptr!"}));
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
