// Display composition, overlays, media jobs and queues: every request over its row.
#include "interface/request_table.h"
#include "platform/os_queue.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <cstring>

using namespace recording;
using namespace request_table;

// The queue operations of this program's platform.
static std::vector<OsMemQueReq> g_created;
static std::vector<std::pair<uint32_t, std::string>> g_initialised;
static std::vector<std::pair<uint32_t, bool>> g_activated;
static uint32_t g_createResult, g_initResult, g_activateResult;

uint32_t OsShmAdvancedBuffCreateQueue(OsMemQueReq* request, uint32_t* queueId)
{
    g_created.push_back(*request);
    if (g_createResult == 0)
        *queueId = 500;
    return g_createResult;
}

uint32_t OsShmAdvancedInitQueue(uint32_t queueId, const char* peerProcName)
{
    g_initialised.emplace_back(queueId, peerProcName);
    return g_initResult;
}

uint32_t OsShmAdvancedActivateQueue(uint32_t queueId, bool enable)
{
    g_activated.emplace_back(queueId, enable);
    return g_activateResult;
}

namespace {

constexpr char kSource[] = "vesk_video_interface";

uint32_t g_number;

VeskVideoVoMultiPicParam Composition(uint32_t picNum)
{
    auto param = Pattern<VeskVideoVoMultiPicParam>(3);
    param.picNum = picNum;
    param.subPic[0].decFlag = 1;
    param.subPic[0].inputId = 2;
    param.subPic[0].sufaceFlag = 3;
    param.subPic[0].winHandle = 0xfedcba9876543210;
    param.subPic[0].colorSpace = 4;
    param.subPic[0].mirror = 5;
    param.subPic[0].showMode = 6;
    param.subPic[0].basWidth = 7;
    param.subPic[0].basHeight = 8;
    return param;
}

VeskVideoDisplayInfo Mode(uint32_t displayMode)
{
    auto info = Pattern<VeskVideoDisplayInfo>(4);
    info.displayMode = displayMode;
    info.fps = 60;
    return info;
}

Bytes Text(const std::string& text)
{
    Bytes bytes(text.size() + 1);
    std::memcpy(bytes.data(), text.c_str(), bytes.size());
    return bytes;
}

} // namespace

TEST(DisplayRequests, EachOverItsRow)
{
    static const VeskVideoVoMultiPicParam composition = Composition(1);
    static const VeskVideoVoMultiPicParam empty = Composition(0);
    static const VeskVideoDisplayInfo mode = Mode(2);
    static const std::string path(4095, 'i');
    static const auto windows = Pattern<std::array<VeskVideoFilterWindow, 3>>(5);
    static void* const window = reinterpret_cast<void*>(uintptr_t{32512});
    static auto overlay = Pattern<VeskVideoOverlayParam>(6);
    overlay.flag0 = 1, overlay.flag1 = 2, overlay.flag2 = 255;
    for (uint32_t i = 0; i < 8; ++i)
        overlay.value[i] = 4000000000 + i;
    static auto snapshot = Pattern<VeskVideoSnapshotParam>(7);
    snapshot.taskId = 4000000000;
    static const auto wallpaper = Pattern<VeskVideoWallpaperParam>(8);
    static const auto verify = Pattern<VeskVideoVerifyImageReq>(9);
    static const auto vio = Pattern<VeskVideoVioCallbackParam>(10);
    static const std::string server(63, 's');

    Drive(kSource,
          {
              Row(CALL(VeskVideoVoSetSrc, 4, &composition), Head(25, 4)).Payload(BytesOf(composition)),
              Row(CALL(VeskVideoVoSetSrc, 4, &empty), Head(25, 4)).Payload(BytesOf(empty)),
              Row(CALL(VeskVideoVoSetDisplayMode, &mode), Head(154)).Payload(BytesOf(mode)),
              Row(CALL(VeskVideoVoSetDefaultImage, 1, 2, path.c_str()), Head(146, 1, 2)).Payload(Text(path)),
              Row(CALL(VeskVideoVoSetByomSrEnable, 255), Head(143, 255)),
              Row(CALL(VeskVideoAddFilterWindows, 6, 3, windows.data()), Head(144, 6, 3))
                  .Payload(BytesOf(windows)),
              Row(CALL(VeskVideoAddFilterWindows, 6, 3, nullptr), Head(144, 6, 3)),
              Row(CALL(VeskVideoDeleteFilterWindows, 6, 3, windows.data()), Head(145, 6, 3))
                  .Payload(BytesOf(windows)),
              Row(CALL(VeskVideoVoNotifyWindowDestroyed, 1, window), Head(162, 32512, 1)),
              Row(CALL(VeskVideoCreateOverlayChannel, 3, 65537, &g_number), Head(155, 3, 0, 1))
                  .Answer(Bytes(4)),
              Row(CALL(VeskVideoGetOverlayQueHandle, 3, &g_number), Head(156, 3)).Answer(Bytes(4)),
              Row(CALL(VeskVideoSetOverlayParam, 3, &overlay), Head(157, 3)).Payload(BytesOf(overlay)),
              Row(CALL(VeskVideoDestroyOverlayChannel, 3), Head(158, 3)),
              Row(CALL(VeskVideoEnableOverlay, 3, 1), Head(159, 3, 1)),
              Row(CALL(VeskVideoGetSnapshot, &snapshot, 2, 3), Head(72, 3, 2)).Payload(BytesOf(snapshot)),
              Row(CALL(VeskVideoSetStreamLoop, 1, 2, 3, &g_number), Head(118))
                  .Payload(BytesOf(std::array<uint32_t, 4>{1, 2, 3, 0}))
                  .Answer(BytesOf(uint32_t{66})),
              Row(CALL(VeskVideoSetStreamLoopEnable, 65537, 1), Head(119, 1, 0, 1)),
              Row(CALL(VeskVideoSetDynamicWallpapersStm, &wallpaper), Head(101)).Payload(BytesOf(wallpaper)),
              Row(CALL(VeskVideoSetAnnotationStatus, 65537, 2, 255), Head(75, 2, 255, 1)),
              Row(CALL(VeskVideoVerifyImage, path.c_str(), &verify),
                  Head(142, reinterpret_cast<uintptr_t>(path.c_str())))
                  .Payload(BytesOf(verify)),
              Row(CALL(VeskVideoSetVioCallback, 4, &vio), Head(71, 4)).Payload(BytesOf(vio)),
              Row(CALL(VeskVideoAdvancedQueueClientInit, server.c_str()), Head(88)).Payload(Text(server)),
              Row(CALL(VeskVideoBuffDestroyQueue, 5), Head(134, 0, 5)),
          });
}

TEST(DisplayRequests, RefusedBeforeAnythingIsSent)
{
    static const VeskVideoVoMultiPicParam tooMany = Composition(26);
    static const VeskVideoDisplayInfo badMode = Mode(3);
    static const std::string longPath(4096, 'i');
    static const std::string longServer(64, 's');
    Drive(kSource, std::vector<Refusal>{
                       {CALL(VeskVideoVoSetSrc, 1, nullptr), 1},
                       {CALL(VeskVideoVoSetSrc, 1, &tooMany), 2},
                       {CALL(VeskVideoVoSetDisplayMode, nullptr), 2},
                       {CALL(VeskVideoVoSetDisplayMode, &badMode), 2},
                       {CALL(VeskVideoVoSetDefaultImage, 1, 2, nullptr), 2},
                       {CALL(VeskVideoVoSetDefaultImage, 1, 2, longPath.c_str()), 2},
                       {CALL(VeskVideoCreateOverlayChannel, 1, 2, nullptr), 2},
                       {CALL(VeskVideoGetOverlayQueHandle, 1, nullptr), 2},
                       {CALL(VeskVideoSetOverlayParam, 1, nullptr), 1},
                       {CALL(VeskVideoGetSnapshot, nullptr, 1, 2), 1},
                       {CALL(VeskVideoSetStreamLoop, 1, 2, 3, nullptr), 2},
                       {CALL(VeskVideoSetDynamicWallpapersStm, nullptr), 2},
                       {CALL(VeskVideoVerifyImage, nullptr, nullptr), 2},
                       {CALL(VeskVideoVerifyImage, "path", nullptr), 2},
                       {CALL(VeskVideoSetVioCallback, 1, nullptr), 2},
                       {CALL(VeskVideoAdvancedQueueClientInit, nullptr), 1},
                       {CALL(VeskVideoAdvancedQueueClientInit, longServer.c_str()), 1},
                       {CALL(VeskVideoAdvancedQueueClientInit, "abc\r"), 2},
                       {CALL(VeskVideoBuffCreateQueue, nullptr), 1},
                   });
}

TEST(DisplayRequests, EveryPictureHasItsLine)
{
    Reset();
    const VeskVideoVoMultiPicParam full = Composition(25);
    EXPECT_EQ(VeskVideoVoSetSrc(1, &full), 0U);
    const auto lines = RequestLines();
    ASSERT_EQ(lines.size(), 28U);
    EXPECT_NE(lines[26].find("VeskVideoVoSetSrc:picNum[24] decFlag["), std::string::npos);
}

TEST(QueueRequests, AQueueIsCreatedPreparedAndAnnounced)
{
    uint32_t queue = 0;
    g_createResult = 9; // not reported; the number is used again
    g_initResult = 3;
    Reset();
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 3U);
    EXPECT_EQ(queue, 1U);
    EXPECT_EQ(g_initialised.back(), std::pair(1U, std::string("VIDEO")));
    EXPECT_TRUE(Get().sent.empty());
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VESK_VIDEO_MSG_CREATE_QUEUE fail[3].");

    g_createResult = g_initResult = 0;
    Reset();
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 0U);
    EXPECT_EQ(queue, 500U);
    EXPECT_EQ(BytesOf(Get().sent.at(0).Head()), BytesOf(Head(133, 0, 500)));
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
    Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(9)}; };
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 9U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface VESK_VIDEO_MSG_CREATE_QUEUE fail[9].");
    ASSERT_EQ(g_created.size(), 3U);
    EXPECT_STREQ(g_created[0].name, "vid_2k_2000_0");
    EXPECT_STREQ(g_created[1].name, "vid_2k_2000_0");
    EXPECT_STREQ(g_created[2].name, "vid_2k_2000_1");
    EXPECT_EQ(g_created[2].id, 1U);
    EXPECT_EQ(g_created[2].cnt, 2000U);
    Get().failingCopy = 1;
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 1U);
    EXPECT_EQ(RequestLines().back(), "L1 vesk_video_interface memcpy_sp Fail");
}

TEST(QueueRequests, AQueueIsSwitchedLocally)
{
    Reset();
    EXPECT_EQ(VeskVideoActivateQueue(8, 5), 0U);
    g_activateResult = 7;
    EXPECT_EQ(VeskVideoActivateQueue(9, 0), 1U);
    EXPECT_EQ(g_activated, (std::vector<std::pair<uint32_t, bool>>{{8, true}, {9, false}}));
    EXPECT_TRUE(Get().sent.empty());
    EXPECT_EQ(
        Get().lines[0],
        "T3 VeskVideoActivateQueue ##### VeskVideoActivateQueue start queueId[8] bEnableOrDisable[5]#####\n");
}
