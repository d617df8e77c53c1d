// Start, stop and identity of the library, and its callback's installation.
#include "support/request_table.h"

#include <gtest/gtest.h>

#include <stdexcept>

static const VeskVideoCallbackInfo forwarded{nullptr, {1, 2, 3}};

// clang-format off
static const Family lifecycle("vesk_video_interface", "message", [] { return Rows{
    ROW(EXIT, 1, Exit).Sends({}, "L3 {%s start}\n|L3 Vesk video interface exit"),
    ROW(SET_CALLBACK, 163, SetCallback, &forwarded)
        .Sends({}, "L3 ##### %s #####|L3 set vesk video callback start|?1 info|!function"),
}; });
// clang-format on

// This program's own hook: it stands in for the application's.
static std::string g_hookName;
static int g_hookResult = 1;

int GetSelfProcName(std::string& name)
{
    if (g_hookResult == -1)
        throw std::runtime_error("no name");
    name = g_hookName;
    return g_hookResult;
}

static const VeskVideoNotifyCallback ignore = [](uint32_t, void*, uint32_t) { return 0U; };

TEST(Lifecycle, InitAnnouncesTheHooksNameOrTheFallback)
{
    const struct {
        int hookResult;
        std::string hookName, name, values;
    } cases[] = {
        {0, "fifteen-letters", "fifteen-letters", ""},
        {1, "", "MediaCtlSrvPro", "ret=1, len=0"},
        {0, "sixteen-letters!", "MediaCtlSrvPro", "ret=0, len=16"},
        {-1, "", "MediaCtlSrvPro", "ret=-1, len=14"}, // throws; the name of before is shown
    };
    for (const auto& c : cases) {
        Reset();
        g_hookResult = c.hookResult;
        g_hookName = c.hookName;
        g_veskVideoCallBackPtr = ignore;
        EXPECT_EQ(VeskVideoInit(), VESK_VIDEO_OK);
        ASSERT_TRUE(AwaitRoutine());
        EXPECT_EQ(VeskVideoGetCallbackPtr(), nullptr);
        VeskVideoInitInfo info{};
        std::ranges::copy(c.name, info.procName);
        std::strcpy(info.taskName, "VAPI");
        EXPECT_EQ(Get().sent.at(0).data, Block({}, BytesOf(info)));
        EXPECT_EQ(Get().sent[0].envelope.sendProcName, c.name);
        EXPECT_EQ(VeskVideoGetServiceName(), c.name);
        EXPECT_EQ(Get().handler, VeskProcDealToNorthInterfaceMsg);
        EXPECT_EQ(Times("OsMsgRegTask VAPI 1024") + Times("OsMsgTaskRoutineByName VAPI"), 2U);
        EXPECT_EQ(Times("OsMsgSetLogLevel 2"), 1U);
        Lines lines = Get().lines; // without those of the receive task
        std::erase_if(lines, [](const std::string& line) {
            return !line.substr(2).starts_with(" vesk_video_interface ") &&
                   !line.starts_with("T3 VeskVideoInit ");
        });
        const std::string refused = c.values.empty() ? "" : "L1 Get procName faild. " + c.values + '|';
        EXPECT_EQ(lines, Expand(refused + refused + "L3 %s:procName[" + c.name +
                                    "]|L3 after init north proc_name[" + c.name + "] task_name[VAPI]|end",
                                "VeskVideoInit", "VESK_VIDEO_MSG_INIT"));
    }
}

// Without a receive task Init goes on; each copy that fails has its line.
TEST(Lifecycle, InitFailsWithItsLines)
{
    const std::string log = "L1 vesk_video_interface ";
    const struct {
        int failingCopy;
        uint16_t answer;
        uint32_t result;
        Lines lines;
    } cases[] = {
        // clang-format off
        {0, 9, 9, {"L1 vesk_video_callback Reg One Msg Task Fail", log + "VESK_VIDEO_MSG_INIT fail[9]."}},
        {1, 0, 0, {"T3 CreateRecvMsgProcEntry memcpy_s fail, taskName[VAPI]"}},
        {2, 0, 1, {"T3 VeskVideoInit memcpy_s fail, procName[MediaCtlSrvPro]",
                   log + "memcpy_s fail, procName[MediaCtlSrvPro]"}},
        {3, 0, 1, {"T3 VeskVideoInit memcpy_s fail, taskName[VAPI]", log + "memcpy_s fail, taskName[VAPI]"}},
        // clang-format on
    };
    g_hookResult = 1;
    for (const auto& c : cases) {
        Reset(c.answer);
        Get().results["OsMsgRegTask"] = 1; // and no thread is started
        Get().failingCopy = c.failingCopy;
        EXPECT_EQ(VeskVideoInit(), c.result);
        for (const std::string& line : c.lines)
            EXPECT_EQ(Times(line), 1U) << line;
        EXPECT_EQ(Get().sent.size(), c.failingCopy < 2 ? 1U : 0U);
    }
}

TEST(Lifecycle, ExitForgetsTheCallbackAndSetCallbackInstallsOne)
{
    Reset(0x101);
    const VeskVideoCallbackInfo info{ignore, {}};
    EXPECT_EQ(VeskVideoSetCallback(&info), VESK_VIDEO_OK);
    EXPECT_TRUE(Get().sent.empty());
    EXPECT_EQ(VeskVideoSetCallback(&forwarded), 0x101U);
    EXPECT_EQ(g_veskVideoCallBackPtr, ignore);
    EXPECT_EQ(VeskVideoGetCallbackPtr(), ignore);
    EXPECT_EQ(VeskVideoExit(), 0x101U);
    EXPECT_EQ(VeskVideoGetCallbackPtr(), nullptr);
}

TEST(Lifecycle, VersionNeedsThirteenBytes)
{
    Reset();
    char buffer[13] = "............";
    for (const auto& [data, size] : {std::pair(buffer, 12U), {nullptr, 13U}, {buffer, 0U}})
        EXPECT_EQ(VeskVideoGetVersion(data, size), 1U);
    EXPECT_STREQ(buffer, "............");
    EXPECT_EQ(Times("L4 vesk_video_interface Get vesk_video version, len=13"), 1U);
}
