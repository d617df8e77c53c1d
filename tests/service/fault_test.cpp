// Each call to the system and each allocation of a client and its service fails in turn: nothing hangs or
// leaks, and once they succeed again everything works.
#include "service/service.h"
#include "support/failing_malloc.h"
#include "support/fault_shim.h"
#include "support/processes.h"
#include "vesk_host/message.h"
#include "vesk_host/queue.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <thread>
#include <vector>

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

/// What the fork of a case leaves to the others.
struct Shared {
    std::atomic<bool> hasFailed;     ///< A call has failed.
    std::atomic<size_t> descriptors; ///< At the end, when none has.
};
Shared& g_shared = *static_cast<Shared*>(
    mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

/// Uses the service after @p begin, which lets calls fail; after @p end, which ends that, all must work.
bool Survives(const std::function<void()>& begin, const std::function<bool()>& end)
{
    RuntimeDir directory;
    const auto body = [&] {
        alarm(30); // nothing hangs
        setenv("VESK_LOG_TARGET", "none", 1);
        static vesk::service::Service service({"VIDEO", "VCTL"});
        g_service = &service;
        EXPECT_EQ(HostMsgSetProcName("VIDEO"), 0U);
        EXPECT_EQ(OsMsgRegTask("VCTL", 64, Serve), 0U);
        std::thread([] { OsMsgTaskRoutineByName("VCTL"); }).detach();
        begin();
        Use();
        g_shared.hasFailed = end();
        ASSERT_TRUE(Works());
        if (g_shared.descriptors == 0)
            g_shared.descriptors = OpenDescriptors().size();
        EXPECT_TRUE(Eventually([] { return OpenDescriptors().size() <= g_shared.descriptors; }));
        _exit(testing::Test::HasFailure() ? 1 : 0);
    };
    return Child(body, false).Wait() == 0;
}

/// Lets the first call fail, then the second, until none is left that can. Returns how many have failed.
unsigned Sweep(const std::string& what, const std::function<void(unsigned nth)>& begin,
               const std::function<bool()>& end)
{
    if (g_shared.descriptors == 0) {
        EXPECT_TRUE(Survives([] {}, [] { return false; }));
    }
    for (unsigned nth = 1;; ++nth) {
        EXPECT_TRUE(Survives([&] { begin(nth); }, end)) << what << ' ' << nth;
        if (!g_shared.hasFailed)
            return nth - 1;
    }
}

} // namespace

TEST(Faults, EachSystemCallFailsInTurn)
{
    unsigned cases = 0;
    for (const std::string call :
         {"recv=EINTR", "send=EINTR", "accept4=EINTR", "accept4=EMFILE", "socket=EMFILE", "epoll_ctl=ENOMEM",
          "epoll_create1=EMFILE", "eventfd=EMFILE", "open=EINTR", "open=EMFILE", "openat=EINTR",
          "openat=EMFILE", "pread=EINTR", "pread=SHORT", "pwrite=EINTR", "pwrite=ENOSPC", "pwrite=SHORT",
          "ftruncate=EINTR", "ftruncate=ENOSPC"}) {
        const auto begin = [&](unsigned nth) { SetFaults((call + '@' + std::to_string(nth)).c_str()); };
        const auto end = [] {
            const bool hasFailed = FaultCount() != 0;
            SetFaults(nullptr);
            return hasFailed;
        };
        const unsigned failed = Sweep(call, begin, end);
        EXPECT_GT(failed, 0U) << call;
        cases += failed;
    }
    std::printf("%u calls\n", cases);
}

TEST(Faults, EachAllocationFailsInTurn)
{
    const unsigned failed =
        Sweep("allocation", failing_malloc::FailOnce, [] { return failing_malloc::FailOnce(0); });
    EXPECT_GT(failed, 5U); // the sanitizers' operator new does not call malloc
    std::printf("%u allocations\n", failed);
}

#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__) // which nothing can be preloaded before

/// Starts the service's program with an allocation that fails. It serves, or says in one line why not.
bool Serves(unsigned nth, std::vector<const char*> words)
{
    const RuntimeDir directory;
    const std::string output = directory.File("output");
    words.insert(words.begin(), VESK_SERVICE_PATH);
    words.push_back(nullptr);
    setenv("VESK_LOG_TARGET", "none", 1);
    Child service([&] {
        setenv("VESK_FAULTS", ("malloc=ENOMEM@" + std::to_string(nth)).c_str(), 1);
        setenv("LD_PRELOAD", VESK_FAULT_SHIM_PATH, 1);
        if (freopen(output.c_str(), "w", stdout) != nullptr && dup2(STDOUT_FILENO, STDERR_FILENO) >= 0)
            execv(words[0], const_cast<char**>(words.data()));
        _exit(127);
    });
    EXPECT_TRUE(Eventually([&] { return Contents(output).find('\n') != std::string::npos; }));
    const std::string said = "vesk-video-service: ";
    const bool serves = Contents(output).rfind(said + "serving", 0) == 0;
    if (serves) {
        InFork([] {
            for (int i = 0; i < 3; ++i)
                Use(); // some of it in vain, if that is where memory ends
            _exit(Works() ? 0 : 1);
        });
    }
    const int status = service.Wait(serves ? SIGTERM : 0);
    const std::string text = Contents(output);
    if (serves)
        EXPECT_EQ(status, 0) << text;
    else // it may seem to the parsers that a file is wrong
        EXPECT_TRUE(text.find('\n') == text.size() - 1 &&
                    text.rfind(status == 1 ? said : VESK_SERVICE_DATA, 0) == 0 && status <= 2)
            << status << ' ' << text;
    return serves;
}

TEST(Faults, EachAllocationOfTheServicesStartFailsInTurn)
{
    const struct {
        std::vector<const char*> words;
        unsigned step;   ///< Files take thousands of allocations.
        unsigned enough; ///< So many starts in a row that serve: its allocations are over.
    } rows[] = {{{}, 1, 20},
                {{"--device", VESK_SERVICE_DATA "/devices/default.toml", "--scenario",
                  VESK_SERVICE_DATA "/scenarios/loose_cable.toml"},
                 31,
                 4}};
    for (const auto& [words, step, enough] : rows) {
        unsigned cases = 0, failed = 0;
        for (unsigned served = 0; served < enough; ++cases) {
            SCOPED_TRACE(1 + cases * step);
            const bool serves = Serves(1 + cases * step, words);
            served = serves ? served + 1 : 0;
            failed += serves ? 0 : 1;
        }
        EXPECT_GT(failed, 100U);
        std::printf("%u starts, %u of them in vain\n", cases, failed);
    }
}

#endif

// A handler that cannot put its answer off for want of memory gives it at once.
TEST(Faults, EachAllocationOfADeferralFailsInTurn)
{
    static std::atomic<uint32_t> s_nth = 0, s_deferred = 0;
    const auto defer = [](OsMsgEnvelope* message) -> uint32_t {
        failing_malloc::FailOnce(++s_nth);
        const HostMsgDeferred deferred = HostMsgDefer(message);
        EXPECT_EQ(failing_malloc::FailOnce(0), deferred == 0);
        if (deferred == 0)
            return HostMsgReply(message, message->data, message->dataLen);
        ++s_deferred;
        return HostMsgReplyDeferred(deferred, message->data, message->dataLen);
    };
    const RuntimeDir directory;
    InFork([&] {
        setenv("VESK_LOG_TARGET", "none", 1);
        EXPECT_EQ(HostMsgSetProcName("VIDEO"), 0U);
        EXPECT_EQ(OsMsgRegTask("VCTL", 64, defer), 0U);
        std::thread([] { OsMsgTaskRoutineByName("VCTL"); }).detach();
        const VeskVideoMsgHead head{};
        for (int i = 0; i < 4; ++i)
            EXPECT_EQ(VeskVideoSendSyncMsgWithoutResponse(&head, nullptr, 0), 0U);
        EXPECT_GT(s_deferred, 0U);
        std::printf("%u deferred\n", s_deferred.load());
        _exit(testing::Test::HasFailure() ? 1 : 0);
    });
}

TEST(Faults, EachAllocationAtALoopsStartAndAtItsTasksEndFailsInTurn)
{
    const auto echo = [](OsMsgEnvelope* message) {
        return HostMsgReply(message, message->data, message->dataLen);
    };
    for (const bool atEnd : {false, true}) {
        g_shared.hasFailed = true;
        for (size_t nth = 1; g_shared.hasFailed; ++nth) {
            SCOPED_TRACE(nth);
            const RuntimeDir directory;
            InFork([&] {
                alarm(30);
                setenv("VESK_LOG_TARGET", "none", 1);
                EXPECT_EQ(HostMsgSetProcName("VIDEO"), 0U);
                EXPECT_EQ(OsMsgRegTask("VCTL", 64, echo), 0U);
                std::thread loop([&] {
                    failing_malloc::FailOnce(atEnd ? 0 : nth);
                    OsMsgTaskRoutineByName("VCTL");
                });
                usleep(50000);
                g_shared.hasFailed = failing_malloc::FailOnce(0);
                const VeskVideoMsgHead head{};
                EXPECT_EQ(VeskVideoSendSyncMsgWithoutResponse(&head, nullptr, 0), 0U);
                failing_malloc::FailOnce(atEnd ? nth : 0);
                EXPECT_EQ(HostMsgEndTask("VCTL"), 0U);
                if (atEnd)
                    g_shared.hasFailed = failing_malloc::FailOnce(0);
                loop.join();
            });
        }
    }
}
