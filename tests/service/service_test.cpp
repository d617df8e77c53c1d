// The library, the host platform and the virtual service as separate processes.
#include "base/descriptor.h"
#include "service/service_fixture.h"
#include "support/patterns.h"

#include <atomic>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <thread>

#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <sys/wait.h>

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
        Child first = Start(VESK_TOUR_PATH, "first", "0", "0");
        Child second = Start(VESK_TOUR_PATH, "second", "2", "1");
        for (Child* tour : {&first, &second}) {
            tour->ExpectOutput("all as expected");
            EXPECT_EQ(tour->Wait(), 0);
        }
    }
}

FORKED_TEST(Application, TheServiceTellsWhoeverHasStartedIt)
{
    const std::pair<std::string, const char*> rows[] = {
        // Where it tells that, and what else it writes.
        {directory.File("told"), ""},
        {"@" + directory.path, ""},
        {"@" + std::string(107, 'x'), " cannot be used: expected a path or @NAME of at most 107 bytes\n"},
        {"told", "NOTIFY_SOCKET=told cannot be used: expected a path"},
        {directory.File("none"), "/none cannot be used: No such file or directory\n"},
    };
    for (const auto& [name, error] : rows) {
        const vesk::Descriptor told(socket(AF_UNIX, SOCK_DGRAM, 0));
        sockaddr_un address{AF_UNIX, {}};
        name.copy(address.sun_path, sizeof address.sun_path);
        if (name[0] == '@')
            address.sun_path[0] = '\0';
        const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + name.size());
        const bool isBound =
            *error == '\0' && bind(told.Get(), reinterpret_cast<sockaddr*>(&address), length) == 0;
        EXPECT_EQ(isBound, *error == '\0');
        const auto isTold = [&](const std::string& expected) {
            char state[256];
            return !isBound || expected == std::string(state, read(told.Get(), state, sizeof state));
        };
        setenv("NOTIFY_SOCKET", name.c_str(), 1);
        Child service([] {
            execl("/bin/sh", "sh", "-c", "exec " VESK_EMULATOR " " VESK_SERVICE_PATH " 2>&1", nullptr);
            _exit(127);
        });
        service.ExpectOutput(error);
        service.ExpectOutput("serving VIDEO/VCTL");
        EXPECT_TRUE(
            isTold("READY=1\nSTATUS=serving VIDEO/VCTL (process " + std::to_string(service.Process()) + ')'));
        EXPECT_EQ(service.Wait(SIGTERM), 0);
        EXPECT_TRUE(isTold("STOPPING=1"));
    }
}

FORKED_TEST(Application, ASecondOneOfTheSameNameStillGetsAnswers)
{
    setenv("VESK_LOG_TARGET", ("file:" + directory.File("log")).c_str(), 1);
    Child service = StartService();
    unsetenv("VESK_LOG_TARGET");
    Child first = Prepared(
        [] {
            EXPECT_EQ(VeskVideoInit(), 0U);
            Install();
        },
        [] {
            const size_t told = Arrived(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY).size();
            std::printf("told %zu, announced %zu", told,
                        Arrived(VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY, 3).size());
        });
    testing::internal::CaptureStderr();
    EXPECT_EQ(VeskVideoInit(), 0U);
    EXPECT_EQ(Number(VeskVideoGetVoCount), 2U);
    EXPECT_EQ(VeskVideoExit(), 0U);
    EXPECT_EQ(Number(VeskVideoGetVoCount), 2U);
    const std::string errors = testing::internal::GetCapturedStderr();
    const std::string line = "test-app.VAPI is already served by process " + std::to_string(first.Process());
    EXPECT_TRUE(patterns::IsFound(errors, "^.*" + line + "\n$")) << errors; // and no other
    const std::string sixteen(16, 'x');
    EXPECT_EQ(Start(VESK_SERVICE_PATH, "--task", "VCTL").Wait(), 1); // the name is taken
    EXPECT_EQ(Start(VESK_SERVICE_PATH, "--task", sixteen.c_str()).Wait(), 1);
    EXPECT_EQ(Start(VESK_SERVICE_PATH, "--process", sixteen.c_str()).Wait(), 2);
    // The first one has its name still, and has heard nothing twice.
    service.Wait(SIGTERM);
    first.ExpectOutput("told 1, announced 3");
    const std::string taken = line + "; process " + std::to_string(getpid()) + " receives no notifications\n";
    EXPECT_NE(Contents(directory.File("log")).find(taken), std::string::npos);
}

// Whatever stands in the place of the clients' file or of its draft: the service starts, serves and ends.
FORKED_TEST(Application, TheServiceReadsOnlyAShortRegularFileOfClients)
{
    const std::string clients = directory.File("VIDEO.VCTL.clients");
    void (*const places[])(const std::string&) = {
        [](const std::string& path) { EXPECT_EQ(mkfifo(path.c_str(), 0600), 0); },
        [](const std::string& path) { EXPECT_EQ(mkdir(path.c_str(), 0700), 0); },
        [](const std::string& path) { EXPECT_EQ(symlink("/dev/zero", path.c_str()), 0); },
        [](const std::string& path) {
            std::ofstream(path) << '\n';
            EXPECT_EQ(truncate(path.c_str(), int64_t{2} << 30), 0);
        },
        [](const std::string& path) {
            std::ofstream file(path);
            for (int i = 0; i < 200000; ++i)
                file << 'c' << i << "\tVAPI\t" << getpid() << '\n';
        }};
    for (const std::string& path : {clients, clients + ".new"}) {
        for (const auto place : places) {
            std::filesystem::remove_all(path);
            std::filesystem::remove(directory.File("log"));
            place(path);
            const auto begun = std::chrono::steady_clock::now();
            setenv("VESK_LOG_TARGET", ("file:" + directory.File("log")).c_str(), 1);
            Child service = StartService();
            unsetenv("VESK_LOG_TARGET");
            EXPECT_EQ(VeskVideoInit(), 0U);
            EXPECT_EQ(VeskVideoInit(), 0U);
            EXPECT_EQ(service.Wait(SIGTERM), 0);
            EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(2));
            const std::string log = Contents(directory.File("log"));
            EXPECT_EQ(log.find("VIDEO.VCTL.clients is ignored: ") != log.npos, path == clients) << log;
        }
    }
}

// What a dead process has not been waited for yet does not keep its name.
FORKED_TEST(Application, ADeadOneLosesItsName)
{
    const Child service = StartService();
    Child first = Prepared([] { EXPECT_EQ(VeskVideoInit(), 0U); });
    kill(first.Process(), SIGKILL);
    siginfo_t ended;
    waitid(P_PID, static_cast<id_t>(first.Process()), &ended, WEXITED | WNOWAIT);
    EXPECT_EQ(VeskVideoInit(), 0U);
    std::list<NorthMsgResendInfo> held;
    // Those for the first may reach its successor as well.
    EXPECT_TRUE(Eventually([&] { return VeskVideoGetMsgResendQ(&held) == 0 && held.size() >= 9; }));
}

// A plug-in may be unloaded: its receive thread goes on.
FORKED_TEST(Application, TheLibraryStaysWhenItIsUnloaded)
{
    Child service = StartService();
    setenv("ASAN_OPTIONS", "detect_leaks=0", 1); // its tracer can crash where libraries come and go
    Child host = Start(VESK_PLUGIN_HOST_PATH, VESK_LIBRARY_PATH);
    host.ExpectOutput("unloaded");
    service.Wait(SIGTERM); // which is notified
    EXPECT_EQ(host.Wait(), 0);
}

// The child of an application with a receive thread is an application of its own.
FORKED_TEST(VideoService, AForkedChildIsNotifiedUnderANameOfItsOwn)
{
    if (!kThreadsMayFork)
        return;
    const auto announced = [] { return Arrived(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, 2).size(); };
    ASSERT_EQ(announced(), 2U);
    InFork([&] {
        alarm(20);
        g_name = "child";
        g_notified.clear();
        EXPECT_EQ(VeskVideoInit(), 0U);
        Install();
        EXPECT_EQ(announced(), 2U);
        EXPECT_EQ(VeskVideoExit(), 0U);
        _exit(testing::Test::HasFailure() ? 1 : 0);
    });
    EXPECT_EQ(announced(), 2U); // the child's were not for its parent
    Play("SET_ANNOTATION_STATUS 1 2 7; ON DATA_AUX_ANNOTATION_CAP_READY data=07000000");
}

FORKED_TEST(VideoService, ExitAndInitAtOnceKeepTheClientKnown)
{
    for (size_t round = 1; round <= 50; ++round) {
        ASSERT_EQ(Arrived(VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY, 2 * round).size(), 2 * round);
        ASSERT_EQ(VeskVideoExit(), 0U);
        ASSERT_EQ(VeskVideoInit(), 0U);
        Install();
    }
}

FORKED_TEST(Application, ARestartIsToldToThoseStillThere)
{
    g_name = "test/app"; // a name that is no file name
    Child service = StartService();
    Child left = Prepared([] {
        g_name = "gone";
        EXPECT_EQ(VeskVideoInit(), 0U);
    });
    const std::string clients = directory.File("VIDEO.VCTL.clients");
    const std::string gone = Contents(clients).substr(4);
    left.Wait(SIGKILL);
    ASSERT_EQ(VeskVideoInit(), 0U);
    Install();
    const std::string self = "test/app\tVAPI\n";
    const auto known = [&] { return patterns::Replaced(Contents(clients), "\t[0-9]+\n", "\n"); };
    EXPECT_TRUE(Eventually([&] { return known() == self; })) << known();
    service.Wait(SIGTERM);
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY).size(), 1U);
    uint32_t count = 7;
    EXPECT_EQ(VeskVideoGetVoCount(&count), 1U);
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(VeskVideoExit(), uint32_t{HOST_MSG_ERR_ABSENT});
    Install();
    std::ofstream(clients, std::ios::app) << "dead" << gone << "half a line\n\n";

    service = StartService();
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY).size(), 1U);
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
    service.Wait(SIGKILL); // says nothing, but is missed no more
    EXPECT_EQ(VeskVideoGetVoCount(&count), 1U);
    service = StartService();
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY, 2).size(), 2U);
    EXPECT_EQ(VeskVideoExit(), 0U);
    EXPECT_EQ(VeskVideoGetVoCount(&count), 0U);
    EXPECT_EQ(Contents(clients), "");
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_VIDEO_DIE_NOTIFY).size(), 1U);
}

FORKED_TEST(Application, RequestsAndNotificationsAreLogged)
{
    setenv("VESK_LOG_LEVEL", "3", 1);
    setenv("VESK_LOG_TARGET", ("file:" + directory.File("log")).c_str(), 1);
    const Child service = StartService();
    unsetenv("VESK_LOG_TARGET");
    VeskVideoInit();
    VeskVideoViConnect(1, 2);
    SendRaw(4);
    Play("SET_ENC_PARAM # codcType=2 !VALUE; SET_ENC_PARAM # w=3841 !VALUE", Number(VeskVideoEncoderCreate));
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
          "encoder [0-9]+: codcType: expected a codec that the device has \\(0, 1\\), not 2\n",
          "encoder [0-9]+: w: expected 16 to 3840 pixels, not 3841\n",
          "an unknown request \\(4\\) from test-app.*: 513\n",
          "a message without a header \\(17\\) from .*: 514\n"})
        EXPECT_TRUE(patterns::IsFound(log, line)) << line << log;
}

// Ten restarts during ten thousand requests of eight threads. Each kind of request has an answer of its
// own, so one that is taken for another's shows.
FORKED_TEST(Application, TenRestartsDuringTenThousandRequests)
{
    setenv("VESK_LOG_TARGET", "none", 1);
    Child service = StartService();
    ASSERT_EQ(VeskVideoInit(), 0U);
    constexpr int kThreads = 8, kRequests = 1250;
    const std::tuple<uint32_t (*)(uint32_t*), uint32_t, uint32_t> kinds[] = {
        {VeskVideoGetVoCount, 0, 2},
        {VeskVideoGetViCount, 0, 3},
        {[](uint32_t*) { return VeskVideoVoStart(1000000); }, VESK_SERVICE_ERR_NUMBER, 0},
        {[](uint32_t*) { return SendRaw(4); }, VESK_SERVICE_ERR_REQUEST, 0}};
    std::atomic<int> done = 0, failed = 0;
    std::vector<std::jthread> threads;
    for (uint32_t thread = 0; thread < kThreads; ++thread) {
        threads.emplace_back([&, thread] {
            for (uint32_t i = 0; i < kRequests; ++i, ++done) {
                uint32_t answer = 0;
                const auto& [send, expected, number] = kinds[(thread + i) % 4];
                const uint32_t result = send(&answer);
                if (result == VESK_VIDEO_ERR_FAILURE)
                    ++failed;
                else
                    EXPECT_EQ(std::pair(result, answer), std::pair(expected, number));
                if (thread == 0 && i % 10 == 0)
                    std::this_thread::sleep_for(std::chrono::milliseconds(1));
            }
        });
    }
    for (int restart = 0; restart < 10; ++restart) {
        const int begun = done;
        ASSERT_TRUE(Eventually([&] { return done >= std::min(begun + 800, kThreads * kRequests); }));
        service.Wait(restart % 2 == 0 ? SIGTERM : SIGKILL);
        service = StartService();
    }
    threads.clear();
    EXPECT_LT(failed, done);
    EXPECT_EQ(Number(VeskVideoGetVoCount), 2U);
}
