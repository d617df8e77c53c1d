// What a task takes in: from clients that misbehave, in order, and more than it can handle.
#include "platform/message_fixture.h"

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstring>

#include <poll.h>

FORKED_TEST(HostMessage, AServingTaskOutlivesWhatItsClientsDo)
{
    Child peer = Serve();
    const std::string garbage =
        "peer.task: process " + std::to_string(getpid()) + " sent garbage, its connection is closed";
    const struct {
        std::vector<std::string> packets;
        std::string line;
        bool isClosedOn = true;
    } cases[] = {
        {{Raw(0, "", OS_MSG_ASYNCHRONOUS)}, "", false},
        {{""}, ""},
        {{Raw(1000, "some"), ""}, "peer.task: a message broke off after 196 bytes"},
        {{Raw(1000, "some data"), "and more"}, "peer.task: a message broke off after 209 bytes", false},
        {{Raw(kMaxDataLen + 1, "")}, garbage},
        {{Raw(0, "", 2)}, garbage},
        {{Raw(0, "", OS_MSG_ASYNCHRONOUS, 5, 1, HostProcessSelf())}, "", false},
        {{Raw(0, "", OS_MSG_ASYNCHRONOUS, 5, 1, 0)}, garbage},
        {{Raw(0, "", OS_MSG_ASYNCHRONOUS), Raw(0, "", OS_MSG_ASYNCHRONOUS, 5, 2, 2)}, garbage},
        {{'x' + Raw(0, "").substr(1)}, garbage},
        {{Raw(0, "").substr(0, 7)}, garbage},
        {{Raw(4, "surplus")}, garbage},
        {{Raw(10000, std::string(9000, 'l'))}, garbage}, // a first packet that is too long
        {{Raw(1000, "some data"), std::string(992, 's')}, garbage},
        {{Raw(4, "slow")}, "", false}, // gone while its answer is made
    };
    for (const auto& [packets, line, isClosedOn] : cases) {
        UniqueFd connection = Connected(packets);
        EXPECT_TRUE(!isClosedOn || IsClosedOn(connection));
        connection.Close();
        EXPECT_EQ(Ask("peer").data, "question");
        peer.ExpectOutput(line);
    }
    InFork([&, another = HostProcessSelf()] { // which lives
        EXPECT_TRUE(IsClosedOn(Connected({Raw(0, "", OS_MSG_ASYNCHRONOUS, 5, 1, another)})));
        peer.ExpectOutput("peer.task: process " + std::to_string(getpid()) + " sent garbage");
    });
    const UniqueFd connection = Connected({Raw(4, "slow"), Raw(4, "fast")}); // answered one after the other
    EXPECT_TRUE(ReadMessage(connection) && ReadMessage(connection));
    // What was sent before the connection was closed with an answer unread is taken in all the same.
    UniqueFd hasty = Connected({Raw(4, "fast")});
    WaitFor(hasty.Get(), POLLIN, Deadline(std::chrono::seconds(10)));
    kill(peer.Process(), SIGSTOP);
    SendPacket(hasty, Raw(1000, "so"));
    hasty.Close();
    kill(peer.Process(), SIGCONT);
    peer.ExpectOutput("peer.task: a message broke off after 194 bytes");
}

FORKED_TEST(HostMessage, ATaskThatDoesNotKeepUpLosesNothing)
{
    if (*VESK_EMULATOR != '\0')
        return; // too slow there
    static std::atomic<uint32_t> s_handled = 0;
    static std::atomic<bool> s_isHeld = true;
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    const Handler count = [](OsMsgEnvelope* message) -> uint32_t {
        while (s_isHeld)
            usleep(1000);
        EXPECT_EQ(message->msgId, s_handled);
        return ++s_handled;
    };
    {
        const Served task("task", count);
        uint32_t accepted = 0;
        const std::string data(10000, 'd');
        for (uint32_t refusals = 0; refusals < 100; usleep(1000)) { // what waits is taken in meanwhile
            for (; Tell("self", accepted, data) == 0; ++accepted)
                refusals = 0;
            ++refusals;
        }
        EXPECT_TRUE(accepted > 4 && accepted < 100) << accepted;
        Expect(Tell("self", 5, data), HOST_MSG_ERR_FULL, "message 5 dropped: self.task is not reading");
        Expect(Ask("self", 5, "", 50).result, HOST_MSG_ERR_TIMEOUT,
               "message 5: self.task did not answer in time");
        s_isHeld = false;
        EXPECT_TRUE(Eventually([&] { return s_handled == accepted; }));
        for (; accepted < 20000; ++accepted) { // at full speed
            while (Tell("self", accepted) != 0)
                usleep(100);
        }
        EXPECT_TRUE(Eventually([&] { return s_handled == accepted; }));
    }
    Served task("task", Echo);
    for (uint32_t i = 0; i < 2; ++i) {
        s_handled = 2;
        {
            const Served ended("again", count, false);
            EXPECT_EQ(Tell("self", 1, "", "again"), 0U); // ends with its task
        }
        const Served again("again", count);
        EXPECT_EQ(Ask("self", 2, "", 5000, "again").result, uint32_t{HOST_MSG_ERR_BROKEN}); // unanswered
        EXPECT_EQ(s_handled, 3U);
    }
    EXPECT_EQ(Ask("self").data, "question");
    OsMsgTaskRoutineByName("task"); // is run already: returns at once
    OsMsgTaskRoutineByName(nullptr);
    EXPECT_EQ(OsMsgRegTask("task", 4, Echo), 0U); // another handler, and the same name
    EXPECT_EQ(Ask("self").data, "question");
    OsMsgSetLogLevel(4);
    Expect(Ask("none").result, HOST_MSG_ERR_ABSENT, "task '' is not registered");
    OsMsgSetLogLevel(3);
    Expect(Ask("none").result, HOST_MSG_ERR_ABSENT, "nobody serves none.task in " + directory.path);
    OsMsgRegLogFunc(nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Ask("nobody").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_NE(testing::internal::GetCapturedStderr().find(" E [os_msg] nobody serves nobody.task in "),
              std::string::npos);
}

FORKED_TEST(HostMessage, ASenderWithoutEndDoesNotStarveTheOthers)
{
    const Child flooded = Prepared(
        [] {
            HostMsgSetProcName("peer");
            const Handler takeTime = [](OsMsgEnvelope* message) -> uint32_t {
                usleep(2000);
                return message->type == OS_MSG_SYNCHRONOUS ? Echo(message) : 0;
            };
            EXPECT_EQ(OsMsgRegTask("task", 8, takeTime), 0U);
        },
        [] { OsMsgTaskRoutineByName("task"); });
    const auto flood = [] {
        OsMsgRegLogFunc([](uint32_t, const char*) {});
        for (;;)
            Tell("peer");
    };
    const auto comesAndGoes = [this] {
        const std::vector<std::string> messages(8, Raw(0, "", OS_MSG_ASYNCHRONOUS));
        for (;; usleep(9500))
            Connected(messages);
    };
    const Child floods[] = {Child(flood), Child(comesAndGoes)};
    usleep(100000);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(Ask("peer").data, "question");
}

FORKED_TEST(HostMessage, MessagesOfOneThreadArriveInOrderAndSignalsAreTheApplications)
{
    static std::vector<uint32_t> s_numbers;
    static std::atomic<bool> s_isHeld = false;
    constexpr uint32_t kOthers = 2000;
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    const Handler note = [](OsMsgEnvelope* message) {
        while (s_isHeld)
            usleep(1000);
        if (message->msgId != kOthers)
            s_numbers.push_back(message->msgId);
        return Echo(message);
    };
    Served task("task", note, false);
    sigset_t blocked, user1;
    pthread_sigmask(SIG_SETMASK, nullptr, &blocked);
    EXPECT_TRUE(sigisemptyset(&blocked));
    sigemptyset(&user1);
    sigaddset(&user1, SIGUSR1);
    pthread_sigmask(SIG_BLOCK, &user1, nullptr);
    task.Start();
    kill(getpid(), SIGUSR1); // no thread of the library takes it
    for (uint32_t i = 0; i < 500; ++i) {
        EXPECT_EQ(Tell("self", 2 * i), 0U);
        EXPECT_EQ(Ask("self", 2 * i + 1).result, 0U);
    }
    s_isHeld = true;
    for (uint32_t i = 1000; i < 1020; ++i) // more than are taken in
        EXPECT_EQ(Tell("self", i), 0U);
    {
        const std::jthread other([] { EXPECT_EQ(Ask("self", kOthers).result, 0U); });
        usleep(20000);
        EXPECT_EQ(Tell("self", 1020), 0U);
        EXPECT_EQ(Ask("self", kOthers, "", 50).result, uint32_t{HOST_MSG_ERR_TIMEOUT});
        EXPECT_EQ(Tell("self", 1021), 0U); // over another connection
        usleep(20000);
        s_isHeld = false;
    }
    EXPECT_EQ(Ask("self", 1022).result, 0U);
    ASSERT_EQ(s_numbers.size(), 1023U);
    EXPECT_TRUE(std::is_sorted(s_numbers.begin(), s_numbers.end()));
    EXPECT_EQ(sigwaitinfo(&user1, nullptr), SIGUSR1);
}
