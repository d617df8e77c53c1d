// Shared-memory buffer queues.
#include "support/request_table.h"

#include <gtest/gtest.h>

static const std::string longest(63, 's'), tooLong(64, 's');
static std::string Shown(const std::string& name)
{
    return "L3 %s enter serverName:" + name + ".|L3 Init advanced queue client, serverName=" + name;
}

// clang-format off
static const Family queues("vesk_video_interface", "function", [] { return Rows{
    ROW(ADVANCE_QUE_CLIENT_INIT, 88, AdvancedQueueClientInit, longest.c_str())
        .Sends({}, "start|?1 serverName|" + Shown(longest)),
    ROW(ADVANCE_QUE_CLIENT_INIT, 88, AdvancedQueueClientInit, tooLong.c_str())
        .Refused(1, "start|" + Shown(tooLong) + "|L1 memcpy_s Fail serverName[" + tooLong + ']'),
    ROW(ADVANCE_QUE_CLIENT_INIT, 88, AdvancedQueueClientInit, "abc\r")
        .Refused(2, "start|" + Shown("abc\r") + "|L3 param serverName has unsafe character"),
    ROW(ADVANCE_QUE_CLIENT_INIT, 88, AdvancedQueueClientInit, "\nabc")
        .Refused(2, "start|" + Shown("\nabc") + "|L3 param serverName has unsafe character"),
    ROW(DESTROY_QUEUE, 134, BuffDestroyQueue, 5).Sends({0, 5}, "T3 ##### %m start#####\n|L3 %s: memQueId=5."),
}; });
// clang-format on

// The only test that creates queues, whose names are counted.
TEST(Queue, IsCreatedPreparedAndAnnounced)
{
    const std::string error = "L1 vesk_video_interface ";
    uint32_t queue = 0;
    Reset();
    Get().results = {{"OsShmAdvancedBuffCreateQueue", 9}, {"OsShmAdvancedInitQueue", 3}}; // reported alone
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 3U);
    EXPECT_EQ(queue, 1U);
    EXPECT_EQ(Get().calls,
              (Lines{"OsShmAdvancedBuffCreateQueue vid_2k_2000_0 1 2000", "OsShmAdvancedInitQueue 1 VIDEO"}));
    EXPECT_TRUE(Get().sent.empty());
    EXPECT_EQ(RequestLines().back(), error + "VESK_VIDEO_MSG_CREATE_QUEUE fail[3].");

    Reset();
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 0U);
    EXPECT_EQ(queue, 500U);
    EXPECT_EQ(Get().sent.at(0).data, Block({0, 133, 0, 0, 500, 0}));
    EXPECT_EQ(RequestLines(), Expand("L3 ##### %s start#####|L3 memReqCnt[2000]|"
                                     "B3 OsMemQueReq : name:[vid_2k_2000_0],id[1],cnt[2000]|"
                                     "T3 ##### %s memQueId[vid_2k_2000_0][500]#####|end",
                                     "VeskVideoBuffCreateQueue", "VESK_VIDEO_MSG_CREATE_QUEUE"));

    Reset(9);
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 9U);
    EXPECT_EQ(RequestLines().back(), error + "VESK_VIDEO_MSG_CREATE_QUEUE fail[9].");
    Get().failingCopy = 1;
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 1U);
    EXPECT_EQ(RequestLines().back(), error + "memcpy_sp Fail");
    EXPECT_EQ(VeskVideoBuffCreateQueue(nullptr), 1U);
    EXPECT_EQ(RequestLines().back(), error + "VeskVideoBuffCreateQueue: memQueId is NULL!");

    // While one creation is under way, others begin and end: no later one asks for their names again.
    Reset();
    Get().duringCreateQueue = [] {
        Get().duringCreateQueue = nullptr;
        uint32_t other = 0;
        VeskVideoBuffCreateQueue(&other);
        VeskVideoBuffCreateQueue(&other);
    };
    VeskVideoBuffCreateQueue(&queue);
    VeskVideoBuffCreateQueue(&queue);
    EXPECT_EQ(Get().calls.at(6), "OsShmAdvancedBuffCreateQueue vid_2k_2000_5 1 2000");
}

TEST(Queue, IsSwitchedLocally)
{
    Reset();
    EXPECT_EQ(VeskVideoActivateQueue(8, 5), 0U);
    Get().results["OsShmAdvancedActivateQueue"] = 7;
    EXPECT_EQ(VeskVideoActivateQueue(9, 0), 1U);
    EXPECT_EQ(Get().calls, (Lines{"OsShmAdvancedActivateQueue 8 1", "OsShmAdvancedActivateQueue 9 0"}));
    EXPECT_TRUE(Get().sent.empty());
    EXPECT_EQ(Get().lines[0], "T3 VeskVideoActivateQueue ##### VeskVideoActivateQueue start queueId[8] "
                              "bEnableOrDisable[5]#####\n");
}
