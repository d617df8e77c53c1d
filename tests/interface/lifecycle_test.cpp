// Start, stop and identity of the library, and its callback's installation.
#include "support/request_table.h"

#include <gtest/gtest.h>

#include <stdexcept>

using namespace recording;
using namespace request_table;

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

/// The lines of VeskVideoInit itself.
Lines InitLines()
{
    Lines lines = RequestLines();
    std::erase_if(lines, [](const std::string& line) {
        return line.find(" vesk_video_interface ") != 2 && line.find(" VeskVideoInit ") != 2;
    });
    return lines;
}

class Lifecycle : public testing::Test {
protected:
    void SetUp() override { Reset(); }
};

} // namespace

static const Family lifecycle("vesk_video_interface", FailureForm::kMessage, [] {
    static const VeskVideoCallbackInfo forwarded{nullptr, {1, 2, 3}};
    // clang-format off
    return Rows{
        ROW(VESK_VIDEO_MSG_EXIT, 1, VeskVideoExit).IsAsynchronous().Bare().Says("#####send %s start#####\n")
            .Says("Vesk video interface exit"),
        ROW(VESK_VIDEO_MSG_SET_CALLBACK, 163, VeskVideoSetCallback, &forwarded).Bare().Says("##### %s #####")
            .Says("set vesk video callback start").Null("info").Fails(FailureForm::kFunction),
    };
    // clang-format on
});

static const HasOwnTest init(VESK_VIDEO_MSG_INIT);

TEST_F(Lifecycle, InitAnnouncesTheHooksName)
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
    EXPECT_EQ(InitLines(),
              (Lines{"L3 vesk_video_interface VeskVideoInit:procName[fifteen-letters]",
                     "L3 vesk_video_interface after init north proc_name[fifteen-letters] task_name[VAPI]",
                     "T3 VeskVideoInit #####send VESK_VIDEO_MSG_INIT msg[0]#####\n"}));
    ASSERT_EQ(Get().tasks.size(), 1U);
    EXPECT_EQ(Get().tasks[0].name, "VAPI");
    EXPECT_EQ(Get().tasks[0].handler, VeskProcDealToNorthInterfaceMsg);
    EXPECT_EQ(Get().logLevel, 2U);
    EXPECT_NE(Get().logFunction, nullptr);
}

TEST_F(Lifecycle, WithoutAUsableNameTheFallbackIsTaken)
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
        const Lines lines = InitLines();
        EXPECT_EQ(lines[0], "L1 vesk_video_interface Get procName faild. " + c.values);
        EXPECT_EQ(lines[1], lines[0]);
        EXPECT_STREQ(VeskVideoGetServiceName(), "MediaCtlSrvPro");
        EXPECT_STREQ(Get().sent[0].envelope.sendProcName, "MediaCtlSrvPro");
    }
    g_hookThrows = false;
}

// Without a receive task Init goes on; each copy that fails has its line.
TEST_F(Lifecycle, InitFailsWithItsLines)
{
    const std::string module = "L1 vesk_video_interface ";
    const struct {
        int failingCopy;
        uint16_t answer;
        uint32_t result;
        Lines lines;
    } cases[] = {
        // clang-format off
        {0, 9, 9, {"L1 vesk_video_callback Reg One Msg Task Fail", module + "VESK_VIDEO_MSG_INIT fail[9]."}},
        {1, 0, 0, {"T3 CreateRecvMsgProcEntry memcpy_s fail, taskName[VAPI]"}},
        {2, 0, 1, {"T3 VeskVideoInit memcpy_s fail, procName[MediaCtlSrvPro]",
                   module + "memcpy_s fail, procName[MediaCtlSrvPro]"}},
        {3, 0, 1, {"T3 VeskVideoInit memcpy_s fail, taskName[VAPI]", module + "memcpy_s fail, taskName[VAPI]"}},
        // clang-format on
    };
    g_hookResult = 1;
    for (const auto& c : cases) {
        Reset();
        Get().regTaskResult = 1; // and no thread is started
        Get().answer = [&c](const Sent&) { return recording::Answer{0, AnswerBytes(c.answer)}; };
        Get().failingCopy = c.failingCopy;
        EXPECT_EQ(VeskVideoInit(), c.result);
        for (const std::string& line : c.lines)
            EXPECT_EQ(std::count(Get().lines.begin(), Get().lines.end(), line), 1) << line;
        EXPECT_EQ(Get().sent.size(), c.failingCopy < 2 ? 1U : 0U);
    }
}

TEST_F(Lifecycle, ExitForgetsTheCallbackAndSetCallbackInstallsOne)
{
    VeskVideoCallbackInfo info{};
    info.notifyCallback = Ignore;
    EXPECT_EQ(VeskVideoSetCallback(&info), VESK_VIDEO_OK);
    EXPECT_EQ(g_veskVideoCallBackPtr, Ignore);
    EXPECT_TRUE(Get().sent.empty());
    info.notifyCallback = nullptr;
    EXPECT_EQ(VeskVideoSetCallback(&info), VESK_VIDEO_OK);
    EXPECT_EQ(VeskVideoSetCallback(nullptr), 1U);
    EXPECT_EQ(VeskVideoGetCallbackPtr(), Ignore);
    EXPECT_EQ(VeskVideoExit(), VESK_VIDEO_OK);
    EXPECT_EQ(VeskVideoGetCallbackPtr(), nullptr);
    Get().asynResult = 0x101;
    EXPECT_EQ(VeskVideoExit(), 0x101U);
}

TEST_F(Lifecycle, VersionNeedsThirteenBytes)
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
