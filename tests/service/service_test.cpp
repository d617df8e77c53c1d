// The library, the host platform and the virtual service as separate processes.
#include "service/service_fixture.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <thread>

using namespace processes;

namespace {

VeskServiceVoPort Port(uint32_t port)
{
    VeskVideoVoPortInfo ports[2];
    EXPECT_EQ(VeskVideoGetVoPort(ports, 2), 0U);
    VeskServiceVoPort described;
    std::memcpy(&described, &ports[port], sizeof described);
    return described;
}

} // namespace

TEST_F(ServiceTest, DisplaysAreAnnouncedRightAfterInitInOrder)
{
    const Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    std::list<NorthMsgResendInfo> held;
    ASSERT_TRUE(Eventually([&] { return VeskVideoGetMsgResendQ(&held) == 0 && held.size() == 9; }));
    Install();
    std::vector<std::pair<uint32_t, uint32_t>> order;
    for (const Notified& n : g_notified) {
        uint32_t port;
        std::memcpy(&port, n.data.data(), sizeof port);
        order.emplace_back(n.id, port);
    }
    EXPECT_EQ(order, (std::vector<std::pair<uint32_t, uint32_t>>{{100, 0},
                                                                 {101, 0},
                                                                 {100, 1},
                                                                 {101, 1},
                                                                 {102, 0},
                                                                 {103, 0},
                                                                 {102, 1},
                                                                 {102, 2},
                                                                 {103, 2}})); // input 1 is unplugged
}

TEST_F(ServiceTest, AnOutputLivesFromOpenToClose)
{
    const Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    Install();
    uint32_t count = 0, engine = 0, other = 0xcdcdcdcd;
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(VeskVideoVoStart(1), uint32_t{VESK_SERVICE_ERR_NUMBER});
    EXPECT_EQ(VeskVideoVoOpen(2, &other), uint32_t{VESK_SERVICE_ERR_NUMBER});
    ASSERT_EQ(VeskVideoVoOpen(1, &engine), 0U);
    EXPECT_EQ(VeskVideoVoOpen(1, &other), uint32_t{VESK_SERVICE_ERR_BUSY});
    EXPECT_EQ(other, 0xcdcdcdcdU);

    const VeskVideoVoPortParam param{1, 2, -3, 4, -5, 6, -7, 8, 9, {}};
    VeskVideoVoPortParam read{};
    EXPECT_EQ(VeskVideoVoSetParam(engine, &param), 0U);
    EXPECT_EQ(VeskVideoVoGetParam(engine, &read), 0U);
    EXPECT_EQ(std::memcmp(&param, &read, sizeof read), 0);
    EXPECT_EQ(VeskVideoVoSetOffset(engine, -10, 20), 0U);
    EXPECT_EQ(VeskVideoVoSetQueHandle(engine, 77), 0U);
    EXPECT_EQ(VeskVideoVoStop(engine), uint32_t{VESK_SERVICE_ERR_STATE});
    EXPECT_EQ(VeskVideoVoStart(engine), 0U);
    EXPECT_EQ(VeskVideoVoStart(engine), uint32_t{VESK_SERVICE_ERR_STATE});
    const VeskServiceVoPort port = Port(1);
    EXPECT_EQ(port.outEngNo, engine);
    EXPECT_EQ(port.started, 1U);
    EXPECT_EQ(port.xOffset, -10);
    EXPECT_EQ(port.yOffset, 20);
    EXPECT_EQ(port.queHandle, 77U);
    EXPECT_STREQ(port.name, "HDMI-OUT-2");

    EXPECT_EQ(VeskVideoVoDisable(1), 0U);
    EXPECT_EQ(Port(1).started, 0U);
    EXPECT_EQ(VeskVideoVoStart(engine), uint32_t{VESK_SERVICE_ERR_DISABLED});
    EXPECT_EQ(VeskVideoVoEnable(1), 0U);
    EXPECT_EQ(VeskVideoVoStart(engine), 0U); // not the first: no second first frame
    EXPECT_EQ(VeskVideoVoStop(engine), 0U);
    EXPECT_EQ(VeskVideoVoClose(engine), 0U);
    ASSERT_TRUE(Arrives(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY));
    EXPECT_EQ(CountOf(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY), 1U);
    for (const auto request : {VeskVideoVoStart, VeskVideoVoStop, VeskVideoVoClose})
        EXPECT_EQ(request(engine), uint32_t{VESK_SERVICE_ERR_NUMBER});
    EXPECT_EQ(VeskVideoVoSetParam(engine, &param), uint32_t{VESK_SERVICE_ERR_NUMBER});
    EXPECT_EQ(VeskVideoVoEnable(7), uint32_t{VESK_SERVICE_ERR_NUMBER});
    EXPECT_EQ(VeskVideoVoDisable(0), 0U);
    EXPECT_EQ(VeskVideoVoOpen(0, &other), uint32_t{VESK_SERVICE_ERR_DISABLED});
}

TEST_F(ServiceTest, MalformedRequestsGetACodeAndChangeNothing)
{
    const Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    uint32_t engine = 0;
    ASSERT_EQ(VeskVideoVoOpen(0, &engine), 0U);
    VeskVideoVoPortParam param{};
    param.param0 = 5;
    ASSERT_EQ(VeskVideoVoSetParam(engine, &param), 0U);

    EXPECT_EQ(SendRaw(4, 0, ""), uint32_t{VESK_SERVICE_ERR_REQUEST});
    EXPECT_EQ(SendRaw(65535, 0, std::string(100000, 'x')), uint32_t{VESK_SERVICE_ERR_REQUEST});
    for (const size_t length : {size_t{0}, sizeof param - 1, sizeof param + 1})
        EXPECT_EQ(SendRaw(VESK_VIDEO_MSG_SET_VO_PARAM, engine, std::string(length, 'x')),
                  uint32_t{VESK_SERVICE_ERR_LENGTH});
    EXPECT_EQ(SendRaw(VESK_VIDEO_MSG_VO_START, engine, "x"), uint32_t{VESK_SERVICE_ERR_LENGTH});
    EXPECT_EQ(SendRaw(VESK_VIDEO_MSG_VO_START, engine + 0x100000000, ""), uint32_t{VESK_SERVICE_ERR_NUMBER});
    for (const std::string& name :
         {std::string(32, 'x'), std::string(32, '\0'), std::string("a\nb").append(29, '\0')})
        EXPECT_EQ(SendRaw(VESK_VIDEO_MSG_INIT, 0, name), uint32_t{VESK_SERVICE_ERR_VALUE});
    VeskVideoVoPortInfo ports[3];
    EXPECT_EQ(VeskVideoGetVoPort(ports, 3), uint32_t{VESK_SERVICE_ERR_VALUE});

    VeskVideoVoPortParam read{};
    EXPECT_EQ(VeskVideoVoGetParam(engine, &read), 0U);
    EXPECT_EQ(read.param0, 5U);
    EXPECT_EQ(Port(0).started, 0U);
    VeskVideoCallbackInfo forwarded{};
    EXPECT_EQ(VeskVideoSetCallback(&forwarded), 0U);
}

TEST_F(ServiceTest, TwoApplicationsEachGetTheirOwnNotifications)
{
    const Child service = StartService();
    const auto run = [](const char* name, uint32_t port) {
        g_name = name;
        uint32_t engine = 0;
        VeskVideoInit();
        Install();
        return VeskVideoVoOpen(port, &engine) == 0 && VeskVideoVoStart(engine) == 0 &&
               Arrives(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY) && FirstFrameOn(port) &&
               VeskVideoVoClose(engine) == 0 && Arrives(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY) &&
               CountOf(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY) == 1 &&
               CountOf(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY) == 2;
    };
    Child first = Child::Fork([&] { _exit(run("first", 0) ? 42 : 1); });
    Child second = Child::Fork([&] { _exit(run("second", 1) ? 42 : 1); });
    EXPECT_EQ(first.Wait(), 42);
    EXPECT_EQ(second.Wait(), 42);
}

TEST_F(ServiceTest, ASecondApplicationOfTheSameNameStillGetsAnswers)
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
    uint32_t count = 0;
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
    const std::string errors = testing::internal::GetCapturedStderr();
    EXPECT_NE(errors.find("test-app.VAPI is already served by process " + std::to_string(first.Process())),
              std::string::npos)
        << errors;
    EXPECT_EQ(std::count(errors.begin(), errors.end(), '\n'), 1);
    Child third = Child::Start(VESK_SERVICE_PATH); // and a second service of the same name ends
    EXPECT_EQ(third.Wait(), 1);
}

TEST_F(ServiceTest, WhatADeadApplicationHeldIsFreeAgain)
{
    const Child service = StartService();
    for (const bool exits : {true, false}) {
        Child dying = Child::Fork([exits] {
            g_name = "dying";
            uint32_t engine = 0;
            if (VeskVideoInit() != 0 || VeskVideoVoOpen(0, &engine) != 0)
                _exit(1);
            std::puts("ready");
            std::fflush(stdout);
            if (exits)
                VeskVideoExit();
            pause();
        });
        ASSERT_TRUE(dying.AwaitOutput("ready"));
        if (!exits) {
            dying.Signal(SIGKILL);
            dying.Wait();
        }
        uint32_t engine = 0;
        ASSERT_TRUE(Eventually([&] { return VeskVideoVoOpen(0, &engine) == 0; }));
        EXPECT_EQ(VeskVideoVoClose(engine), 0U);
    }
}

TEST_F(ServiceTest, ExitAndInitAtOnceKeepTheClientKnown)
{
    const Child service = StartService();
    for (size_t round = 1; round <= 50; ++round) {
        ASSERT_EQ(VeskVideoInit(), 0U);
        Install();
        ASSERT_TRUE(Arrives(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, 2 * round));
        ASSERT_EQ(VeskVideoExit(), 0U);
    }
}

TEST_F(ServiceTest, ARestartIsToldAndOutlived)
{
    Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    Install();
    service.Signal(SIGTERM);
    EXPECT_TRUE(service.AwaitOutput("ended"));
    EXPECT_EQ(service.Wait(), 0);
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY));
    uint32_t count = 7;
    EXPECT_EQ(VeskVideoGetVoCount(&count), 1U);
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(VeskVideoExit(), 0x101U);
    Install();

    service = StartService();
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY));
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
    service.Signal(SIGKILL); // says nothing, but is missed no more
    service.Wait();
    EXPECT_EQ(VeskVideoGetVoCount(&count), 1U);
    service = StartService();
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, 2));
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
    EXPECT_EQ(CountOf(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY), 1U);
}

TEST_F(ServiceTest, AServiceThatDiesWhileACallWaitsFailsTheCallAtOnce)
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

TEST_F(ServiceTest, AnUnusableRuntimeDirectoryFailsInitWithOneClearLine)
{
    const std::string path = directory_.File("a") + "/b";
    setenv("VESK_RUNTIME_DIR", path.c_str(), 1);
    testing::internal::CaptureStderr();
    EXPECT_EQ(VeskVideoInit(), 1U);
    const std::string errors = testing::internal::GetCapturedStderr();
    const std::string line = "runtime directory " + path + " cannot be created: No such file or directory";
    const size_t first = errors.find(line);
    EXPECT_NE(first, std::string::npos) << errors;
    EXPECT_EQ(errors.find(line, first + 1), std::string::npos) << errors;
    EXPECT_NE(errors.find("VESK_VIDEO_MSG_INIT fail[1]."), std::string::npos);
    setenv("VESK_RUNTIME_DIR", directory_.Path().c_str(), 1);
    const Child service = StartService();
    EXPECT_EQ(VeskVideoInit(), 0U); // nothing is lost
    Install();
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, 2));
}

// Ten restarts during ten thousand requests of eight threads. Each kind of request has an answer of its
// own, so one that is taken for another's shows.
TEST_F(ServiceTest, TenRestartsDuringTenThousandRequests)
{
    setenv("VESK_LOG_TARGET", "none", 1);
    Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    constexpr int kThreads = 8;
    constexpr int kRequests = 1250;
    std::atomic<int> done = 0, failed = 0, wrong = 0;
    const auto judge = [&](uint32_t result, uint32_t expected, bool asExpected) {
        if (result == VESK_VIDEO_ERR_FAILURE)
            ++failed;
        else if (result != expected || !asExpected)
            ++wrong;
        ++done;
    };
    std::vector<std::thread> threads;
    for (int thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < kRequests; ++i) {
                uint32_t count = 0;
                VeskVideoVoPortInfo ports[2]{};
                switch ((thread + i) % 5) {
                case 0: {
                    const uint32_t result = VeskVideoGetVoCount(&count);
                    judge(result, 0, count == 2);
                    break;
                }
                case 1: {
                    const uint32_t result = VeskVideoGetVoPort(ports, 2);
                    judge(result, 0, ports[1].serviceData[0] == 1);
                    break;
                }
                case 2: {
                    const uint32_t result = VeskVideoGetVoPort(ports, 1);
                    judge(result, 0, ports[0].serviceData[1] == 1);
                    break;
                }
                case 3:
                    judge(VeskVideoVoStart(1000000), VESK_SERVICE_ERR_NUMBER, true);
                    break;
                default:
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
    std::printf("%d requests, %d failed while the service was away, %d restarts\n", done.load(),
                failed.load(), restarts);
    uint32_t count = 0;
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
}
