// Registration of a message task, and the name tables.
#include "support/recording_platform.h"
#include "vesk_video/vesk_video.h"

#include <gtest/gtest.h>

#include <cstring>
#include <dlfcn.h>
#include <future>
#include <pthread.h>

// Thread functions of this program that can be made to fail, ahead of the system's. The thread sanitizer
// calls them in threads that it does not know yet, so they must not be instrumented, nor call what it
// intercepts.
#define UNINSTRUMENTED __attribute__((no_sanitize("thread")))
static const char* g_failing = "";

UNINSTRUMENTED static bool IsFailing(const char* function)
{
    const char* failing = g_failing;
    for (; *failing != 0 && *failing == *function; ++failing)
        ++function;
    return *failing == *function;
}

#define FAILING(function, parameters, arguments)                                                             \
    extern "C" UNINSTRUMENTED int function parameters noexcept                                               \
    {                                                                                                        \
        const auto real = reinterpret_cast<int(*) parameters>(dlsym(RTLD_NEXT, #function));                  \
        return IsFailing(#function) ? EINVAL : real arguments;                                               \
    }
FAILING(pthread_attr_init, (pthread_attr_t * attr), (attr))
FAILING(pthread_attr_destroy, (pthread_attr_t * attr), (attr))
FAILING(pthread_attr_setschedpolicy, (pthread_attr_t * attr, int policy), (attr, policy))
FAILING(pthread_create,
        (pthread_t * thread, const pthread_attr_t* attr, void* (*entry)(void*), void* argument),
        (thread, attr, entry, argument))
FAILING(pthread_detach, (pthread_t thread), (thread))

/// The thread that cannot be detached is lost.
extern "C" UNINSTRUMENTED const char* __tsan_default_suppressions()
{
    return "thread:EachFailureHasItsLine";
}

static const std::string kGoing = "T3 VeskVideoRegOneMsgTask going reg one task";

static uint32_t (*const handler)(OsMsgEnvelope*) = [](OsMsgEnvelope*) { return 0U; };

/// A task on CPUs 0 and 2; bits above 5 do not count.
static MsgTaskDesc Task(void* (*entry)(void*) = nullptr)
{
    MsgTaskDesc desc{};
    std::strcpy(desc.taskName, "TASK");
    desc.msgProc = handler, desc.cpuMask = 0xffffffc5, desc.entry = entry;
    return desc;
}

TEST(Task, IsRegisteredAndItsThreadStarted)
{
    static std::promise<std::pair<uint32_t, size_t>> s_started; // number and stack size
    Reset();
    MsgTaskDesc desc = Task([](void*) -> void* {
        size_t stackSize = 0;
        pthread_attr_t attr;
        pthread_getattr_np(pthread_self(), &attr);
        pthread_attr_getstacksize(&attr, &stackSize);
        pthread_attr_destroy(&attr);
        s_started.set_value({static_cast<uint32_t>(pthread_self()), stackSize});
        return nullptr;
    });
    desc.stackSize = 1 << 20;
    ASSERT_EQ(VeskVideoRegOneMsgTask(&desc), VESK_VIDEO_OK);
    auto started = s_started.get_future();
    ASSERT_EQ(started.wait_for(std::chrono::seconds(10)), std::future_status::ready);
    const auto [thread, stackSize] = started.get();
    EXPECT_EQ(stackSize >> 20, 1U);
    EXPECT_EQ(Get().handler, handler);
    const std::string bound = "OsSetProcessAffinity " + std::to_string(thread) + " 5";
    EXPECT_EQ(Get().calls, (Lines{"OsMsgRegTask TASK 1024", bound}));
    EXPECT_EQ(Get().lines, Lines{kGoing});
}

TEST(Task, EachFailureHasItsLine)
{
    const std::string origin = "T1 VeskVideoRegOneMsgTask ", policy = "T1 VeskVideoSetThreadSchedparam ";
    const std::string unset = origin + "VeskVideoSetThreadSchedparam fail";
    const auto thread = [](void*) -> void* { return nullptr; };
    MsgTaskDesc task = Task(), threaded = Task(thread), stack = Task(), priority = Task();
    task.cpuMask = 0;
    threaded.cpuMask = 0x3f;  // all CPUs: no one is asked
    stack.stackSize = 1;      // below what a thread needs
    priority.priority = 1000; // above what the policy has
    const struct {
        MsgTaskDesc* desc;
        const char* failing;
        uint32_t result;
        Lines lines, calls;
    } cases[] = {
        // clang-format off
        {nullptr, "", 1, {origin + "task is null"}, {}},
        {&task, "pthread_attr_init", 1, {origin + "attr init fail"}, {}},
        {&stack, "", 1, {origin + "set stack size fail"}, {}},
        {&task, "pthread_attr_setschedpolicy", 1, {policy + "set schedpolicy fail", unset}, {}},
        {&priority, "", 1, {policy + "set schedparam", unset}, {}},
        {&threaded, "OsMsgRegTask", 1, {origin + "reg msg fail"}, {"OsMsgRegTask TASK 1024"}},
        {&threaded, "pthread_create", 1, {origin + "create new task fail"}, {"OsMsgRegTask TASK 1024"}},
        {&threaded, "pthread_detach", 0, {origin + "detach not OK\n"}, {"OsMsgRegTask TASK 1024"}},
        {&threaded, "pthread_attr_destroy", 0, {origin + "destroy attr fail"}, {"OsMsgRegTask TASK 1024"}},
        {&task, "OsSetProcessAffinity", 0, {origin + "it is not set mask ok"},
            {"OsMsgRegTask TASK 1024", "OsSetProcessAffinity 0 0"}}, // without an entry there is no thread
        // clang-format on
    };
    for (const auto& c : cases) {
        Reset();
        Get().results = {{c.failing, UINT32_MAX}};
        g_failing = c.failing;
        EXPECT_EQ(VeskVideoRegOneMsgTask(c.desc), c.result);
        g_failing = "";
        EXPECT_EQ(Get().lines.front(), kGoing);
        EXPECT_EQ(Lines(Get().lines.begin() + 1, Get().lines.end()), c.lines);
        EXPECT_EQ(Get().calls, c.calls);
    }
    EXPECT_EQ(SysCtrlTaskSetSchedMask(7, 1), 1U);
}

TEST(Task, NamesByNumber)
{
    const auto proc = VeskVideoSearchProcName, task = VeskVideoSearchTaskName;
    const std::string untouched(16, 'x');
    const struct {
        decltype(proc) search;
        uint32_t number, size, result;
        std::string buffer; // of 16 bytes 'x' before; none: null
        std::string line;
    } cases[] = {
        // clang-format off
        {proc, 1, 16, 0, std::string("VIDEO_API\0\0\0\0\0\0\0", 16), ""},
        {proc, 0, 5, 0, "VIDEOxxxxxxxxxxx", ""},
        {proc, 2, 16, 1, untouched, ""},
        {proc, 1, 4, 1, std::string(4, '\0') + "xxxxxxxxxxxx", "ProcName search procname fail"},
        {proc, 1, 16, 1, "", "ProcName proc name is nullptr"},
        {task, 1, 16, 1, "", "TaskName task name is nullptr"},
        {task, 1, 16, 0, std::string("VAPI\0\0\0\0\0\0\0\0\0\0\0\0", 16), ""},
        {task, 0, 16, 1, untouched, ""},
        {task, 1, 3, 1, std::string(3, '\0') + "xxxxxxxxxxxxx", "TaskName search taskname fail"},
        // clang-format on
    };
    for (const auto& c : cases) {
        Reset();
        std::string buffer = untouched;
        EXPECT_EQ(c.search(c.buffer.empty() ? nullptr : buffer.data(), c.number, c.size), c.result);
        EXPECT_EQ(buffer, c.buffer.empty() ? untouched : c.buffer);
        EXPECT_EQ(Get().lines, c.line.empty() ? Lines() : Lines{"T1 VeskVideoSearch" + c.line});
    }
}
