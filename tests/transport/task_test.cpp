// Registration of a message task, and the name tables.
#include "support/recording_platform.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <cstring>
#include <dlfcn.h>
#include <mutex>
#include <pthread.h>

using namespace recording;

// Thread functions of this program that can be made to fail, ahead of the system's.
static std::string g_failing;

#define FAILING(function, parameters, arguments)                                                             \
    extern "C" int function parameters noexcept                                                              \
    {                                                                                                        \
        static const auto real = reinterpret_cast<int(*) parameters>(dlsym(RTLD_NEXT, #function));           \
        return g_failing == #function ? EINVAL : real arguments;                                             \
    }
FAILING(pthread_attr_init, (pthread_attr_t * attr), (attr))
FAILING(pthread_attr_destroy, (pthread_attr_t * attr), (attr))
FAILING(pthread_attr_setschedpolicy, (pthread_attr_t * attr, int policy), (attr, policy))
FAILING(pthread_detach, (pthread_t thread), (thread))

namespace {

struct ThreadReport {
    std::mutex lock;
    std::condition_variable arrived;
    bool hasRun = false;
    size_t stackSize = 0;
    uint32_t id = 0;
} g_thread;

void* ThreadBody(void*)
{
    pthread_attr_t attr;
    pthread_getattr_np(pthread_self(), &attr);
    const std::lock_guard guard(g_thread.lock);
    pthread_attr_getstacksize(&attr, &g_thread.stackSize);
    pthread_attr_destroy(&attr);
    g_thread.id = static_cast<uint32_t>(pthread_self());
    g_thread.hasRun = true;
    g_thread.arrived.notify_all();
    return nullptr;
}

uint32_t Handler(OsMsgEnvelope*)
{
    return 0;
}

MsgTaskDesc Description()
{
    MsgTaskDesc desc{};
    std::strcpy(desc.taskName, "TASK");
    desc.msgProc = Handler;
    desc.cpuMask = 0x3f;
    return desc;
}

class TaskTest : public testing::Test {
protected:
    void SetUp() override { Reset(); }
};

} // namespace

TEST_F(TaskTest, RegistersTheTaskAndStartsItsThread)
{
    MsgTaskDesc desc = Description();
    desc.stackSize = 1 << 20;
    desc.cpuMask = 0xffffffc5; // CPUs 0 and 2; bits above 5 do not count
    desc.entry = ThreadBody;
    ASSERT_EQ(VeskVideoRegOneMsgTask(&desc), VESK_VIDEO_OK);
    std::unique_lock guard(g_thread.lock);
    ASSERT_TRUE(g_thread.arrived.wait_for(guard, std::chrono::seconds(10), [] { return g_thread.hasRun; }));
    EXPECT_GE(g_thread.stackSize, size_t{1} << 20);
    EXPECT_LT(g_thread.stackSize, size_t{2} << 20);
    ASSERT_EQ(Get().tasks.size(), 1U);
    EXPECT_EQ(Get().tasks[0].name, "TASK");
    EXPECT_EQ(Get().tasks[0].depth, 1024U);
    EXPECT_EQ(Get().tasks[0].handler, Handler);
    ASSERT_EQ(Get().affinities.size(), 1U);
    EXPECT_EQ(Get().affinities[0].first, g_thread.id);
    cpu_set_t expected;
    CPU_ZERO(&expected);
    CPU_SET(0, &expected);
    CPU_SET(2, &expected);
    EXPECT_TRUE(CPU_EQUAL(&Get().affinities[0].second, &expected));
    EXPECT_EQ(Get().lines, std::vector<std::string>{"T3 VeskVideoRegOneMsgTask going reg one task"});
}

TEST_F(TaskTest, EachFailureHasItsLine)
{
    const std::string origin = "T1 VeskVideoRegOneMsgTask ";
    MsgTaskDesc stack = Description();
    stack.stackSize = 1; // below what a thread needs
    MsgTaskDesc priority = Description();
    priority.priority = 1000; // above what the policy has
    MsgTaskDesc refused = Description();
    MsgTaskDesc unbound = Description();
    unbound.cpuMask = 0;
    MsgTaskDesc threadless = Description();
    MsgTaskDesc threaded = Description();
    threaded.entry = [](void*) -> void* { return nullptr; };
    const std::string policy = "T1 VeskVideoSetThreadSchedparam ";
    struct {
        MsgTaskDesc* desc;
        uint32_t result;
        std::vector<std::string> lines;
        size_t registered;
        const char* failing = "";
    } cases[] = {
        // clang-format off
        {nullptr, 1, {origin + "task is null"}, 0},
        {&threadless, 1, {origin + "attr init fail"}, 0, "pthread_attr_init"},
        {&stack, 1, {origin + "set stack size fail"}, 0},
        {&threadless, 1, {policy + "set schedpolicy fail", origin + "VeskVideoSetThreadSchedparam fail"}, 0,
         "pthread_attr_setschedpolicy"},
        {&priority, 1, {policy + "set schedparam", origin + "VeskVideoSetThreadSchedparam fail"}, 0},
        {&refused, 1, {origin + "reg msg fail"}, 1},
        {&threaded, 0, {origin + "detach not OK\n"}, 1, "pthread_detach"},
        {&threadless, 0, {origin + "destroy attr fail"}, 1, "pthread_attr_destroy"},
        {&unbound, 0, {origin + "it is not set mask ok"}, 1},
        // clang-format on
    };
    for (auto& c : cases) {
        Reset();
        Get().regTaskResult = c.desc == &refused ? 5 : 0;
        Get().affinityResult = -1;
        g_failing = c.failing;
        EXPECT_EQ(VeskVideoRegOneMsgTask(c.desc), c.result);
        g_failing.clear();
        c.lines.insert(c.lines.begin(), "T3 VeskVideoRegOneMsgTask going reg one task");
        EXPECT_EQ(Get().lines, c.lines);
        EXPECT_EQ(Get().tasks.size(), c.registered);
    }
    ASSERT_EQ(Get().affinities.size(), 1U); // no entry: no thread, identifier 0, empty set
    EXPECT_EQ(Get().affinities[0].first, 0U);
    EXPECT_EQ(CPU_COUNT(&Get().affinities[0].second), 0);
}

TEST_F(TaskTest, AllCpusAskForNothing)
{
    EXPECT_EQ(SysCtrlTaskSetSchedMask(7, 0x3f), VESK_VIDEO_OK);
    EXPECT_TRUE(Get().affinities.empty());
    Get().affinityResult = -1;
    EXPECT_EQ(SysCtrlTaskSetSchedMask(7, 1), 1U);
}

TEST_F(TaskTest, NamesByNumber)
{
    const auto proc = VeskVideoSearchProcName;
    const auto task = VeskVideoSearchTaskName;
    const struct {
        decltype(proc) search;
        uint32_t number;
        uint32_t size;
        uint32_t result;
        std::string buffer; // of 16 bytes 'x' before
        std::vector<std::string> lines;
    } cases[] = {
        // clang-format off
        {proc, 1, 16, 0, std::string("VIDEO_API\0\0\0\0\0\0\0", 16), {}},
        {proc, 0, 5, 0, "VIDEOxxxxxxxxxxx", {}},
        {proc, 2, 16, 1, "xxxxxxxxxxxxxxxx", {}},
        {proc, 1, 4, 1, std::string(4, '\0') + "xxxxxxxxxxxx", {"T1 VeskVideoSearchProcName search procname fail"}},
        {task, 1, 16, 0, std::string("VAPI\0\0\0\0\0\0\0\0\0\0\0\0", 16), {}},
        {task, 0, 16, 1, "xxxxxxxxxxxxxxxx", {}},
        {task, 1, 3, 1, std::string(3, '\0') + "xxxxxxxxxxxxx", {"T1 VeskVideoSearchTaskName search taskname fail"}},
        // clang-format on
    };
    for (const auto& c : cases) {
        Reset();
        std::string buffer(16, 'x');
        EXPECT_EQ(c.search(buffer.data(), c.number, c.size), c.result);
        EXPECT_EQ(buffer, c.buffer);
        EXPECT_EQ(Get().lines, c.lines);
    }
    Reset();
    EXPECT_EQ(proc(nullptr, 1, 16), 1U);
    EXPECT_EQ(task(nullptr, 1, 16), 1U);
    EXPECT_EQ(Get().lines, (std::vector<std::string>{"T1 VeskVideoSearchProcName proc name is nullptr",
                                                     "T1 VeskVideoSearchTaskName task name is nullptr"}));
}
