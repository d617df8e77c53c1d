// Shared-memory buffer queues.
#include "support/request_table.h"

#include <gtest/gtest.h>

using namespace recording;
using namespace request_table;

static const Family queues("vesk_video_interface", FailureForm::kFunction, [] {
    static const std::string longest(63, 's'), tooLong(64, 's');
    const auto refused = [](const std::string& name, const std::string& line) {
        return Lines{"L3 %s enter serverName:" + name + '.',
                     "L3 Init advanced queue client, serverName=" + name, line};
    };
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT, 88, VeskVideoAdvancedQueueClientInit, longest.c_str())
            .Payload(Text(longest)).Null("serverName")
            .Refuses(1, refused(tooLong, "L1 memcpy_s Fail serverName[" + tooLong + ']'),
                     CALL(VeskVideoAdvancedQueueClientInit, tooLong.c_str()))
            .Refuses(2, refused("abc\r", "L3 param serverName has unsafe character"),
                     CALL(VeskVideoAdvancedQueueClientInit, "abc\r"))
            .Refuses(2, refused("\nabc", "L3 param serverName has unsafe character"),
                     CALL(VeskVideoAdvancedQueueClientInit, "\nabc"))
            .Says("%s enter serverName:" + longest + '.')
            .Says("Init advanced queue client, serverName=" + longest),
        ROW(VESK_VIDEO_MSG_DESTROY_QUEUE, 134, VeskVideoBuffDestroyQueue, 5).Head(0, 5).Bare()
            .Traces("##### %m start#####\n").Says("%s: memQueId=5."),
    };
    // clang-format on
});

static const HasOwnTest creation(VESK_VIDEO_MSG_CREATE_QUEUE);

TEST(Queue, IsCreatedPreparedAndAnnounced)
{
    Reset();
    uint32_t queue = 0;
    Get().createQueueResult = 9; // not reported; the number is used again
    Get().initQueueResult = 3;
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 3U);
    EXPECT_EQ(queue, 1U);
    EXPECT_EQ(Get().initialisedQueues.back(), std::pair(1U, std::string("VIDEO")));
    EXPECT_TRUE(Get().sent.empty());
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VESK_VIDEO_MSG_CREATE_QUEUE fail[3].");

    Reset();
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 0U);
    EXPECT_EQ(queue, 500U);
    EXPECT_EQ(BytesOf(Get().sent.at(0).Head()), BytesOf(VeskVideoMsgHead{0, 133, 0, 0, 500, 0}));
    EXPECT_EQ(
        RequestLines(),
        (Lines{
            "L3 vesk_video_interface ##### VeskVideoBuffCreateQueue start#####",
            "L3 vesk_video_interface memReqCnt[2000]",
            "T3 VeskVideoBuffCreateQueue OsMemQueReq : name:[vid_2k_2000_0],id[1],cnt[2000]",
            "L3 vesk_video_interface OsMemQueReq : name:[vid_2k_2000_0],id[1],cnt[2000]",
            "T3 VeskVideoBuffCreateQueue ##### VeskVideoBuffCreateQueue memQueId[vid_2k_2000_0][500]#####",
            "T3 VeskVideoBuffCreateQueue #####send VESK_VIDEO_MSG_CREATE_QUEUE msg[0]#####\n",
        }));
    EXPECT_EQ(Get().createdQueues.at(0).id, 1U);
    EXPECT_EQ(Get().createdQueues.at(0).cnt, 2000U);

    Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(9)}; };
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 9U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VESK_VIDEO_MSG_CREATE_QUEUE fail[9].");
    EXPECT_STREQ(Get().createdQueues.at(1).name, "vid_2k_2000_1");
    Get().failingCopy = 1;
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 1U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface memcpy_sp Fail");
    EXPECT_EQ(VeskVideoBuffCreateQueue(nullptr), 1U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VeskVideoBuffCreateQueue: memQueId is NULL!");
}

// While one creation is under way, another thread's is begun and ends: no later one asks for its name again.
TEST(Queue, ASlowCreationDoesNotSetTheNumberBack)
{
    Reset();
    uint32_t queue = 0;
    Get().duringCreateQueue = [] {
        Get().duringCreateQueue = nullptr;
        uint32_t other = 0;
        VeskVideoBuffCreateQueue(&other);
        VeskVideoBuffCreateQueue(&other);
    };
    VeskVideoBuffCreateQueue(&queue);
    VeskVideoBuffCreateQueue(&queue);
    std::vector<std::string> names;
    for (const OsMemQueReq& created : Get().createdQueues)
        names.push_back(created.name);
    ASSERT_EQ(names.size(), 4U);
    EXPECT_EQ(std::count(names.begin(), names.end(), names.back()), 1) << names.back();
}

TEST(Queue, IsSwitchedLocally)
{
    Reset();
    EXPECT_EQ(VeskVideoActivateQueue(8, 5), 0U);
    Get().activateQueueResult = 7;
    EXPECT_EQ(VeskVideoActivateQueue(9, 0), 1U);
    EXPECT_EQ(Get().activatedQueues, (std::vector<std::pair<uint32_t, bool>>{{8, true}, {9, false}}));
    EXPECT_TRUE(Get().sent.empty());
    EXPECT_EQ(
        Get().lines[0],
        "T3 VeskVideoActivateQueue ##### VeskVideoActivateQueue start queueId[8] bEnableOrDisable[5]#####\n");
}
