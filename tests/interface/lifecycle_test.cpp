// Start, stop and identity of the library.
#include "support/recording_platform.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

using namespace recording;

// This program's own hook: it stands in for the application's.
static std::string g_hookName;
static int g_hookResult = 1;
static bool g_hookThrows = false;

int GetSelfProcName(std::string& name)
{
    if (g_hookThrows)
        throw std::runtime_error("no name");
    name = g_hookName;
    return g_hookResult;
}

namespace {

uint32_t Ignore(uint32_t, void*, uint32_t)
{
    return 0;
}

std::vector<std::string> ModuleLines()
{
    std::vector<std::string> lines;
    for (const std::string& line : RequestLines()) {
        if (line.find(" vesk_video_interface ") == 2 || line.find(" VeskVideoInit ") == 2)
            lines.push_back(line);
    }
    return lines;
}

class LifecycleTest : public testing::Test {
protected:
    void SetUp() override { Reset(); }
};

} // namespace

TEST_F(LifecycleTest, InitAnnouncesTheHooksName)
{
    g_hookResult = 0;
    g_hookName = "fifteen-letters";
    g_veskVideoCallBackPtr = Ignore;
    ASSERT_EQ(VeskVideoInit(), VESK_VIDEO_OK);
    EXPECT_EQ(AwaitRoutine(), "VAPI");
    EXPECT_EQ(VeskVideoGetCallbackPtr(), nullptr);
    ASSERT_EQ(Get().sent.size(), 1U);
    const Sent& sent = Get().sent[0];
    EXPECT_EQ(sent.data.size(), 56U);
    EXPECT_EQ(BytesOf(sent.Head()), Bytes(24));
    EXPECT_EQ(std::memcmp(sent.Payload().data(), "fifteen-letters\0VAPI\0\0\0\0\0\0\0\0\0\0\0\0", 32), 0);
    EXPECT_STREQ(sent.envelope.sendProcName, "fifteen-letters");
    EXPECT_EQ(ModuleLines(),
              (std::vector<std::string>{
                  "L3 vesk_video_interface VeskVideoInit:procName[fifteen-letters]",
                  "L3 vesk_video_interface after init north proc_name[fifteen-letters] task_name[VAPI]",
                  "T3 VeskVideoInit #####send VESK_VIDEO_MSG_INIT msg[0]#####\n",
              }));
    ASSERT_EQ(Get().tasks.size(), 1U);
    EXPECT_EQ(Get().tasks[0].name, "VAPI");
    EXPECT_EQ(Get().tasks[0].handler, VeskProcDealToNorthInterfaceMsg);
    EXPECT_EQ(Get().logLevel, 2U);
    EXPECT_NE(Get().logFunction, nullptr);
}

TEST_F(LifecycleTest, WithoutAUsableNameTheFallbackIsTaken)
{
    const struct {
        int result;
        const char* name;
        std::string values;
        bool throws = false;
    } cases[] = {
        {1, "", "ret=1, len=0"},
        {0, "sixteen-letters!", "ret=0, len=16"},
        {0, "", "ret=-1, len=14", true}, // the name of before is shown
    };
    for (const auto& c : cases) {
        Reset();
        g_hookResult = c.result;
        g_hookName = c.name;
        g_hookThrows = c.throws;
        EXPECT_EQ(VeskVideoInit(), VESK_VIDEO_OK);
        EXPECT_EQ(AwaitRoutine(), "VAPI");
        const auto lines = ModuleLines();
        EXPECT_EQ(lines[0], "L1 vesk_video_interface Get procName faild. " + c.values);
        EXPECT_EQ(lines[1], lines[0]);
        EXPECT_STREQ(VeskVideoGetServiceName(), "MediaCtlSrvPro");
        EXPECT_STREQ(Get().sent[0].envelope.sendProcName, "MediaCtlSrvPro");
    }
}

TEST_F(LifecycleTest, InitGoesOnWithoutAReceiveTaskAndReturnsTheServicesCode)
{
    Get().regTaskResult = 1;
    Get().answer = [](const Sent&) { return Answer{0, AnswerBytes(9)}; };
    EXPECT_EQ(VeskVideoInit(), 9U);
    const auto lines = RequestLines();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "L1 vesk_video_callback Reg One Msg Task Fail"), 1);
    EXPECT_EQ(lines[lines.size() - 2], "T1 VeskVideoInit VESK_VIDEO_MSG_INIT fail[9].");
    EXPECT_EQ(lines.back(), "L1 vesk_video_interface VESK_VIDEO_MSG_INIT fail[9].");
}

TEST_F(LifecycleTest, FailedCopiesOfInit)
{
    Get().regTaskResult = 1; // no thread is wanted here
    const struct {
        int failingCopy;
        uint32_t result;
        const char* line;
    } cases[] = {
        {1, 0, "T3 CreateRecvMsgProcEntry memcpy_s fail, taskName[VAPI]"},
        {2, 1, "L1 vesk_video_interface memcpy_s fail, procName[MediaCtlSrvPro]"},
        {3, 1, "L1 vesk_video_interface memcpy_s fail, taskName[VAPI]"},
    };
    for (const auto& c : cases) {
        Get().lines.clear();
        Get().sent.clear();
        Get().failingCopy = c.failingCopy;
        EXPECT_EQ(VeskVideoInit(), c.result);
        EXPECT_EQ(std::count(Get().lines.begin(), Get().lines.end(), c.line), 1) << c.line;
        EXPECT_EQ(Get().sent.size(), c.result == 0 ? 1U : 0U);
    }
}

TEST_F(LifecycleTest, ExitForgetsTheCallbackBeforeTheMessageLeaves)
{
    g_veskVideoCallBackPtr = Ignore;
    EXPECT_EQ(VeskVideoExit(), VESK_VIDEO_OK);
    EXPECT_EQ(VeskVideoGetCallbackPtr(), nullptr);
    ASSERT_EQ(Get().sent.size(), 1U);
    EXPECT_FALSE(Get().sent[0].isSynchronous);
    EXPECT_EQ(Get().sent[0].Head().msgId, 1);
    EXPECT_EQ(RequestLines(), (std::vector<std::string>{
                                  "L3 vesk_video_interface #####send VeskVideoExit start#####\n",
                                  "L3 vesk_video_interface Vesk video interface exit",
                                  "T3 VeskVideoExit #####send VESK_VIDEO_MSG_EXIT msg[0]#####\n",
                              }));
    Get().asynResult = 0x101;
    EXPECT_EQ(VeskVideoExit(), 0x101U);
    EXPECT_EQ(Get().lines.back(), "L1 vesk_video_interface VESK_VIDEO_MSG_EXIT fail[257].");
}

TEST_F(LifecycleTest, VersionNeedsThirteenBytes)
{
    char buffer[13] = "............";
    EXPECT_EQ(VeskVideoGetVersion(buffer, 12), 1U);
    EXPECT_STREQ(buffer, "............");
    EXPECT_EQ(VeskVideoGetVersion(buffer, 13), VESK_VIDEO_OK);
    EXPECT_STREQ(buffer, "2.1.2.6.SP00");
    EXPECT_EQ(VeskVideoGetVersion(nullptr, 13), 1U);
    EXPECT_EQ(VeskVideoGetVersion(buffer, 0), 1U);
    EXPECT_EQ(Get().lines[1], "L4 vesk_video_interface Get vesk_video version, len=13");
}

TEST_F(LifecycleTest, SetCallbackInstallsOrForwards)
{
    VeskVideoCallbackInfo info{};
    info.notifyCallback = Ignore;
    EXPECT_EQ(VeskVideoSetCallback(&info), VESK_VIDEO_OK);
    EXPECT_EQ(g_veskVideoCallBackPtr, Ignore);
    EXPECT_TRUE(Get().sent.empty());

    info = {nullptr, {1, 2, 3}};
    EXPECT_EQ(VeskVideoSetCallback(&info), VESK_VIDEO_OK);
    EXPECT_EQ(VeskVideoGetCallbackPtr(), Ignore);
    ASSERT_EQ(Get().sent.size(), 1U);
    EXPECT_EQ(Get().sent[0].Head().msgId, 163);
    EXPECT_EQ(Get().sent[0].Payload(), BytesOf(info));
    EXPECT_EQ(Get().lines.back(),
              "T3 VeskVideoSetCallback #####send VESK_VIDEO_MSG_SET_CALLBACK msg[0]#####\n");
    Get().answer = [](const Sent&) { return Answer{3, {}}; };
    EXPECT_EQ(VeskVideoSetCallback(&info), 1U);
    EXPECT_EQ(Get().lines.back(), "L1 vesk_video_interface VeskVideoSetCallback failed[1].");

    EXPECT_EQ(VeskVideoSetCallback(nullptr), 1U);
    EXPECT_EQ(Get().lines.back(), "L1 vesk_video_interface VeskVideoSetCallback: info is NULL!");
    EXPECT_EQ(VeskVideoGetCallbackPtr(), Ignore);
}
