// Which CPUs the host binds message threads to.
#include "platform/message_fixture.h"
#include "platform/os_sysctrl.h"

#include <pthread.h>

FORKED_TEST(HostMessage, ThreadsAreBoundToTheCpusThatTheyAreToldOf)
{
    static cpu_set_t s_cpus; // of the message thread, as its handler has seen them last
    cpu_set_t usable, one{}, none{};
    ASSERT_EQ(sched_getaffinity(0, sizeof usable, &usable), 0);
    int last = CPU_SETSIZE - 1;
    while (!CPU_ISSET(last, &usable))
        --last;
    CPU_SET(last, &one);
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    const Handler look = [](OsMsgEnvelope* message) {
        pthread_getaffinity_np(pthread_self(), sizeof s_cpus, &s_cpus);
        return Echo(message);
    };
    std::mutex held;
    held.lock();
    Served task("task", look, false);
    task.loop = std::jthread([&] {
        const std::lock_guard guard(held); // does not run its loop before it may
        OsMsgTaskRoutineByName("task");
    });
    const auto id = static_cast<uint32_t>(task.loop.native_handle());
    // The first one before the thread runs its loop.
    for (const auto& [wanted, result, bound] :
         {std::tuple(&one, 0, &one), {&none, 0, &one}, {&usable, 0, &usable}, {nullptr, -1, &usable}}) {
        EXPECT_EQ(OsSetProcessAffinity(id, wanted, 6), result);
        if (wanted == &one)
            held.unlock();
        EXPECT_EQ(Ask("self").result, 0U);
        EXPECT_TRUE(CPU_EQUAL(&s_cpus, bound));
    }
    CPU_SET(CPU_SETSIZE - 1, &none);
    EXPECT_EQ(OsSetProcessAffinity(id + 1, &none, 6), last < CPU_SETSIZE - 1 ? -1 : 0); // no such CPU here
}
