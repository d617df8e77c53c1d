// Which CPUs the host binds message threads to.
#include "platform/os_msg.h"
#include "platform/os_sysctrl.h"
#include "support/processes.h"
#include "vesk_host/message.h"

#include <atomic>
#include <cstring>
#include <thread>

#include <pthread.h>

using namespace processes;

namespace {

cpu_set_t g_cpus; // of the message thread, as its handler has seen them last
uint32_t g_thread = 0;

struct HostAffinity {
    RuntimeDir directory;
};

void Ask()
{
    OsMsgEnvelope envelope{};
    memcpy(envelope.recvProcName, "self", 4);
    memcpy(envelope.recvTaskName, "task", 4);
    OsMsgEnvelope* response = nullptr;
    OsMsgSynSend(&envelope, &response, 5000);
    OsMsgSynRespFree(response);
}

} // namespace

FORKED_TEST(HostAffinity, BindsTheMessageThreadItIsToldOf)
{
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    const auto handler = [](OsMsgEnvelope* message) -> uint32_t {
        pthread_getaffinity_np(pthread_self(), sizeof g_cpus, &g_cpus);
        g_thread = static_cast<uint32_t>(pthread_self());
        return HostMsgReply(message, nullptr, 0);
    };
    ASSERT_EQ(OsMsgRegTask("task", 8, handler), 0U);
    cpu_set_t usable, one, none;
    ASSERT_EQ(sched_getaffinity(0, sizeof usable, &usable), 0);
    int last = CPU_SETSIZE - 1;
    while (!CPU_ISSET(last, &usable))
        --last;
    CPU_ZERO(&none);
    CPU_ZERO(&one);
    CPU_SET(last, &one);

    std::atomic<bool> go = false;
    std::thread loop([&] {
        while (!go)
            std::this_thread::yield();
        OsMsgTaskRoutineByName("task");
    });
    const auto id = static_cast<uint32_t>(loop.native_handle());
    EXPECT_EQ(OsSetProcessAffinity(id, &one, 6), 0); // before the thread runs its loop
    go = true;
    Ask();
    EXPECT_EQ(g_thread, id);
    EXPECT_TRUE(CPU_EQUAL(&g_cpus, &one));
    for (const auto& [wanted, result, bound] : {std::tuple(&none, 0, &one), // asks for none in particular
                                                std::tuple(&usable, 0, &usable), // while it runs its loop
                                                std::tuple(static_cast<cpu_set_t*>(nullptr), -1, &usable)}) {
        EXPECT_EQ(OsSetProcessAffinity(id, wanted, 6), result);
        Ask();
        EXPECT_TRUE(CPU_EQUAL(&g_cpus, bound));
    }
    if (last < CPU_SETSIZE - 1) {
        CPU_SET(CPU_SETSIZE - 1, &none);
        EXPECT_EQ(OsSetProcessAffinity(id, &none, 6), -1); // no such CPU here
    }
    HostMsgEndTask("task");
    loop.join();
    OsMsgSetLogLevel(4);
    Ask(); // gives its connection up
}
