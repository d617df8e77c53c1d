// Tasks: their handlers, their forks, and what they do without descriptors.
#include "platform/message_fixture.h"

#include <atomic>
#include <csignal>
#include <cstring>

#include <sys/resource.h>
#include <sys/wait.h>

FORKED_TEST(HostMessage, HandlersAnswerOnceAndRightlyOrTheirSendersFailAtOnce)
{
    Child peer = Serve([](OsMsgEnvelope* message) -> uint32_t {
        if (message->msgId == 1)
            return 0;
        OsMsgEnvelope other = *message;
        const uint32_t refused = HOST_MSG_ERR_ARGUMENT;
        const std::string data(message->msgId == HOST_MSG_ERR_TOO_LONG ? kMaxDataLen + 1 : 8, 'a');
        if (HostMsgReply(&other, nullptr, 0) != refused || HostMsgReply(nullptr, nullptr, 0) != refused ||
            HostMsgReply(message, nullptr, 1) != refused ||
            HostMsgReply(message, data.data(), static_cast<uint32_t>(data.size())) != message->msgId ||
            Echo(message) != refused)
            _exit(1);
        return 0;
    });
    const uint32_t tooLong = HOST_MSG_ERR_TOO_LONG; // a message's number is what the reply to it returns
    for (const uint32_t number : {1U, tooLong})
        EXPECT_EQ(Ask("peer", number).result, uint32_t{HOST_MSG_ERR_BROKEN});
    peer.ExpectOutput("answer to message " + std::to_string(tooLong) +
                      " has 4194305 bytes, more than 4194304");
    EXPECT_EQ(Tell("peer", HOST_MSG_ERR_ARGUMENT), 0U);
    for (int i = 0; i < 2; ++i)
        EXPECT_EQ(Ask("peer", 0).data, "aaaaaaaa");
}

FORKED_TEST(HostMessage, AForkedChildStartsAfresh)
{
    if (!kThreadsMayFork)
        return;
    const Child peer = Serve();
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    static std::atomic<int> s_forked = 0;
    const Handler forksOne = [](OsMsgEnvelope* message) {
        if (fork() == 0)
            return HostMsgReply(message, "child's", 7); // and leaves its parent's loop
        ++s_forked;
        return Echo(message);
    };
    const Served task("task", forksOne);
    EXPECT_EQ(Ask("self").data, "question");
    EXPECT_EQ(s_forked, 1);
    const auto lives = [&] {
        for (const std::string& open : OpenDescriptors())
            EXPECT_EQ(open.find("socket:"), std::string::npos); // none of its parent's
        HostMsgSetProcName("child");
        const Served own("own", Echo);
        EXPECT_EQ(Ask("child", 5, "x", 5000, "own").data, "x");
        EXPECT_EQ(Ask("peer").data, "question");
    };
    std::atomic<bool> ends = false;
    std::vector<std::jthread> load;
    for (int i = 0; i < 3; ++i) {
        load.emplace_back([&] {
            while (!ends) {
                EXPECT_EQ(Ask("peer").result, 0U);
                EXPECT_EQ(Ask("none", 1).result, uint32_t{HOST_MSG_ERR_ABSENT}); // with a line
            }
        });
    }
    for (int i = 0; i < 50; ++i) {
        const std::lock_guard guard(g_lock); // this test's own
        if (const pid_t child = fork(); child == 0) {
            g_lock.unlock();
            alarm(10);
            lives();
            _exit(testing::Test::HasFailure() ? 1 : 0);
        } else {
            int status = 0;
            waitpid(child, &status, 0);
            EXPECT_EQ(status, 0);
        }
    }
    ends = true;
    load.clear();
    EXPECT_EQ(Ask("self", 5, "again").data, "again");
    { // the name of a parent that is killed is free, though its child lives on
        Child parent([] {
            BecomePeer();
            HostMsgSetProcName("owner");
            OsMsgRegTask("late", 8, Echo);
            if (fork() == 0) {
                alarm(5);
                std::puts("served");
            }
            pause();
        });
        parent.ExpectOutput("served");
        parent.Wait(SIGKILL);
        HostMsgSetProcName("owner");
        const Served late("late", Echo);
        EXPECT_EQ(Ask("owner", 5, "x", 5000, "late").data, "x");
    }
}

// A count that is too low shows that an end was told too early, one that is too high that none was told.
FORKED_TEST(HostMessage, TheEndOfAProcessIsToldOnceAfterItsMessages)
{
    static std::map<HostProcess, std::string> s_sent; // a letter a message
    Child peer = Prepared(
        [] {
            const Handler count = [](OsMsgEnvelope* message) -> uint32_t {
                s_sent[HostMsgSender(message)] += static_cast<char>(message->msgId);
                return message->msgId == 'x' ? HostMsgDefer(message) == 0 : Echo(message);
            };
            const auto ended = [](HostProcess process) {
                std::puts(s_sent.extract(process).mapped().c_str());
            };
            EXPECT_EQ(HostMsgOnProcessEnd("task", ended), uint32_t{HOST_MSG_ERR_ARGUMENT});
            EXPECT_EQ(BecomePeer(count), 0U);
            EXPECT_EQ(HostMsgOnProcessEnd("task", nullptr), uint32_t{HOST_MSG_ERR_ARGUMENT});
            EXPECT_EQ(HostMsgOnProcessEnd("task", ended), 0U);
        },
        [] { OsMsgTaskRoutineByName("task"); });
    InFork([] {
        EXPECT_EQ(Ask("peer", 'a').result, 0U);
        InFork([] { EXPECT_EQ(Ask("peer", 'c').result, 0U); });
        EXPECT_EQ(Ask("peer", 'x', "", 1).result,
                  uint32_t{HOST_MSG_ERR_TIMEOUT}); // closes its only connection
        std::jthread([] { EXPECT_EQ(Ask("peer", 'b').result, 0U); });
        EXPECT_EQ(Ask("peer", 'd').result, 0U);
    });
    peer.ExpectOutput("c\n");
    peer.ExpectOutput("axbd\n");
    Child burst([] {
        for (int i = 0; i < 50; ++i)
            Tell("peer", 'e');
        kill(getpid(), SIGKILL);
    });
    peer.ExpectOutput('\n' + std::string(50, 'e') + '\n');
}

FORKED_TEST(HostMessage, WithoutDescriptorsItFailsAtOnceAndWorksAgainWithThem)
{
#ifdef __SANITIZE_ADDRESS__
    return; // the sanitizer needs descriptors to tell whether memory may be read
#endif
    rlimit before{};
    getrlimit(RLIMIT_NOFILE, &before);
    const auto leave = [&](rlim_t count) {
        const UniqueFd next([] { return dup(STDIN_FILENO); });
        const rlimit limit{static_cast<rlim_t>(next.Get()) + count, before.rlim_max};
        setrlimit(RLIMIT_NOFILE, &limit);
    };
    ASSERT_EQ(HostMsgSetProcName("peer"), 0U);
    for (rlim_t count = 0; count < 5; ++count) {
        leave(count);
        EXPECT_NE(OsMsgRegTask("task", 4, Echo), 0U) << count;
        setrlimit(RLIMIT_NOFILE, &before);
        HostMsgEndTask("task");
    }
    static std::atomic<bool> s_isTold = false;
    const Handler note = [](OsMsgEnvelope* message) {
        s_isTold = s_isTold || message->msgId == 77;
        return Echo(message);
    };
    const Served task("task", note);
    EXPECT_EQ(Ask("peer").data, "question");
    leave(0);
    EXPECT_EQ(Ask("peer", 5, "x", 5000, "task", "late").result, 0U); // and is not served under that name
    int status = 0;
    if (const pid_t client = fork(); client == 0) {
        setrlimit(RLIMIT_NOFILE, &before);
        _exit(Ask("peer", 5, "x", 100).result == HOST_MSG_ERR_TIMEOUT && Tell("peer", 77) == 0 ? 0 : 1);
    } else {
        waitpid(client, &status, 0);
    }
    EXPECT_EQ(status, 0);
    Expect(Ask("peer").result, 0, "peer.task: a connection has to wait: Too many open files");
    setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_TRUE(Eventually([] { return s_isTold.load(); })); // what was accepted is not lost
    InFork([] { EXPECT_EQ(Ask("peer").data, "question"); });
    const auto isServed = [&] { return access(directory.File("late.task").c_str(), F_OK) == 0; };
    EXPECT_FALSE(isServed());
    EXPECT_TRUE(Eventually([&] {
        Tell("peer", 5, "x", "task", "late");
        return isServed();
    }));
}
