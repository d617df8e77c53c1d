// The host's message library between processes, and against peers that do not keep to its rules.
#include "platform/message_fixture.h"

#include <atomic>
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>

FORKED_TEST(HostMessage, ExchangesUpToFourMebibytes)
{
    const Child peer = Serve([](OsMsgEnvelope* message) -> uint32_t {
        return message->type == OS_MSG_SYNCHRONOUS ? Echo(message) : 0;
    });
    for (const size_t size : {0U, 1U, 200000U, kMaxDataLen}) {
        const std::string data(size, 'd');
        const Outcome outcome = Ask("peer", 7, data, 5000, "task", "me");
        EXPECT_EQ(outcome.result, 0U);
        EXPECT_TRUE(outcome.data == data) << size;
        EXPECT_STREQ(outcome.envelope.sendProcName, "peer");
        EXPECT_STREQ(outcome.envelope.sendTaskName, "task");
        EXPECT_STREQ(outcome.envelope.recvProcName, "me");
        EXPECT_STREQ(outcome.envelope.recvTaskName, "");
    }
    EXPECT_EQ(Ask("peer", 7, std::string(kMaxDataLen + 1, 'd')).result, uint32_t{HOST_MSG_ERR_TOO_LONG});
    EXPECT_EQ(Tell("peer", 7, std::string(kMaxDataLen + 1, 'd')), uint32_t{HOST_MSG_ERR_TOO_LONG});
    EXPECT_EQ(g_lines, std::vector<std::string>{
                           "message 7 to peer.task has 4194305 bytes of data, more than 4194304"});
    EXPECT_EQ(Tell("peer", 8, std::string(kMaxDataLen, 'd')), 0U);
    EXPECT_EQ(Ask("peer").data, "question");
}

FORKED_TEST(HostMessage, FortyThreadsGetTheirOwnAnswersAndLeave32Connections)
{
    const size_t before = OpenDescriptors().size();
    const Child peer = Serve(EchoSlowly);
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (uint32_t thread = 0; thread < 40; ++thread) {
        threads.emplace_back([&wrong, thread] {
            for (uint32_t i = 0; i < 100; ++i) {
                const std::string data = i != 0 || thread != 0 ? std::to_string(thread * 1000 + i) : "slow";
                wrong += Ask("peer", thread, data).data != data ? 1 : 0;
            }
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_EQ(OpenDescriptors().size(), before + 1 + 32); // the peer's output, and idle connections
}

FORKED_TEST(HostMessage, WrongAnswersFailAtOnceAndTheNextCallWorks)
{
    const auto answer = [](uint32_t dataLen, const char* data, uint32_t msgId = 5, uint32_t type = 1) {
        OsMsgEnvelope envelope{};
        envelope.type = type;
        envelope.msgId = msgId;
        envelope.dataLen = dataLen;
        return Raw(envelope, data);
    };
    const std::string closed = "closed the connection", malformed = "sent a malformed answer";
    const struct {
        const char* what;
        std::string bytes; // that the peer sends before it closes
        uint32_t result;
        std::string words;
    } cases[] = {
        {"nothing", "", HOST_MSG_ERR_BROKEN, closed},
        {"garbage", std::string(400, '#'), HOST_MSG_ERR_MALFORMED, malformed},
        {"half a head", answer(0, "").substr(0, 100), HOST_MSG_ERR_BROKEN, closed},
        {"less data than announced", answer(100, "little"), HOST_MSG_ERR_BROKEN, closed},
        {"more than the limit", answer(kMaxDataLen + 1, "much"), HOST_MSG_ERR_MALFORMED, malformed},
        {"a type that is unknown", answer(2, "ok", 5, 2), HOST_MSG_ERR_MALFORMED, malformed},
        {"more than it announces", answer(2, "surplus"), HOST_MSG_ERR_MALFORMED, malformed},
        {"another message's", answer(2, "ok", 6), HOST_MSG_ERR_MALFORMED, malformed},
    };
    // Request 2n gets what case n says and loses its connection; the one after it is answered, and its
    // connection stays for the next.
    const Child peer = ServeRaw([&, number = 0](int listener) mutable {
        const UniqueFd connection(accept(listener, nullptr, nullptr));
        for (OsMsgEnvelope request; ReadMessage(connection.Get(), request); ++number) {
            if (number % 2 == 0)
                return Write(connection.Get(), cases[number++ / 2].bytes);
            request.dataLen = 4;
            Write(connection.Get(), Raw(request, "good"));
        }
    });
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        const auto start = std::chrono::steady_clock::now();
        Expect(Ask("peer").result, c.result, "message 5: peer.task " + c.words);
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
        EXPECT_EQ(Ask("peer").data, "good");
    }
}

FORKED_TEST(HostMessage, ALateAnswerIsNeverTakenForTheNext)
{
    const Child peer = Serve(EchoSlowly);
    EXPECT_EQ(Ask("peer", 5, "warm").data, "warm");
    Expect(Ask("peer", 5, "slow", 100).result, HOST_MSG_ERR_TIMEOUT,
           "message 5: peer.task did not answer in time");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Ask("peer", 5, "next").data, "next");
        usleep(100000);
    }
}

FORKED_TEST(HostMessage, PeersComeAndGo)
{
    EXPECT_EQ(Ask("peer").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(Tell("peer", 5), uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(g_lines, std::vector<std::string>{"nobody serves peer.task in " + directory.Path()}); // once
    const auto sayProcess = [](OsMsgEnvelope* message) -> uint32_t {
        const OsMsgEnvelope other = *message;
        const int processes[] = {HostMsgSenderProcess(message), HostMsgSenderProcess(&other)};
        return HostMsgReply(message, processes, sizeof processes);
    };
    const auto answersTo = [](pid_t sender) {
        const int expected[] = {sender, 0};
        return Ask("peer").data == std::string(reinterpret_cast<const char*>(expected), sizeof expected);
    };
    {
        const Child peer = Serve(sayProcess);
        EXPECT_TRUE(answersTo(getpid()));
        EXPECT_TRUE(HoldsInFork([&] { return answersTo(getpid()); })); // on no connection of its parent's
    } // killed: its socket stays behind, and a pooled connection here
    EXPECT_EQ(access(address.sun_path, F_OK), 0);
    EXPECT_EQ(Ask("peer").result, uint32_t{HOST_MSG_ERR_ABSENT});
    const Child peer = Serve(sayProcess); // takes the socket over
    EXPECT_TRUE(answersTo(getpid()));
    EXPECT_TRUE(HoldsInFork([&] {
        return HostMsgSetProcName("peer") == 0 && OsMsgRegTask("task", 8, Echo) == HOST_MSG_ERR_TAKEN &&
               LastLine() == "peer.task is already served by process " + std::to_string(peer.Process());
    }));
    EXPECT_TRUE(answersTo(getpid()));
}

FORKED_TEST(HostMessage, AServingTaskOutlivesWhatItsClientsDo)
{
    Child peer = Serve(EchoSlowly);
    OsMsgEnvelope tooLong{}, badType{}, cutOff{}, slow{}, none{};
    tooLong.dataLen = kMaxDataLen + 1;
    badType.type = 2;
    cutOff.dataLen = 1000;
    slow.type = OS_MSG_SYNCHRONOUS;
    slow.dataLen = 4;
    const std::string garbage =
        "peer.task: process " + std::to_string(getpid()) + " sent garbage, its connection is closed";
    const std::tuple<std::string, std::string, bool> cases[] = {
        {Raw(none, ""), "", false},
        {Raw(tooLong, ""), garbage, true},
        {Raw(badType, ""), garbage, true},
        {'x' + Raw(none, "").substr(1), garbage, true},
        {Raw(cutOff, "some data"), "peer.task: a message broke off after 177 bytes", false},
        {Raw(none, "").substr(0, 7), "peer.task: a message broke off after 7 bytes", false},
        {Raw(slow, "slow"), "", false}, // gone while its answer is made
    };
    for (const auto& [bytes, line, isClosed] : cases) {
        UniqueFd connection = Connected();
        Write(connection.Get(), bytes);
        EXPECT_TRUE(!isClosed || IsClosedOn(connection.Get()));
        connection.Close();
        EXPECT_EQ(Ask("peer").data, "question");
        EXPECT_TRUE(peer.AwaitOutput(line));
    }
    const UniqueFd connection = Connected(); // two at once are answered one after the other
    Write(connection.Get(), Raw(slow, "slow") + Raw(slow, "fast"));
    OsMsgEnvelope answered{};
    EXPECT_TRUE(ReadMessage(connection.Get(), answered) && ReadMessage(connection.Get(), answered));
    EXPECT_EQ(std::count(peer.Output().begin(), peer.Output().end(), '\n'), 4) << peer.Output();
}

FORKED_TEST(HostMessage, AProcessWithoutDescriptorsServesAgainOnceItHasSome)
{
    Child peer = Serve(Echo);
    EXPECT_EQ(Ask("peer").data, "question");
    rlimit before{};
    ASSERT_EQ(prlimit(peer.Process(), RLIMIT_NOFILE, nullptr, &before), 0);
    const rlimit few{3, before.rlim_max};
    ASSERT_EQ(prlimit(peer.Process(), RLIMIT_NOFILE, &few, nullptr), 0);
    const UniqueFd waiting = Connected();
    EXPECT_TRUE(peer.AwaitOutput("peer.task: no descriptor left for a connection"));
    ASSERT_EQ(prlimit(peer.Process(), RLIMIT_NOFILE, &before, nullptr), 0);
    EXPECT_EQ(Ask("peer").data, "question");
}

FORKED_TEST(HostMessage, HandlersAnswerOnceAndRightlyOrTheirSendersFailAtOnce)
{
    Child peer = Serve([](OsMsgEnvelope* message) -> uint32_t {
        static char s_much[kMaxDataLen + 1];
        if (message->msgId == 1)
            return 0;
        OsMsgEnvelope other = *message;
        const bool isRefused = HostMsgReply(&other, nullptr, 0) == HOST_MSG_ERR_ARGUMENT &&
                               HostMsgReply(nullptr, nullptr, 0) == HOST_MSG_ERR_ARGUMENT &&
                               HostMsgReply(message, nullptr, 1) == HOST_MSG_ERR_ARGUMENT;
        uint32_t expected = message->type == OS_MSG_SYNCHRONOUS ? 0 : HOST_MSG_ERR_ARGUMENT;
        if (message->msgId == 2)
            expected = HOST_MSG_ERR_TOO_LONG;
        const uint32_t result =
            message->msgId == 2 ? HostMsgReply(message, s_much, sizeof s_much) : Echo(message);
        if (!isRefused || result != expected || Echo(message) != HOST_MSG_ERR_ARGUMENT) // once is enough
            _exit(1);
        return 0;
    });
    for (const uint32_t number : {1U, 2U}) {
        const auto start = std::chrono::steady_clock::now();
        EXPECT_EQ(Ask("peer", number).result, uint32_t{HOST_MSG_ERR_BROKEN});
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    }
    EXPECT_TRUE(peer.AwaitOutput("answer to message 2 has 4194305 bytes, more than 4194304"));
    EXPECT_EQ(Tell("peer", 5), 0U);
    EXPECT_EQ(Ask("peer").data, "question");
    EXPECT_EQ(Ask("peer").data, "question");
}

FORKED_TEST(HostMessage, ATaskThatDoesNotKeepUpDropsAndCounts)
{
    static std::atomic<int> s_handled = 0;
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    const Handler count = [](OsMsgEnvelope*) -> uint32_t { return ++s_handled > 0 ? 0 : 1; };
    Served task("task", count, false);
    for (uint32_t i = 0; i < 10; ++i)
        EXPECT_EQ(Tell("self", i), 0U);
    EXPECT_EQ(Ask("self", 99).result, uint32_t{HOST_MSG_ERR_BROKEN}); // no room: fails at once
    task.Start();
    EXPECT_TRUE(Eventually([] { return s_handled == 4; }));
    for (int i = 5; i <= 6; ++i) {
        EXPECT_EQ(Tell("self", 11), 0U);
        EXPECT_TRUE(Eventually([i] { return s_handled == i; }));
    }
    EXPECT_EQ(g_lines, (std::vector<std::string>{"task task: message 4 dropped, 4 already wait",
                                                 "message 99: self.task closed the connection",
                                                 "task task: 7 messages were dropped, there is room again"}));
    for (int i = 7; i <= 8; ++i) {
        {
            const Served ended("again", count, false);
            EXPECT_EQ(Tell("self", 1, "", "again"), 0U); // ends with its task
        }
        const Served again("again", count);
        EXPECT_EQ(Ask("self", 2, "", 5000, "again").result, uint32_t{HOST_MSG_ERR_BROKEN}); // unanswered
        EXPECT_EQ(s_handled, i);
    }
    OsMsgTaskRoutineByName("task"); // is run already: returns at once
    OsMsgTaskRoutineByName("none");
    EXPECT_EQ(LastLine(), "task 'none' is not registered");
    OsMsgTaskRoutineByName(nullptr);
    EXPECT_EQ(LastLine(), "task '' is not registered");
    EXPECT_EQ(OsMsgRegTask("task", 4, Echo), 0U); // another handler, and the same name
    EXPECT_EQ(Ask("self").data, "question");
    OsMsgSetLogLevel(4);
    Expect(Ask("none").result, HOST_MSG_ERR_ABSENT, "task '' is not registered");
    OsMsgSetLogLevel(3);
    Expect(Ask("none").result, HOST_MSG_ERR_ABSENT, "nobody serves none.task in " + directory.Path());
    OsMsgRegLogFunc(nullptr);
    testing::internal::CaptureStderr();
    EXPECT_EQ(Ask("nobody").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_NE(testing::internal::GetCapturedStderr().find(" E [os_msg] nobody serves nobody.task in "),
              std::string::npos);
}

FORKED_TEST(HostMessage, AStoppedReceiverNeverBlocksTheSender)
{
    Child peer = Serve(
        [](OsMsgEnvelope* message) -> uint32_t { return message->type == 1 ? Echo(message) : 0; }, 8192);
    const size_t before = OpenDescriptors().size();
    peer.Signal(SIGSTOP);
    for (const auto& [size, left] : {std::pair(500U, 1U), std::pair(kMaxDataLen, 0U)}) {
        uint32_t result = 0;
        const auto start = std::chrono::steady_clock::now();
        for (int i = 0; i < 5000 && result == 0; ++i)
            result = Tell("peer", 5, std::string(size, 'd'));
        Expect(result, HOST_MSG_ERR_FULL, "message 5 dropped: peer.task is not reading");
        EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(10));
        EXPECT_EQ(OpenDescriptors().size(), before + left); // kept when the message has not begun to leave
        EXPECT_EQ(Ask("peer", 5, std::string(left != 0 ? 8 : kMaxDataLen, 'd'), 100).result,
                  uint32_t{HOST_MSG_ERR_TIMEOUT});
    }
    peer.Signal(SIGCONT);
    EXPECT_EQ(Ask("peer").data, "question");
    EXPECT_TRUE(peer.AwaitOutput("peer.task: a message broke off after "));
}

FORKED_TEST(HostMessage, AReceiverThatDoesNotAcceptNeverBlocksTheSender)
{
    const Child peer = ServeRaw([](int) { pause(); }, 0);
    const UniqueFd waiting = Connected(); // and no other has room
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Tell("peer", 5), uint32_t{HOST_MSG_ERR_FULL});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(100));
    EXPECT_EQ(Ask("peer", 5, "", 200).result, uint32_t{HOST_MSG_ERR_TIMEOUT});
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_TRUE(HoldsInFork([] { // full is not dead
        return HostMsgSetProcName("peer") == 0 && OsMsgRegTask("task", 8, Echo) == HOST_MSG_ERR_TAKEN;
    }));
}

FORKED_TEST(HostMessage, MessagesOfOneThreadArriveInOrderAndSignalsAreTheApplications)
{
    static std::vector<uint32_t> s_numbers;
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    Served task(
        "task",
        [](OsMsgEnvelope* message) -> uint32_t {
            s_numbers.push_back(message->msgId);
            return message->type == OS_MSG_SYNCHRONOUS ? Echo(message) : 0;
        },
        false);
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
    ASSERT_EQ(s_numbers.size(), 1000U);
    EXPECT_TRUE(std::is_sorted(s_numbers.begin(), s_numbers.end()));
    EXPECT_EQ(sigwaitinfo(&user1, nullptr), SIGUSR1);
}

FORKED_TEST(HostMessage, ProcessesAreNamedByTheirFirstMessage)
{
    const Child peer = Serve(EchoSlowly);
    const Served inbox("inbox", Echo, false);
    EXPECT_EQ(Ask("peer").result, 0U); // says no name of its own: nothing is bound
    EXPECT_EQ(Ask("app", 5, "x", 100, "inbox").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(Ask("peer", 5, "x", 100, "task", "app").result, 0U);
    EXPECT_EQ(access(directory.File("app.inbox").c_str(), F_OK), 0);
    EXPECT_EQ(Tell("peer", 5, "x", "task", "other"), 0U);
    EXPECT_EQ(access(directory.File("other.inbox").c_str(), F_OK), 0);
}

FORKED_TEST(HostMessage, NamesAreWrittenSafelyAndBadArgumentsAreRefused)
{
    const std::string odd = "../a b\n\x01%"; // never a path
    ASSERT_EQ(HostMsgSetProcName(odd.c_str()), 0U);
    const Served task("t.t", Echo);
    EXPECT_EQ(Ask(odd, 5, "question", 5000, "t.t").data, "question");
    EXPECT_EQ(access(directory.File("%2E%2E%2Fa%20b%0A%01%25.t%2Et").c_str(), F_OK), 0);
    const std::string fifteen(15, '.'), sixteen(16, 'x');
    std::string data = "x";
    OsMsgEnvelope good = To("peer", "task", 5, data), dataless = good;
    dataless.data = nullptr;
    OsMsgEnvelope* response = nullptr;
    for (const char* name : {static_cast<const char*>(nullptr), "", sixteen.c_str()}) {
        EXPECT_EQ(HostMsgSetProcName(name), uint32_t{HOST_MSG_ERR_ARGUMENT});
        EXPECT_EQ(OsMsgRegTask(name, 8, Echo), uint32_t{HOST_MSG_ERR_ARGUMENT});
        EXPECT_EQ(HostMsgEndTask(name), uint32_t{HOST_MSG_ERR_ARGUMENT});
    }
    for (OsMsgEnvelope* wrong : {static_cast<OsMsgEnvelope*>(nullptr), &dataless}) {
        EXPECT_EQ(OsMsgSynSend(wrong, &response, 1), uint32_t{HOST_MSG_ERR_ARGUMENT});
        EXPECT_EQ(OsMsgAsynSend(wrong), uint32_t{HOST_MSG_ERR_ARGUMENT});
    }
    EXPECT_EQ(OsMsgSynSend(&good, nullptr, 1), uint32_t{HOST_MSG_ERR_ARGUMENT});
    EXPECT_EQ(OsMsgRegTask("task", 8, nullptr), uint32_t{HOST_MSG_ERR_ARGUMENT});
    for (const auto& [process, name] :
         {std::pair(std::string(), "task"), {"peer", ""}, {fifteen, fifteen.c_str()}})
        Expect(Ask(process, 5, "", 5000, name).result, HOST_MSG_ERR_ARGUMENT,
               "message 5 cannot be sent to process '" + process + "' task '" + name + "'");
    EXPECT_EQ(HostMsgSetProcName(fifteen.c_str()), 0U);
    Expect(OsMsgRegTask(fifteen.c_str(), 8, Echo), HOST_MSG_ERR_ARGUMENT,
           "process '" + fifteen + "' task '" + fifteen + "' cannot be an endpoint");
}

FORKED_TEST(HostMessage, TheRuntimeDirectoryIsFoundOrRefusedWithALine)
{
    const auto variables = [](const std::string& own, const std::string& parent) {
        setenv("VESK_RUNTIME_DIR", own.c_str(), 1);
        setenv("XDG_RUNTIME_DIR", parent.c_str(), 1);
    };
    const std::string user = std::to_string(geteuid()), link = directory.File("link"),
                      file = directory.File("file"), open = directory.File("open"),
                      group = directory.File("group"), foreign = directory.File("foreign");
    for (const auto& [own, parent, path] :
         {std::tuple(link, open, link), std::tuple(std::string(), directory.Path(), directory.File("vesk")),
          std::tuple(std::string(), std::string(), "/tmp/vesk-" + user)}) {
        variables(own, parent);
        const UniqueFd opened(HostMsgOpenRuntimeDir());
        struct stat status {};
        EXPECT_TRUE(fstat(opened.Get(), &status) == 0 && (status.st_mode & 0777U) == 0700U);
        EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(opened.Get())), path);
    }
    std::filesystem::remove(link);
    std::filesystem::create_symlink(directory.File("vesk"), link);
    close(creat(file.c_str(), 0600));
    std::vector<std::pair<std::string, std::string>> cases = {
        {link, "cannot be opened: it is not a directory itself"},
        {file, "cannot be opened: it is not a directory itself"},
        {file + "/below", "cannot be created: Not a directory"},
        {open, "may be written by others, mode 702"},
        {group, "may be written by others, mode 720"},
    };
    for (const auto& [path, mode] : {std::pair(open, 0702), std::pair(group, 0720), std::pair(foreign, 0700)})
        ASSERT_TRUE(mkdir(path.c_str(), 0700) == 0 && chmod(path.c_str(), static_cast<mode_t>(mode)) == 0);
    if (geteuid() == 0 && chown(foreign.c_str(), 12345, 12345) == 0)
        cases.emplace_back(foreign, "belongs to user 12345, not to user 0");
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    for (const auto& [path, line] : cases) {
        variables(path, "");
        Expect(Ask("peer").result, HOST_MSG_ERR_DIRECTORY, "runtime directory " + path + ' ' + line);
        EXPECT_EQ(OsMsgRegTask("task", 8, Echo), uint32_t{HOST_MSG_ERR_DIRECTORY});
    }
    const std::string tooLong = directory.Path() + '/' + std::string(97 - directory.Path().size(), 'f');
    variables(tooLong, ""); // with the endpoint's name, by one byte
    const size_t lines = g_lines.size();
    {
        const Served task("task", Echo); // nothing is lost: it works once the directory does
        EXPECT_EQ(Ask("self").data, "question");
    }
    EXPECT_FALSE(std::filesystem::exists(tooLong + "/self.task"));
    {
        const Served homeless("task", Echo, false);
        std::filesystem::remove_all(tooLong);
    }
    EXPECT_EQ(g_lines.size(), lines);
    variables(directory.Path(), "");
}

FORKED_TEST(HostMessage, NamesAreTakenAwayByWhoServesThemAlone)
{
    const std::string name = directory.File("peer.task");
    const auto serves = [] { return HostMsgSetProcName("peer") == 0 && OsMsgRegTask("task", 8, Echo) == 0; };
    EXPECT_TRUE(HoldsInFork([&] { // a fork of its owner ends, and the name stays; then its owner does
        return serves() && Ask("peer", 5, "", 50).result == HOST_MSG_ERR_TIMEOUT && // its thread is at rest
               HoldsInFork([] { return true; }) && access(name.c_str(), F_OK) == 0;
    }));
    EXPECT_NE(access(name.c_str(), F_OK), 0);
    Child successor = Child::Fork([&] {
        while (access(name.c_str(), F_OK) != 0)
            usleep(1000);
        std::puts("seen");
        std::fflush(stdout);
        while (access(name.c_str(), F_OK) == 0)
            usleep(1000);
        std::puts(serves() ? "served" : "failed");
        std::fflush(stdout);
        pause();
    });
    HostMsgSetProcName("peer");
    {
        const Served task("task", Echo, false);
        EXPECT_TRUE(successor.AwaitOutput("seen"));
        const UniqueFd client = Connected();
        EXPECT_EQ(Ask("peer", 5, "", 100).result, uint32_t{HOST_MSG_ERR_TIMEOUT}); // nobody runs it
        std::filesystem::remove(name);
        EXPECT_TRUE(successor.AwaitOutput("served"));
        HostMsgEndTask("task");
        EXPECT_TRUE(IsClosedOn(client.Get()));    // its clients are let go
        EXPECT_EQ(access(name.c_str(), F_OK), 0); // the name is its successor's
    }
    successor.Signal(SIGKILL);
    successor.Wait();
    const UniqueFd locked(::open(directory.Path().c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    flock(locked.Get(), LOCK_EX);
    std::thread unlocker([&] {
        usleep(50000);
        flock(locked.Get(), LOCK_UN);
    });
    EXPECT_EQ(OsMsgRegTask("patient", 8, Echo), 0U);
    unlocker.join();
    HostMsgEndTask("patient");
    flock(locked.Get(), LOCK_EX);
    Expect(OsMsgRegTask("task", 8, Echo), HOST_MSG_ERR_DIRECTORY,
           "runtime directory " + directory.Path() + " stays locked, peer.task is not served");
}

FORKED_TEST(HostMessage, AnotherUserIsRefusedAtBothEnds)
{
    if (geteuid() != 0)
        return; // only root can become another user
    chmod(directory.Path().c_str(), 0711);
    {
        Child peer = Serve(Echo);
        chmod(address.sun_path, 0777);
        EXPECT_TRUE(HoldsInFork([&] {
            const bool isForeign = setuid(12345) == 0;
            const UniqueFd connection = Connected();
            Write(connection.Get(), Raw({}, ""));
            return isForeign && IsClosedOn(connection.Get());
        }));
        EXPECT_TRUE(peer.AwaitOutput("peer.task: a connection of another user is refused"));
        EXPECT_EQ(Ask("peer").data, "question");
    }
    std::filesystem::remove(address.sun_path);
    const Child foreign = ServeRaw([](int) { pause(); }, 16, 12345);
    Expect(Ask("peer").result, HOST_MSG_ERR_FOREIGN, "peer.task is served by another user");
}
