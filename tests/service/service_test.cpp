// The library, the host platform and the virtual service as separate processes.
#include "service/service_fixture.h"

#include <atomic>
#include <chrono>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>

/// The library's hook, defined by the application.
int GetSelfProcName(std::string& name)
{
    name = g_name;
    return 0;
}

FORKED_TEST(Application, AnnouncementsWaitForACallback)
{
    const Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    std::list<NorthMsgResendInfo> held;
    ASSERT_TRUE(Eventually([&] { return VeskVideoGetMsgResendQ(&held) == 0 && held.size() == 9; }));
    Install();
    EXPECT_EQ(g_notified.size(), 9U);
}

FORKED_TEST(Application, TwoApplicationsEachGetTheirOwnNotifications)
{
    const auto run = [](const char* name, uint32_t port) {
        return Child::Fork([name, port] {
            g_name = name;
            VeskVideoInit();
            Install();
            uint32_t engine = 0;
            const bool isDone = VeskVideoVoOpen(port, &engine) == 0 && VeskVideoVoStart(engine) == 0 &&
                                VeskVideoVoClose(engine) == 0 &&
                                Arrives(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY) &&
                                Arrives(VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, 2);
            _exit(isDone && g_notified.size() == 9 + 2 ? 42 : 1);
        });
    };
    const Child service = StartService();
    Child first = run("first", 0), second = run("second", 1);
    EXPECT_EQ(first.Wait(), 42);
    EXPECT_EQ(second.Wait(), 42);
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
    Child first = Child::Fork([] {
        VeskVideoInit();
        std::puts("ready");
        std::fflush(stdout);
        pause();
    });
    ASSERT_TRUE(first.AwaitOutput("ready"));
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
    const auto known = [&clients] {
        std::ostringstream text;
        text << std::ifstream(clients).rdbuf();
        return text.str();
    };
    const std::string self = "test/app\tVAPI\t" + std::to_string(getpid()) + '\n';
    EXPECT_EQ(known(), "gone\tVAPI\t" + std::to_string(gonePid) + '\n' + self);
    service.Signal(SIGTERM);
    EXPECT_TRUE(service.AwaitOutput("ended"));
    EXPECT_EQ(service.Wait(), 0);
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY));
    EXPECT_EQ(known(), self); // the one that could not be told is forgotten
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
    EXPECT_EQ(known(), "");
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
    std::ostringstream log;
    log << std::ifstream(directory.File("log")).rdbuf();
    for (const char* line :
         {"notification 100 to test-app: 0\n", "VESK_VIDEO_MSG_INIT \\(0\\) from test-app.*: 0\n",
          "VESK_VIDEO_MSG_SET_VI_CONNECT \\(14\\) from test-app.*: 515\n",
          "an unknown request \\(4\\) from test-app.*: 513\n",
          "a message without a header \\(17\\) from .*: 514\n"})
        EXPECT_TRUE(std::regex_search(log.str(), std::regex(line))) << line << log.str();
}

FORKED_TEST(Application, AServiceThatDiesWhileACallWaitsFailsTheCallAtOnce)
{
    Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    service.Signal(SIGSTOP);
    std::thread killer([&] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        service.Signal(SIGKILL);
    });
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(VeskVideoVoStart(1), 1U);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(4));
    killer.join();
}

FORKED_TEST(Application, AnUnusableRuntimeDirectoryFailsInitWithOneClearLine)
{
    const std::string path = directory.File("a") + "/b";
    setenv("VESK_RUNTIME_DIR", path.c_str(), 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(VeskVideoInit(), 1U);
    const std::string errors = testing::internal::GetCapturedStderr();
    const std::string line = "runtime directory " + path + " cannot be created: No such file or directory";
    const size_t first = errors.find(line);
    EXPECT_NE(first, std::string::npos) << errors;
    EXPECT_EQ(errors.find(line, first + 1), std::string::npos) << errors;
    EXPECT_NE(errors.find("VESK_VIDEO_MSG_INIT fail[1]."), std::string::npos);
    setenv("VESK_RUNTIME_DIR", directory.Path().c_str(), 1);
    const Child service = StartService();
    EXPECT_EQ(VeskVideoInit(), 0U); // nothing is lost
    Install();
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, 2));
}

// Ten restarts during ten thousand requests of eight threads. Each kind of request has an answer of its
// own, so one that is taken for another's shows.
FORKED_TEST(Application, TenRestartsDuringTenThousandRequests)
{
    setenv("VESK_LOG_TARGET", "none", 1);
    Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    constexpr int kThreads = 8;
    constexpr int kRequests = 1250;
    std::atomic<int> done = 0, failed = 0, wrong = 0;
    const auto judge = [&](uint32_t result, uint32_t expected, bool asExpected) {
        failed += result == VESK_VIDEO_ERR_FAILURE ? 1 : 0;
        wrong += result != VESK_VIDEO_ERR_FAILURE && (result != expected || !asExpected) ? 1 : 0;
        ++done;
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kRequests; ++i) {
                uint32_t count = 0;
                VeskVideoVoPortInfo ports[2]{};
                const uint32_t kind = static_cast<uint32_t>(thread + i) % 4;
                if (kind == 0) {
                    const uint32_t result = VeskVideoGetVoCount(&count);
                    judge(result, 0, count == 2);
                } else if (kind == 1) {
                    const uint32_t result = VeskVideoGetVoPort(ports, 2);
                    judge(result, 0, ports[1].serviceData[0] == 1);
                } else if (kind == 2) {
                    judge(VeskVideoVoStart(1000000), VESK_SERVICE_ERR_NUMBER, true);
                } else {
                    judge(SendRaw(4, 0, ""), VESK_SERVICE_ERR_REQUEST, true);
                }
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
