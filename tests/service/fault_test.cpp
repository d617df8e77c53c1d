// Each call to the system and each allocation of a client and its service fails in turn: nothing hangs or
// leaks, and once they succeed again everything works.
#include "service/service.h"
#include "support/failing_malloc.h"
#include "support/fault_shim.h"
#include "support/processes.h"
#include "vesk_host/message.h"
#include "vesk_host/queue.h"

#include <atomic>
#include <thread>

#include <sys/mman.h>

using namespace processes;

namespace {

vesk::service::Service* g_service;
std::atomic<unsigned> g_notified;

uint32_t Serve(OsMsgEnvelope* message)
try {
    g_service->Handle(*message);
    return 0;
} catch (const std::bad_alloc&) { // as the service's program: the sender sees a failure
    return 0;
}

uint32_t OnNotification(uint32_t, void*, uint32_t)
{
    ++g_notified;
    return 0;
}

/// What an application does, some of it in vain. Returns the results that are not 0, one a character.
std::string Use()
{
    VeskVideoCallbackInfo callback{};
    callback.notifyCallback = OnNotification;
    VeskVideoViPortInfo ports[3];
    uint32_t count = 0, queue = 0;
    std::string results;
    const auto expect = [&](uint32_t result) { results += result == 0 ? '.' : 'F'; };
    expect(VeskVideoInit());
    expect(VeskVideoSetCallback(&callback));
    expect(VeskVideoGetViCount(&count));
    expect(VeskVideoGetViPort(ports, 3));
    expect(VeskVideoBuffCreateQueue(&queue));
    HostQueueState state{};
    expect(HostQueueFind(queue, &state));
    expect(OsShmAdvancedInitQueue(queue, "peer"));
    expect(OsShmAdvancedActivateQueue(queue, true));
    expect(VeskVideoBuffDestroyQueue(queue));
    HostQueueRemove(queue);
    return results;
}

bool Works()
{
    const unsigned before = g_notified;
    const std::string results = Use();
    const bool works = results == "........." && Eventually([&] { return g_notified >= before + 9; });
    EXPECT_TRUE(works) << results << ", notifications: " << g_notified - before;
    return works;
}

/// Serves and uses the service, with what @p begin and @p end do to it meanwhile; then all must work.
template <class Begin, class End>
bool Survives(Begin begin, End end)
{
    RuntimeDir directory;
    Child child(
        [&] {
            alarm(30); // nothing hangs
            setenv("VESK_LOG_TARGET", "none", 1);
            static vesk::service::Service service({"VIDEO", "VCTL"});
            g_service = &service;
            EXPECT_EQ(HostMsgSetProcName("VIDEO"), 0U);
            EXPECT_EQ(OsMsgRegTask("VCTL", 64, Serve), 0U);
            std::thread([] { OsMsgTaskRoutineByName("VCTL"); }).detach();
            begin();
            Use();
            end();
            ASSERT_TRUE(Works());
            const auto before = OpenDescriptors();
            begin();
            Use();
            end();
            ASSERT_TRUE(Works());
            const auto isAsBefore = [&] { return OpenDescriptors().size() <= before.size(); };
            EXPECT_TRUE(Eventually(isAsBefore));
            _exit(testing::Test::HasFailure() ? 1 : 0);
        },
        false);
    return child.Wait() == 0;
}

/// A number that the fork of a case leaves to its parent.
struct Shared {
    std::atomic<bool>* hasFailed = static_cast<std::atomic<bool>*>(
        mmap(nullptr, sizeof *hasFailed, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    ~Shared() { munmap(hasFailed, sizeof *hasFailed); }
};

} // namespace

TEST(Faults, EachSystemCallFailsInTurn)
{
    const Shared shared;
    unsigned cases = 0;
    for (const std::string call :
         {"recv=EINTR",           "recv=SHORT",      "recvmsg=EINTR",   "send=EINTR",    "sendmsg=EINTR",
          "sendmsg=SHORT",        "accept4=EINTR",   "accept4=EMFILE",  "socket=EMFILE", "epoll_ctl=ENOMEM",
          "epoll_create1=EMFILE", "eventfd=EMFILE",  "open=EINTR",      "open=EMFILE",   "openat=EINTR",
          "openat=EMFILE",        "pread=EINTR",     "pread=SHORT",     "pwrite=EINTR",  "pwrite=ENOSPC",
          "pwrite=SHORT",         "ftruncate=EINTR", "ftruncate=ENOSPC"}) {
        std::printf("%u %s\n",cases,call.c_str());
        for (unsigned nth = 1; nth == 1 || *shared.hasFailed; ++nth, ++cases) {
            const std::string faults = call + '@' + std::to_string(nth);
            *shared.hasFailed = false;
            EXPECT_TRUE(Survives([&] { SetFaults(faults.c_str()); },
                                 [&] {
                                     *shared.hasFailed = *shared.hasFailed || FaultCount() != 0;
                                     SetFaults(nullptr);
                                 }))
                << faults;
        }
    }
    std::printf("%u cases\n", cases);
    EXPECT_GT(cases, 100U);
}

TEST(Faults, EachAllocationFailsInTurn)
{
    const Shared shared;
    size_t nth = 0;
    do {
        ++nth;
        *shared.hasFailed = false;
        EXPECT_TRUE(Survives([&] { failing_malloc::FailOnce(nth); },
                             [&] { *shared.hasFailed = failing_malloc::FailOnce(0) || *shared.hasFailed; }))
            << "allocation " << nth;
    } while (*shared.hasFailed);
    EXPECT_GT(nth, 100U);
}
