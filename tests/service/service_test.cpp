// The library, the host platform and the virtual service as separate processes.
#include "service/service_fixture.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <regex>
#include <thread>

/// The library's hook, defined by the application.
int GetSelfProcName(std::string& name)
{
    name = g_name;
    return 0;
}

// Two walks through all families at once, and one after another, each under a name of its own.
FORKED_TEST(Application, TwoToursOfTheDeviceRunAtOnce)
{
    const Child service = StartService();
    for (int round = 0; round < 2; ++round) {
        Child first = Child::Start(VESK_TOUR_PATH, {"first", "0", "0"});
        Child second = Child::Start(VESK_TOUR_PATH, {"second", "2", "1"});
        for (Child* tour : {&first, &second}) {
            EXPECT_TRUE(tour->AwaitOutput("all as expected"));
            EXPECT_EQ(tour->Wait(), 0);
        }
    }
}

FORKED_TEST(Application, ASecondOneOfTheSameNameStillGetsAnswers)
{
    const Child service = StartService();
    const Child first = Prepared([] { return VeskVideoInit() == 0; });
    testing::internal::CaptureStderr();
    EXPECT_EQ(VeskVideoInit(), 0U);
    EXPECT_EQ(Number(VeskVideoGetVoCount), 2U);
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_NE(errors.find("test-app.VAPI is already served by process " + std::to_string(first.Process())),
              std::string::npos)
        << errors;
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1);
    const std::pair<std::vector<std::string>, int> others[] = {{{"--task", "VCTL"}, 1},
                                                               {{"--process", std::string(16, 'x')}, 2},
                                                               {{"--task", std::string(16, 'x')}, 1}};
    for (const auto& [arguments, status] : others) // and a second service of the same name ends
        EXPECT_EQ(Child::Start(VESK_SERVICE_PATH, arguments).Wait(), status);
}

FORKED_TEST(VideoService, ExitAndInitAtOnceKeepTheClientKnown)
{
    for (size_t round = 1; round <= 50; ++round) {
        ASSERT_TRUE(Arrives(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, 2 * round));
        ASSERT_EQ(VeskVideoExit(), 0U);
        ASSERT_EQ(VeskVideoInit(), 0U);
        Install();
    }
}

FORKED_TEST(Application, ARestartIsToldToThoseStillThere)
{
    g_name = "test/app"; // a name that is no file name
    Child service = StartService();
    Child gone = Child::Fork([] {
        g_name = "gone";
        _exit(VeskVideoInit() == 0 ? 42 : 1);
    });
    const pid_t gonePid = gone.Process();
    EXPECT_EQ(gone.Wait(), 42);
    ASSERT_EQ(VeskVideoInit(), 0U);
    Install();
    const std::string clients = directory.File("VIDEO.VCTL.clients");
    const std::string self = "test/app\tVAPI\t" + std::to_string(getpid()) + '\n';
    EXPECT_EQ(Contents(clients), "gone\tVAPI\t" + std::to_string(gonePid) + '\n' + self);
    service.Signal(SIGTERM);
    EXPECT_TRUE(service.AwaitOutput("ended"));
    EXPECT_EQ(service.Wait(), 0);
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY));
    EXPECT_EQ(Contents(clients), self); // the one that could not be told is forgotten
    uint32_t count = 7;
    EXPECT_EQ(VeskVideoGetVoCount(&count), 1U);
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(VeskVideoExit(), uint32_t{HOST_MSG_ERR_ABSENT});
    Install();
    std::ofstream(clients, std::ios::app) << "dead\tVAPI\t" << gonePid << "\nhalf a line\n\n";

    service = StartService();
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY));
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
    service.Signal(SIGKILL); // says nothing, but is missed no more
    service.Wait();
    EXPECT_EQ(VeskVideoGetVoCount(&count), 1U);
    service = StartService();
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, 2));
    EXPECT_EQ(VeskVideoExit(), 0U);
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
    EXPECT_EQ(Contents(clients), "");
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY, 1));
}

FORKED_TEST(Application, RequestsAndNotificationsAreLogged)
{
    setenv("VESK_LOG_LEVEL", "3", 1);
    setenv("VESK_LOG_TARGET", ("file:" + directory.File("log")).c_str(), 1);
    const Child service = StartService();
    unsetenv("VESK_LOG_LEVEL");
    unsetenv("VESK_LOG_TARGET");
    VeskVideoInit();
    VeskVideoViConnect(1, 2);
    SendRaw(4, 0, "");
    OsMsgEnvelope envelope{}, *response = nullptr;
    envelope.msgId = 17;
    std::strcpy(envelope.recvProcName, "VIDEO");
    std::strcpy(envelope.recvTaskName, "VCTL");
    EXPECT_EQ(OsMsgSynSend(&envelope, &response, 5000), 0U);
    OsMsgSynRespFree(response);
    const std::string log = Contents(directory.File("log"));
    for (const char* line :
         {"notification 100 to test-app: 0\n", "VESK_VIDEO_MSG_INIT \\(0\\) from test-app.*: 0\n",
          "VESK_VIDEO_MSG_SET_VI_CONNECT \\(14\\) from test-app.*: 515\n",
          "an unknown request \\(4\\) from test-app.*: 513\n",
          "a message without a header \\(17\\) from .*: 514\n"})
        EXPECT_TRUE(std::regex_search(log, std::regex(line))) << line << log;
}

// Ten restarts during ten thousand requests of eight threads. Each kind of request has an answer of its
// own, so one that is taken for another's shows.
FORKED_TEST(Application, TenRestartsDuringTenThousandRequests)
{
    setenv("VESK_LOG_TARGET", "none", 1);
    Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    constexpr int kThreads = 8, kRequests = 1250;
    constexpr uint32_t kResults[] = {0, 0, VESK_SERVICE_ERR_NUMBER, VESK_SERVICE_ERR_REQUEST};
    std::atomic<int> done = 0, failed = 0, wrong = 0;
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (uint32_t i = 0; i < kRequests; ++i, ++done) {
                uint32_t count = 0;
                VeskVideoVoPortInfo ports[2]{};
                const uint32_t kind = (thread + i) % 4;
                const uint32_t result = kind == 0   ? VeskVideoGetVoCount(&count)
                                        : kind == 1 ? VeskVideoGetVoPort(ports, 2)
                                        : kind == 2 ? VeskVideoVoStart(1000000)
                                                    : SendRaw(4, 0, "");
                const uint32_t answer = kind == 0 ? count : ports[1].serviceData[0];
                const bool isRight = result == kResults[kind] && answer == (kind == 0   ? 2
                                                                            : kind == 1 ? 1
                                                                                        : 0);
                failed += result == VESK_VIDEO_ERR_FAILURE ? 1 : 0;
                wrong += result != VESK_VIDEO_ERR_FAILURE && !isRight ? 1 : 0;
                if (thread == 0 && i % 10 == 0)
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    int restarts = 0;
    for (; restarts < 10; ++restarts) {
        const int begun = done;
        ASSERT_TRUE(Eventually([&] { return done >= std::min(begun + 800, kThreads * kRequests); }));
        service.Signal(restarts % 2 == 0 ? SIGTERM : SIGKILL);
        service.Wait();
        service = StartService();
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(restarts, 10);
    EXPECT_EQ(done, kThreads * kRequests);
    EXPECT_EQ(wrong, 0);
    EXPECT_LT(failed, done);
    EXPECT_EQ(Number(VeskVideoGetVoCount), 2U);
}
