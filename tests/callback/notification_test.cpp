// The road of a notification from the message procedure to the application's callback.
#include "platform/os_msg.h"
#include "support/recording_platform.h"
#include "vesk_video/message_list.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>

using namespace recording;

namespace {

struct Delivered {
    uint32_t id;
    bool hasData;
    Bytes data;
    uint32_t dataLen;
    bool operator==(const Delivered&) const = default;
};
std::vector<Delivered> g_delivered;
size_t g_readable = 0; // bytes behind the data pointer that the test knows to be there

uint32_t Record(uint32_t notifyId, void* data, uint32_t dataLen)
{
    const auto* begin = static_cast<const std::byte*>(data);
    const size_t readable = std::max<size_t>(dataLen, g_readable);
    g_delivered.push_back(
        {notifyId, data != nullptr, data != nullptr ? Bytes(begin, begin + readable) : Bytes(), dataLen});
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
    return envelope;
}

/// Hands a message over in a block of exactly its length, so that reading past it is seen.
uint32_t Receive(uint32_t msgId, const VeskVideoMsgHead& head, const Bytes& payload)
{
    auto block = std::make_unique<std::byte[]>(sizeof head + payload.size());
    std::memcpy(block.get(), &head, sizeof head);
    if (!payload.empty())
        std::memcpy(block.get() + sizeof head, payload.data(), payload.size());
    OsMsgEnvelope envelope = Envelope(msgId);
    envelope.dataLen = static_cast<uint32_t>(sizeof head + payload.size());
    envelope.data = block.get();
    return VeskProcDealToNorthInterfaceMsg(&envelope);
}

uint32_t Receive(uint32_t msgId, const Bytes& payload = {})
{
    return Receive(msgId, {}, payload);
}

/// The lines between the enter line and the trace of the received message.
std::vector<std::string> HandlerLines()
{
    const auto& lines = Get().lines;
    std::vector<std::string> inner(lines.begin() + 1, lines.end() - 2);
    for (std::string& line : inner)
        line = line.substr(0, 3) + line.substr(line.find(' ', 3) + 1);
    return inner;
}

template <class Record>
Bytes With(void (*fill)(Record&))
{
    Record record{};
    fill(record);
    return BytesOf(record);
}

class NotificationTest : public testing::Test {
protected:
    void SetUp() override
    {
        Reset();
        g_delivered.clear();
        g_readable = 0;
        g_veskVideoCallBackPtr = Record;
    }
};

const VeskVideoMsgHead kHead{0, 0, 0, 0xaaaaaaaa00000005, 6, 0};

Bytes Link() // a port name without a NUL
{
    return With<VeskVideoDisplayLink>([](auto& link) {
        link.viPort = -1;
        std::memset(link.portName, 'p', sizeof link.portName);
        link.isDec = 1;
        link.surfaceId = 7;
    });
}

} // namespace

TEST_F(NotificationTest, EachHandlerTracesAndDelivers)
{
    const std::string link =
        "T3 VI[-1]:portName[" + std::string(64, 'p') + "] isDec[1] surfaceId[7] dataLen[80]";
    const Bytes plug100 = With<VeskVideoVoPortPlugState>([](auto& r) { r.port = 1, r.val = 2; });
    const Bytes ddc101 = With<VeskVideoVoPortDdcInfo>([](auto& r) { r = {1, {}, 1920, 1080, 60}; });
    const Bytes plug102 = With<VeskVideoViPortPlugState>([](auto& r) { r.port = 1, r.val = 2; });
    const Bytes pixel103 =
        With<VeskVideoViPortPixelInfo>([](auto& r) { r = {4, {}, 9, 16, {}, 1280, 720, 30}; });
    const Bytes overload2 = BytesOf(VeskVideoEncOverloadStatus{3, 4});
    const Bytes result107 = BytesOf(VeskVideoCamCtrlResult{1, -2, 3});
    const Bytes any(5, std::byte{9});
    const Bytes param1 = BytesOf(kHead.ulParam1);
    const Bytes param2 = BytesOf(kHead.ulParam2);

    struct Case {
        uint32_t id;
        Bytes payload;
        std::vector<std::string> lines;
        Bytes data;
        uint32_t dataLen;
    };
    const auto passedOn = [&any](uint32_t id, std::vector<std::string> lines = {}) {
        return Case{id, any, std::move(lines), any, 5};
    };
    const std::vector<Case> cases = {
        {0,
         {},
         {"T3 MsgOnLocalLoopStateNotify VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY\n",
          "T3 loop action=5 result=6"},
         BytesOf(NotifyLoopState{5, 6}),
         8},
        {1,
         {},
         {"T3 MsgOnEncResourceInsufficient VESK_VIDEO_ON_ENCODE_RESOURCE_INSUFFICIENT\n",
          "T3 Enc Resource Insufficient[5]"},
         param1,
         4},
        {2,
         overload2,
         {"T3 MsgOnEncodeOverloadStatusNotify VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY\n",
          "L3 MsgOnEncodeOverloadStatusNotify data: encStmNo-3,rts-4."},
         overload2,
         8},
        {3,
         {},
         {"T3 MsgOnReCreateDecNotify VESK_VIDEO_ON_DECODE_RECREATE_OK_NOTIFY\n", "T3 Notify ReCreate Dec[6]"},
         param2,
         4},
        passedOn(4, {"T3 MsgOnDecodeStateNotify VESK_VIDEO_ON_DECODE_STATUS_NOTIFY\n"}),
        {5, {}, {"T3 MsgOnIFrameRequestNotify VESK_VIDEO_ON_IFREAME_REQUEST\n"}, param1, 0},
        {6, any, {"T3 MsgOnWallPaperDecOkNotify VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY\n"}, param1, 5},
        {100,
         plug100,
         {"T3 MsgOnVoPortPlugStateNotify VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY\n",
          "T3 vo in notify port = 1, val = 2"},
         plug100,
         88},
        {101,
         ddc101,
         {"T3 MsgOnVoPortDdcInfoNotify VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY\n",
          "T3 ddcInfo:port[1] Width[1920] height[1080] fr[60]"},
         ddc101,
         112},
        {102,
         plug102,
         {"T3 MsgOnViPortPlusStateNotify VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY\n",
          "L3 MsgOnViPortPlusStateNotify:vi in notify port = 1, val = 2"},
         plug102,
         136},
        {103,
         pixel103,
         {"T3 VI[4]:Width=1280, height=720, fr=30, portType=16",
          "L1 net camera decoder in, stmNo is [9], port is 4",
          "T3 MsgOnViPortPixelInfoNotify VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY\n"},
         pixel103,
         188},
        passedOn(104),
        passedOn(105),
        {106,
         Link(),
         {link, "T3 MsgOnDisplayFirstFrameNotify VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY\n"},
         Link(),
         80},
        {107,
         result107,
         {"T3 viPort[1] camCtrlCmd[-2] errCode[3] dataLen[12]",
          "T3 MsgOnCameraCtrlResultNotify VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY\n"},
         result107,
         12},
        {108,
         Link(),
         {link, "T3 MsgOnDisplayDestroyLinkNotify VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY\n"},
         Link(),
         80},
        passedOn(200),
        passedOn(201),
        passedOn(202),
        passedOn(203),
        passedOn(204),
        passedOn(205),
        passedOn(16),
        passedOn(17),
        passedOn(18),
        passedOn(31),
        passedOn(206, {"T3 MsgOnVideoproxyDieNotify VESK_VIDEO_ON_VIDEO_DIE_NOTIFY\n"}),
        passedOn(207, {"T3 MsgOnVideoproxyRestartNotify VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY\n"}),
        passedOn(109,
                 {"T3 MsgOnVideoAnnotationReadyNotify VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY\n"}),
        passedOn(208, {"T3 MsgOnVideoBgResourceInitReadyNotify VESK_VIDEO_ON_VIDEO_CAPABILITY_UPDATE\n"}),
    };
    ASSERT_EQ(cases.size(), 30U);
    for (const Case& c : cases) {
        SCOPED_TRACE(c.id);
        Get().lines.clear();
        g_delivered.clear();
        g_readable = c.data.size();
        EXPECT_EQ(Receive(c.id, kHead, c.payload), 0U);
        EXPECT_EQ(HandlerLines(), c.lines);
        EXPECT_EQ(g_delivered, (std::vector<Delivered>{{c.id, true, c.data, c.dataLen}}));
    }
}

TEST_F(NotificationTest, WithoutACallbackOnlyPortNotificationsWait)
{
    g_veskVideoCallBackPtr = nullptr;
    std::vector<Delivered> held;
    for (const auto& notification : vesk::messages::kNotifications) {
        const uint32_t id = notification.number;
        SCOPED_TRACE(id);
        Get().lines.clear();
        const Bytes payload = id == 107 ? Bytes(12) : Bytes(80, static_cast<std::byte>(id));
        Receive(id, payload);
        const auto lines = HandlerLines();
        const bool isHeld = id >= 100 && id <= 103;
        EXPECT_EQ(std::count(lines.begin(), lines.end(), "L1 callback is nullptr!"), isHeld ? 0 : 1);
        if (isHeld)
            held.push_back({id, true, payload, 80});
    }
    std::list<NorthMsgResendInfo> queue(7);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&queue), 0U);
    ASSERT_EQ(queue.size(), 4U);
    EXPECT_EQ(queue.back().msgId, 103U);
    EXPECT_EQ(queue.back().dataLen, 80U);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&g_cbResendQueue), 0U);

    VeskVideoCallbackInfo forwarded{};
    EXPECT_EQ(VeskVideoSetCallback(&forwarded), 0U);
    EXPECT_EQ(VeskVideoExit(), 0U);
    EXPECT_TRUE(g_delivered.empty());
    VeskVideoCallbackInfo info{};
    info.notifyCallback = Record;
    EXPECT_EQ(VeskVideoSetCallback(&info), 0U);
    EXPECT_EQ(g_delivered, held);
    EXPECT_EQ(VeskVideoGetMsgResendQ(&queue), 0U);
    EXPECT_TRUE(queue.empty());
    EXPECT_EQ(VeskVideoGetMsgResendQ(nullptr), 1U);
    EXPECT_EQ(Get().lines.back(), "L1 vesk_video_callback VeskVideoGetMsgResendQ: queue is NULL!");
}

TEST_F(NotificationTest, ACopyThatFailsDropsTheNotification)
{
    g_veskVideoCallBackPtr = nullptr;
    Get().failingCopy = 1;
    Receive(100, Bytes(8));
    EXPECT_TRUE(g_cbResendQueue.empty());
}

TEST_F(NotificationTest, ShortPayloadsGoTheirWayWithoutTheLineThatNeedsMore)
{
    const struct {
        uint32_t id;
        uint32_t needed;
        size_t lines; // the entry line and no other
    } cases[] = {{2, 8, 1}, {100, 88, 1}, {101, 112, 1}, {102, 136, 1}, {103, 188, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        for (const uint32_t length : {1U, c.needed - 1}) {
            Get().lines.clear();
            g_delivered.clear();
            const Bytes payload(length, std::byte{1});
            Receive(c.id, payload);
            EXPECT_EQ(HandlerLines().size(), c.lines);
            EXPECT_EQ(g_delivered, (std::vector<Delivered>{{c.id, true, payload, length}}));
        }
    }
    g_delivered.clear();
    Receive(2);
    Receive(200);
    EXPECT_EQ(g_delivered, (std::vector<Delivered>{{2, false, {}, 0}, {200, false, {}, 0}}));
}

TEST_F(NotificationTest, RefusedByTheHandler)
{
    const struct {
        uint32_t id;
        uint32_t length;
        std::string line;
    } cases[] = {
        {100, 0, "data is nullptr!"}, {101, 0, "data is nullptr!"}, {102, 0, "data is nullptr!"},
        {103, 0, "data is nullptr!"}, {106, 0, "data is nullptr!"}, {107, 0, "data is nullptr!"},
        {108, 0, "data is nullptr!"}, {106, 79, "dataLen error"},   {106, 81, "dataLen error"},
        {108, 79, "dataLen error"},   {108, 81, "dataLen error"},   {107, 11, "dataLen error"},
        {107, 13, "dataLen error"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.id);
        Get().lines.clear();
        Receive(c.id, Bytes(c.length));
        EXPECT_EQ(HandlerLines().back(), "L1 " + c.line);
        EXPECT_TRUE(g_delivered.empty());
    }
}

TEST_F(NotificationTest, MessagesThatAreNone)
{
    EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(nullptr), 1U);
    EXPECT_EQ(Get().lines.back(), "L1 vesk_video_callback recv msg pstMsg is null");
    OsMsgEnvelope envelope = Envelope(200);
    envelope.dataLen = 24;
    EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(&envelope), 1U);
    EXPECT_EQ(Get().lines.back(),
              "L1 vesk_video_callback VeskProcDealToNorthInterfaceMsg: pstMsg->data is NULL!");
    std::byte data[23];
    envelope.data = data;
    envelope.dataLen = 23;
    EXPECT_EQ(VeskProcDealToNorthInterfaceMsg(&envelope), 1U);
    EXPECT_EQ(Get().lines.back(),
              "L1 vesk_video_callback recv msg is shorter than its header, msgId[200] dataLen[23]");
    VeskVideoCtrlToNorthMsg(nullptr, data, nullptr, 0);
    EXPECT_EQ(Get().lines.back(), "L1 vesk_video_callback inMsg is nullptr!");
    VeskVideoCtrlToNorthMsg(&envelope, nullptr, nullptr, 0);
    EXPECT_EQ(Get().lines.back(), "L1 vesk_video_callback zoraMsg is nullptr!");
    EXPECT_TRUE(g_delivered.empty());
}

TEST_F(NotificationTest, UnknownNumbersAreTracedAndDropped)
{
    for (const uint32_t id : {7U, 99U, 65536U, 65536U + 200}) {
        Get().lines.clear();
        EXPECT_EQ(Receive(id), 0U);
        EXPECT_EQ(Get().lines,
                  (std::vector<std::string>{
                      "T3 VeskProcDealToNorthInterfaceMsg ##### NorthInterfaceMsg enter #####",
                      "T3 VeskVideoCtrlToNorthMsg no handle!",
                      "T3 VeskVideoCtrlToNorthMsg recv video msg: type=0, msgId=" + std::to_string(id) +
                          ", sendCpuId=0, sendProcName=VIDEO, sendTaskName=VCTL\n"
                          "\trecvCpuId=0, recvProcName=app, recvTaskName=VAPI, dataLen=24\n",
                      "T3 VeskProcDealToNorthInterfaceMsg ##### NorthInterfaceMsg end #####",
                  }));
    }
    EXPECT_TRUE(g_delivered.empty());
}

TEST_F(NotificationTest, NamesThatCannotBePrintedAreLeftOut)
{
    void (*const spoil[])(OsMsgEnvelope&) = {
        [](OsMsgEnvelope& e) { std::strcpy(e.sendTaskName, "a\rb"); },
        [](OsMsgEnvelope& e) { std::strcpy(e.sendProcName, "\n"); },
        [](OsMsgEnvelope& e) { std::memset(e.recvProcName, 'x', 16); },
        [](OsMsgEnvelope& e) { std::memset(e.recvTaskName, 'x', 16); },
    };
    for (const auto spoilName : spoil) {
        Get().lines.clear();
        OsMsgEnvelope envelope = Envelope(200);
        spoilName(envelope);
        VeskVideoMsgHead head{};
        envelope.dataLen = sizeof head;
        VeskVideoCtrlToNorthMsg(&envelope, &head, nullptr, 0);
        EXPECT_EQ(Get().lines.back(), "T3 VeskVideoCtrlToNorthMsg recv video msg: type=0, msgId=200, "
                                      "sendCpuId=0, recvCpuId=0,  dataLen=24");
    }
    OsMsgEnvelope envelope = Envelope(200);
    std::memcpy(envelope.recvTaskName, "a\0\n", 4); // a line feed after the NUL does no harm
    VeskVideoMsgHead head{};
    envelope.dataLen = sizeof head;
    VeskVideoCtrlToNorthMsg(&envelope, &head, nullptr, 0);
    EXPECT_NE(Get().lines.back().find("recvTaskName=a,"), std::string::npos);
}

TEST_F(NotificationTest, LinesOfTheMessageLibraryArePassedOn)
{
    CreateRecvMsgProcEntry();
    EXPECT_EQ(AwaitRoutine(), "VAPI");
    ASSERT_NE(Get().logFunction, nullptr);
    Get().lines.clear();
    for (const uint32_t level : {1U, 2U, 3U, 4U})
        Get().logFunction(level, "%s text");
    Get().logFunction(1, nullptr);
    EXPECT_EQ(Get().lines, (std::vector<std::string>{
                               "T3 logprintf msg log=%s text", "T3 logprintf msg log=%s text",
                               "L1 vesk_video_callback msg log=%s text", "T3 logprintf msg log=%s text",
                               "L1 vesk_video_callback logStr is nullptr!"}));
}

// A notification that finds no callback while one is being installed is either delivered by its handler
// or by the drain: never stranded, never delivered twice.
TEST_F(NotificationTest, NoneIsStrandedWhileACallbackIsInstalled)
{
    static std::atomic<uint32_t> s_count;
    Get().isQuiet = true;
    VeskVideoCallbackInfo info{};
    info.notifyCallback = [](uint32_t, void*, uint32_t) -> uint32_t { return ++s_count; };
    for (int round = 0; round < 200; ++round) {
        s_count = 0;
        g_veskVideoCallBackPtr = nullptr;
        std::thread receiver([] {
            for (int i = 0; i < 20; ++i)
                Receive(100, Bytes(8));
        });
        VeskVideoSetCallback(&info);
        receiver.join();
        ASSERT_EQ(s_count, 20U);
        ASSERT_TRUE(g_cbResendQueue.empty());
    }
}
