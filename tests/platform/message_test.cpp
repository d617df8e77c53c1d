// The host's message library between processes, and against peers that do not keep to its rules.
#include "platform/message_fixture.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <filesystem>
#include <optional>

#include <fcntl.h>
#include <poll.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/time.h>
#include <sys/wait.h>

FORKED_TEST(HostMessage, ExchangesUpToFourMebibytes)
{
    const Child peer = Serve();
    for (const size_t size : {0U, 1U, 200000U, kMaxDataLen}) {
        const std::string data(size, 'd');
        const Outcome outcome = Ask("peer", 7, data, 5000, "task", "me");
        EXPECT_TRUE(outcome.data == data) << size;
        EXPECT_EQ(outcome.names, "peer task me ");
    }
    EXPECT_EQ(Ask("peer", 7, std::string(kMaxDataLen + 1, 'd')).result, uint32_t{HOST_MSG_ERR_TOO_LONG});
    EXPECT_EQ(Tell("peer", 7, std::string(kMaxDataLen + 1, 'd')), uint32_t{HOST_MSG_ERR_TOO_LONG});
    EXPECT_EQ(Tell("peer", 8, std::string(kMaxDataLen, 'd')), 0U);
    Expect(Ask("peer").result, 0, "message 7 to peer.task has 4194305 bytes of data, more than 4194304");
}

FORKED_TEST(HostMessage, FortyThreadsGetTheirOwnAnswersAndLeave32Connections)
{
    const size_t before = OpenDescriptors().size();
    const Child peer = Serve();
    std::vector<std::jthread> threads;
    for (uint32_t thread = 0; thread < 40; ++thread) {
        threads.emplace_back([thread] {
            for (uint32_t i = 0; i < 100; ++i) {
                const std::string data = i != 0 || thread != 0 ? std::to_string(thread * 1000 + i) : "slow";
                EXPECT_EQ(Ask("peer", thread, data).data, data);
            }
        });
    }
    threads.clear();
    EXPECT_EQ(OpenDescriptors().size(), before + 1 + 32); // the peer's output, and idle connections
}

FORKED_TEST(HostMessage, WrongAnswersFailAtOnceAndTheNextCallWorks)
{
    const struct {
        std::vector<std::string> packets; // that the peer sends before it closes
        uint32_t result;
    } cases[] = {
        {{}, HOST_MSG_ERR_BROKEN},
        {{""}, HOST_MSG_ERR_BROKEN},
        {{std::string(400, '#')}, HOST_MSG_ERR_MALFORMED},
        {{Raw(0, "").substr(0, 100)}, HOST_MSG_ERR_MALFORMED},
        {{Raw(100, "little"), "by little"}, HOST_MSG_ERR_BROKEN}, // less than announced
        {{Raw(10, "little"), "", "more"}, HOST_MSG_ERR_BROKEN},
        {{Raw(10, "little"), "by little"}, HOST_MSG_ERR_MALFORMED},
        {{Raw(kMaxDataLen + 1, "much")}, HOST_MSG_ERR_MALFORMED},
        {{Raw(2, "ok", 2)}, HOST_MSG_ERR_MALFORMED}, // of an unknown type
        {{Raw(2, "surplus")}, HOST_MSG_ERR_MALFORMED},
        {{Raw(10000, std::string(9000, 'l'))}, HOST_MSG_ERR_MALFORMED},  // a first packet that is too long
        {{Raw(2, "ok", OS_MSG_SYNCHRONOUS, 6)}, HOST_MSG_ERR_MALFORMED}, // to another message
    };
    // Request 2n gets what case n says and loses its connection; the one after it is answered, and its
    // connection stays for the next.
    const Child peer = ServeRaw([&, number = 0](int listener) mutable {
        const UniqueFd connection([&] { return accept(listener, nullptr, nullptr); });
        uint64_t sequence = 0;
        for (bool isGood = true; isGood && (sequence = ReadMessage(connection)) != 0; ++number) {
            isGood = number % 2 != 0;
            for (std::string packet : isGood ? std::vector{Raw(4, "good")} : cases[number / 2].packets) {
                if (packet.size() >= sizeof(FrameHead))
                    std::memcpy(packet.data() + offsetof(FrameHead, sequence), &sequence, sizeof sequence);
                SendPacket(connection, packet);
            }
        }
    });
    for (const auto& [packets, result] : cases) {
        SCOPED_TRACE(packets.empty() ? "nothing" : packets[0]);
        Expect(Ask("peer").result, result,
               result == HOST_MSG_ERR_BROKEN ? "message 5: peer.task closed the connection"
                                             : "message 5: peer.task sent a malformed answer");
        EXPECT_EQ(Ask("peer").data, "good");
    }
}

FORKED_TEST(HostMessage, ALateAnswerIsNeverTakenForTheNext)
{
    { // the first request's is given again when the second has come
        const Child peer = ServeRaw([&](int listener) {
            const UniqueFd connection([&] { return accept(listener, nullptr, nullptr); });
            const uint64_t first = ReadMessage(connection);
            const auto answer = [&](uint64_t sequence, const char* data) {
                SendPacket(connection, Raw(3, data, OS_MSG_SYNCHRONOUS, 5, sequence));
            };
            answer(first, "1st");
            const uint64_t second = ReadMessage(connection);
            answer(first, "1st");
            answer(second, "2nd");
        });
        EXPECT_EQ(Ask("peer").data, "1st");
        EXPECT_EQ(Ask("peer").data, "2nd");
    }
    std::filesystem::remove(address.sun_path);
    // What has not been read when the time is up is not read, lest a peer that never stops sending hold its
    // caller up: an answer that follows an earlier one, or the data of one.
    for (const bool isEarlier : {true, false}) {
        const Child peer = ServeRaw([isEarlier](int listener) {
            const UniqueFd connection([&] { return accept(listener, nullptr, nullptr); });
            const uint64_t sequence = ReadMessage(connection);
            kill(getppid(), SIGSTOP); // the caller
            SendPacket(connection, isEarlier ? Raw(0, "", OS_MSG_SYNCHRONOUS, 5, 0)
                                             : Raw(2, "", OS_MSG_SYNCHRONOUS, 5, sequence));
            SendPacket(connection, isEarlier ? Raw(2, "ok", OS_MSG_SYNCHRONOUS, 5, sequence) : "ok");
            usleep(250000);
            kill(getppid(), SIGCONT);
        });
        EXPECT_EQ(Ask("peer", 5, "", 200).result, uint32_t{HOST_MSG_ERR_TIMEOUT});
        std::filesystem::remove(address.sun_path);
    }
    { // one comes through though its sender closes with part of the request unread
        const Child peer = ServeRaw([](int listener) {
            UniqueFd connection([&] { return accept(listener, nullptr, nullptr); });
            FirstPacket request;
            recv(connection.Get(), &request, sizeof request, 0);
            WaitFor(connection.Get(), POLLIN, Deadline(std::chrono::seconds(10)));
            kill(getppid(), SIGSTOP); // so that it reads only when the connection is closed
            SendPacket(connection, Raw(4, "rude", OS_MSG_SYNCHRONOUS, 5, request.head.sequence));
            connection.Close();
            kill(getppid(), SIGCONT);
        });
        EXPECT_EQ(Ask("peer", 5, std::string(10000, 'd')).data, "rude");
    }
    std::filesystem::remove(address.sun_path);
    const Child peer = Serve();
    EXPECT_EQ(Ask("peer").result, 0U);
    Expect(Ask("peer", 5, "slow", 100).result, HOST_MSG_ERR_TIMEOUT,
           "message 5: peer.task did not answer in time");
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(Ask("peer", 5, "next").data, "next");
        usleep(100000);
    }
    EXPECT_TRUE(Eventually([] { return Ask("peer", 5, "next", 200).data == "next"; }));
    EXPECT_EQ(Ask("peer", 5, "slow").data, "slow"); // over a connection that had less time before
}

FORKED_TEST(HostMessage, PeersComeAndGo)
{
    EXPECT_EQ(Ask("peer").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(Tell("peer"), uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_EQ(g_lines, std::vector<std::string>{"nobody serves peer.task in " + directory.path}); // once
    const Handler sayProcess = [](OsMsgEnvelope* message) {
        const OsMsgEnvelope other = *message;
        const std::string text = std::to_string(HostMsgSenderProcess(message)) + ", not " +
                                 std::to_string(HostMsgSenderProcess(&other));
        return HostMsgReply(message, text.data(), static_cast<uint32_t>(text.size()));
    };
    const auto ask = [] { EXPECT_EQ(Ask("peer").data, std::to_string(getpid()) + ", not 0"); };
    {
        const Child peer = Serve(sayProcess);
        ask();
        InFork(ask); // on no connection of its parent's
    }                // killed: its socket stays behind, and a pooled connection here
    EXPECT_EQ(access(address.sun_path, F_OK), 0);
    EXPECT_EQ(Ask("peer").result, uint32_t{HOST_MSG_ERR_ABSENT});
    const Child peer = Serve(sayProcess); // takes the socket over
    ask();
    InFork([&] {
        Expect(BecomePeer(), HOST_MSG_ERR_TAKEN,
               "peer.task is already served by process " + std::to_string(peer.Process()));
    });
    ask();
}

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
        {{Raw(1000, "some"), ""}, "peer.task: a message broke off after 180 bytes"},
        {{Raw(1000, "some data"), "and more"}, "peer.task: a message broke off after 193 bytes", false},
        {{Raw(kMaxDataLen + 1, "")}, garbage},
        {{Raw(0, "", 2)}, garbage},
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
    const UniqueFd connection = Connected({Raw(4, "slow"), Raw(4, "fast")}); // answered one after the other
    EXPECT_TRUE(ReadMessage(connection) && ReadMessage(connection));
    // What was sent before the connection was closed with an answer unread is taken in all the same.
    UniqueFd hasty = Connected({Raw(4, "fast")});
    WaitFor(hasty.Get(), POLLIN, Deadline(std::chrono::seconds(10)));
    kill(peer.Process(), SIGSTOP);
    SendPacket(hasty, Raw(1000, "so"));
    hasty.Close();
    kill(peer.Process(), SIGCONT);
    peer.ExpectOutput("peer.task: a message broke off after 178 bytes");
}

TEST(HostMessage, PacketsFitASocketsBufferAndKeptDataIsSentLater)
{
    int ends[2];
    ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_NONBLOCK, 0, ends), 0);
    const UniqueFd from([&] { return ends[0]; }), to([&] { return ends[1]; });
    const int size = 16384; // which the kernel doubles
    ASSERT_EQ(setsockopt(from.Get(), SOL_SOCKET, SO_SNDBUF, &size, sizeof size), 0);
    std::string data(kMaxDataLen, '\0'), received(kMaxDataLen, '\0');
    for (size_t i = 0; i < data.size(); ++i)
        data[i] = static_cast<char>(i * 2654435761U >> 24U);
    const std::string expected = data;
    OsMsgEnvelope envelope{};
    envelope.data = data.data();
    envelope.dataLen = kMaxDataLen;
    FrameWriter begun(envelope, 1);
    EXPECT_EQ(begun.WriteSome(from.Get()), FrameWriter::Progress::kNoRoom);
    begun.KeepData();
    FrameWriter writer = std::move(begun);
    data.assign(data.size(), 'x');
    FirstPacket first;
    ASSERT_EQ(recv(to.Get(), &first, sizeof first, 0), ssize_t(sizeof first.head));
    EXPECT_TRUE(first.IsValid(sizeof first.head));
    size_t count = 0;
    while (count < received.size() && writer.WriteSome(from.Get()) != FrameWriter::Progress::kBroken) {
        ssize_t got = 0;
        while ((got = recv(to.Get(), &received[count], received.size() - count, 0)) > 0)
            count += static_cast<size_t>(got);
    }
    EXPECT_TRUE(received == expected);
    EXPECT_EQ(writer.WriteSome(from.Get()), FrameWriter::Progress::kDone);
    // However full the buffer, a message that fits a packet leaves whole or not at all.
    envelope.dataLen = 10000;
    for (int small = 0; small < 60; ++small) {
        for (int i = 0; i < small; ++i)
            send(from.Get(), expected.data(), 500, 0);
        FrameWriter next(envelope, 2);
        const bool isDone = next.WriteSome(from.Get()) == FrameWriter::Progress::kDone;
        EXPECT_EQ(next.HasBegun(), isDone) << small;
        while (recv(to.Get(), received.data(), received.size(), 0) > 0) {
        }
    }
}

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

namespace {

/// An answer that a task of this process owes; it repeats the request.
struct Owed {
    HostMsgDeferred number;
    std::string data;

    uint32_t Give() const
    {
        return HostMsgReplyDeferred(number, data.data(), static_cast<uint32_t>(data.size()));
    }
};
std::vector<Owed> g_owed; // in the order of the requests
std::atomic<bool> g_isHeld = false, g_isHolding = false;

uint32_t PutOff(OsMsgEnvelope* message)
{
    const std::string data(static_cast<char*>(message->data), message->dataLen);
    if (data == "question")
        return Echo(message);
    while (data == "held" && (g_isHolding = g_isHeld.load()))
        usleep(1000);
    const HostMsgDeferred number = HostMsgDefer(message);
    EXPECT_EQ(HostMsgReply(message, "now", 3), number != 0 ? uint32_t{HOST_MSG_ERR_ARGUMENT} : 0);
    EXPECT_EQ(HostMsgDefer(message), 0U);
    const std::lock_guard guard(g_lock);
    g_owed.push_back({number, data});
    return 0;
}

/// The answer to request number @p index.
Owed OwedAnswer(size_t index)
{
    Owed owed{};
    EXPECT_TRUE(Eventually([&] {
        const std::lock_guard guard(g_lock);
        return index < g_owed.size() && (owed = g_owed[index], true);
    })) << index;
    return owed;
}

} // namespace

FORKED_TEST(HostMessage, AnAnswerThatIsPutOffIsGivenOnceOrEndsWithItsSenderOrItsTask)
{
    constexpr uint32_t kBroken = HOST_MSG_ERR_BROKEN;
    constexpr size_t kMaxOwed = 1024;
    const rlimit limit{3 * kMaxOwed, 3 * kMaxOwed};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    ASSERT_EQ(HostMsgSetProcName("peer"), 0U);
    std::optional<Served> task(std::in_place, "task", PutOff, false);
    std::vector<UniqueFd> clients;
    Connected({Raw(4, "gone")}); // before its request is read
    size_t before = OpenDescriptors().size();
    const auto hasClosedTheRest = [&] { return OpenDescriptors().size() == before; };
    task->Start();
    const Owed gone = OwedAnswer(0);
    EXPECT_TRUE(Eventually(hasClosedTheRest));
    g_isHeld = true;
    clients.push_back(Connected({Raw(4, "held")}));
    EXPECT_TRUE(Eventually([] { return g_isHolding.load(); }));
    HostMsgEndTask("task"); // before the handler puts it off
    EXPECT_TRUE(IsClosedOn(clients[0]));
    clients.clear();
    g_isHeld = false;
    task.emplace("task", PutOff);
    const Owed ended = OwedAnswer(1);
    EXPECT_EQ(Ask("peer").data, "question");
    before += 2; // over a connection that stays
    const std::string large(kMaxDataLen, 'd');
    const struct {
        const char* data;
        uint32_t dataLen, result, answers;
    } cases[] = {
        {"late", 4, 0, 1},
        {large.data(), kMaxDataLen, 0, 1},
        {large.data(), kMaxDataLen + 1, HOST_MSG_ERR_TOO_LONG, 0},
        {nullptr, 1, HOST_MSG_ERR_ARGUMENT, 0},
    };
    for (size_t i = 0; i < std::size(cases); ++i) {
        clients.push_back(Connected({Raw(4, "late")}));
        shutdown(clients[i].Get(), SHUT_WR); // and goes on waiting
        OwedAnswer(2 + i);
    }
    for (size_t i = std::size(cases); i-- != 0;) {
        const HostMsgDeferred number = OwedAnswer(2 + i).number;
        EXPECT_EQ(HostMsgReplyDeferred(number, cases[i].data, cases[i].dataLen), cases[i].result) << i;
        EXPECT_EQ(HostMsgReplyDeferred(number, "", 0), kBroken) << i;
        EXPECT_EQ(ReadMessage(clients[i]), cases[i].answers) << i;
        EXPECT_TRUE(IsClosedOn(clients[i])) << i;
        EXPECT_EQ(Ask("peer").data, "question");
    }
    clients.clear();
    clients.push_back(Connected({Raw(4, "late"), Raw(4, "next")}));
    EXPECT_EQ(OwedAnswer(6).Give(), 0U);
    HostMsgCloseDeferred(OwedAnswer(7).number); // comes after the answer to the first
    EXPECT_TRUE(ReadMessage(clients[0]) && IsClosedOn(clients[0]));
    clients.clear();
    EXPECT_TRUE(Eventually(hasClosedTheRest));

    for (size_t i = 0; i < kMaxOwed; ++i)
        clients.push_back(Connected({Raw(4, "many"), std::string(9000, 'x')})); // garbage to follow
    EXPECT_NE(OwedAnswer(7 + kMaxOwed).number, 0U); // as nothing has been left behind
    EXPECT_TRUE(gone.Give() == kBroken && ended.Give() == kBroken);
    EXPECT_TRUE(ReadMessage(Connected({Raw(4, "late")}))); // is answered at once
    EXPECT_EQ(OwedAnswer(8 + kMaxOwed).number, 0U);
    clients.pop_back();
    EXPECT_TRUE(Eventually([&] { return OpenDescriptors().size() == before + 2 * (kMaxOwed - 1); }));
    clients.push_back(Connected({Raw(4, "late")}));
    const Owed last = OwedAnswer(9 + kMaxOwed);
    EXPECT_NE(last.number, 0U);
    if (kThreadsMayFork)
        InFork([&] { _exit(last.Give() == kBroken ? 0 : 1); }); // a child owes nothing
    task.reset();
    for (const UniqueFd& client : clients)
        EXPECT_TRUE(IsClosedOn(client));
    EXPECT_EQ(last.Give(), kBroken);
}

FORKED_TEST(HostMessage, LateAnswersOfManyThreadsReachTheirOwnSenders)
{
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    std::optional<Served> task(std::in_place, "task", PutOff);
    std::atomic<bool> ends = false;
    std::vector<std::jthread> answering, asking;
    for (int i = 0; i < 3; ++i) {
        answering.emplace_back([&] {
            for (size_t turn = 0; !ends; ++turn) {
                std::unique_lock guard(g_lock);
                if (g_owed.empty()) {
                    guard.unlock();
                    usleep(100);
                    continue;
                }
                const auto one = g_owed.begin() + static_cast<ptrdiff_t>(turn % g_owed.size());
                const Owed owed = std::move(*one);
                g_owed.erase(one);
                guard.unlock();
                owed.Give();
            }
        });
    }
    for (uint32_t client = 0; client < 8; ++client) {
        asking.emplace_back([client] {
            for (uint32_t i = 0; i < 200; ++i) {
                const uint32_t timeout = (i + client) % 8 != 0 ? 10000 : i % 2;
                const std::string data = std::to_string(client * 1000 + i);
                const Outcome outcome = Ask("self", client, data, timeout);
                EXPECT_TRUE(outcome.result == 0 ? outcome.data == data : timeout < 2) << outcome.result;
            }
        });
    }
    asking.clear();
    ends = true;
    answering.clear();
    for (uint32_t client = 0; client < 8; ++client)
        asking.emplace_back([] { EXPECT_EQ(Ask("self", 5, "last").result, uint32_t{HOST_MSG_ERR_BROKEN}); });
    EXPECT_TRUE(Eventually([] {
        const std::lock_guard guard(g_lock);
        return std::count_if(g_owed.begin(), g_owed.end(),
                             [](const Owed& owed) { return owed.data == "last"; }) == 8;
    }));
    task.reset();
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

FORKED_TEST(HostMessage, AStoppedReceiverNeverBlocksTheSender)
{
    Child peer = Serve();
    const size_t before = OpenDescriptors().size();
    kill(peer.Process(), SIGSTOP);
    for (const auto& [size, left] : {std::pair(kMaxDataLen, 0U), std::pair(500U, 1U)}) {
        uint32_t result = 0;
        for (int i = 0; i < 5000 && result == 0; ++i)
            result = Tell("peer", 5, std::string(size, 'd'));
        Expect(result, HOST_MSG_ERR_FULL, "message 5 dropped: peer.task is not reading");
        EXPECT_EQ(OpenDescriptors().size(), before + left); // kept when the message has not begun to leave
        EXPECT_EQ(Ask("peer", 5, std::string(left != 0 ? 8 : kMaxDataLen, 'd'), 100).result,
                  uint32_t{HOST_MSG_ERR_TIMEOUT});
    }
    kill(peer.Process(), SIGCONT);
    EXPECT_EQ(Ask("peer").data, "question");
    peer.ExpectOutput("peer.task: a message broke off after ");
}

FORKED_TEST(HostMessage, ASlowReceiverGetsAMessageThatHasBegunToLeave)
{
    const Child peer = ServeRaw([](int listener) {
        const UniqueFd connection([&] { return accept(listener, nullptr, nullptr); });
        std::string data(1U << 20U, '\0');
        while (recv(connection.Get(), data.data(), data.size(), 0) > 0)
            usleep(11000); // never drains the socket, and reads in each moment that the sender waits
    });
    EXPECT_TRUE(Eventually([] { return Tell("peer", 5, std::string(400000, 'd')) == 0; }));
}

FORKED_TEST(HostMessage, AReceiverThatDoesNotAcceptNeverBlocksTheSender)
{
    const Child peer = ServeRaw([](int) { pause(); }, 0);
    const UniqueFd waiting = Connected(); // and no other has room
    const auto start = std::chrono::steady_clock::now();
    Expect(Tell("peer"), HOST_MSG_ERR_FULL, "peer.task accepts no connection: its backlog is full");
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    EXPECT_EQ(Ask("peer", 5, "", 200).result, uint32_t{HOST_MSG_ERR_TIMEOUT});
    EXPECT_GT(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(200));
    InFork([] { // full is not dead
        Expect(BecomePeer(), HOST_MSG_ERR_TAKEN, "peer.task is already served by another process");
    });
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

FORKED_TEST(HostMessage, ProcessesAreNamedByTheirFirstMessage)
{
    const Child peer = Serve();
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
    const std::string odd = "../a b\n\x01%", fifteen(15, '.'), sixteen(16, 'x'); // never a path
    ASSERT_EQ(HostMsgSetProcName(odd.c_str()), 0U);
    const Served task("t.t", Echo);
    EXPECT_EQ(Ask(odd, 5, "question", 5000, "t.t").data, "question");
    EXPECT_EQ(access(directory.File("%2E%2E%2Fa%20b%0A%01%25.t%2Et").c_str(), F_OK), 0);
    std::string data = "x";
    OsMsgEnvelope good = To("peer", "task", 5, data), dataless = good, *response = nullptr;
    dataless.data = nullptr;
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
    for (const auto& [own, parent, path] :
         {std::tuple(directory.File("link"), std::string(1, '/'), directory.File("link")),
          {"", directory.path, directory.File("vesk")},
          {"", "", "/tmp/vesk-" + std::to_string(geteuid())}}) {
        variables(own, parent);
        const UniqueFd opened(HostMsgOpenRuntimeDir);
        struct stat status {};
        EXPECT_TRUE(fstat(opened.Get(), &status) == 0 && (status.st_mode & 0777U) == 0700U);
        EXPECT_EQ(std::filesystem::read_symlink("/proc/self/fd/" + std::to_string(opened.Get())), path);
    }
    std::filesystem::remove(directory.File("link"));
    std::filesystem::create_symlink(directory.File("vesk"), directory.File("link"));
    close(creat(directory.File("file").c_str(), 0600));
    ASSERT_EQ(HostMsgSetProcName("self"), 0U);
    const std::tuple<std::string, mode_t, std::string> cases[] = {
        {"link", 0, "cannot be opened: it is not a directory itself"},
        {"file", 0, "cannot be opened: it is not a directory itself"},
        {"file/below", 0, "cannot be created: Not a directory"},
        {"open", 0702, "may be written by others, mode 702"},
        {"group", 0720, "may be written by others, mode 720"},
        {"foreign", 0700, "belongs to user 12345, not to user 0"},
    };
    for (const auto& [name, mode, line] : cases) {
        const std::string path = directory.File(name);
        ASSERT_TRUE(mode == 0 || (mkdir(path.c_str(), 0700) == 0 && chmod(path.c_str(), mode) == 0));
        if (name == "foreign" && chown(path.c_str(), 12345, 12345) != 0)
            continue; // only root can give it away
        variables(path, "");
        Expect(Ask("peer").result, HOST_MSG_ERR_DIRECTORY, "runtime directory " + path + ' ' + line);
        EXPECT_EQ(OsMsgRegTask("task", 8, Echo), uint32_t{HOST_MSG_ERR_DIRECTORY});
    }
    const std::string tooLong = directory.path + '/' + std::string(97 - directory.path.size(), 'f');
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
    variables(directory.path, "");
}

FORKED_TEST(HostMessage, NamesAreTakenAwayByWhoServesThemAlone)
{
    const std::string name = directory.File("peer.task");
    InFork([&] { // a fork of its owner ends, and the name stays; then its owner does
        EXPECT_EQ(BecomePeer(), 0U);
        EXPECT_EQ(Ask("peer", 5, "", 50).result, uint32_t{HOST_MSG_ERR_TIMEOUT}); // its thread is at rest
        InFork([] {});
        EXPECT_EQ(access(name.c_str(), F_OK), 0);
    });
    EXPECT_NE(access(name.c_str(), F_OK), 0);
    Child successor([&] {
        while (access(name.c_str(), F_OK) != 0)
            usleep(1000);
        std::puts("seen");
        while (access(name.c_str(), F_OK) == 0)
            usleep(1000);
        std::puts(BecomePeer() == 0 ? "served" : "failed");
        pause();
    });
    HostMsgSetProcName("peer");
    {
        const Served task("task", Echo, false);
        successor.ExpectOutput("seen");
        const UniqueFd client = Connected();
        EXPECT_EQ(Ask("peer", 5, "", 100).result, uint32_t{HOST_MSG_ERR_TIMEOUT}); // nobody runs it
        std::filesystem::remove(name);
        successor.ExpectOutput("served");
        HostMsgEndTask("task");
        EXPECT_TRUE(IsClosedOn(client));          // its clients are let go
        EXPECT_EQ(access(name.c_str(), F_OK), 0); // the name is its successor's
    }
    successor.Wait(SIGKILL);
    const UniqueFd locked([&] { return ::open(directory.File(".lock").c_str(), O_RDONLY | O_CLOEXEC); });
    struct stat status {};
    EXPECT_TRUE(fstat(locked.Get(), &status) == 0 &&
                (status.st_mode & 0777U) == 0600U); // not for other users
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
           "runtime directory " + directory.path + " stays locked, peer.task is not served");
    // It is tried again a second later, also by a thread that has met the attempt under way.
    const auto send = [] { Tell("nobody", 5, "", "task", "other"); };
    const Deadline late(std::chrono::seconds(1)); // an asynchronous message waits for a moment only
    std::jthread first(send);
    usleep(20000);
    send();
    first.join();
    EXPECT_EQ(Ask("nobody", 5, "", 10, "task", "another").result, uint32_t{HOST_MSG_ERR_ABSENT});
    EXPECT_FALSE(late.HasPassed());
    flock(locked.Get(), LOCK_UN);
    EXPECT_TRUE(Eventually([&] {
        send();
        return access(directory.File("other.task").c_str(), F_OK) == 0;
    }));
    HostMsgEndTask("task");
}

FORKED_TEST(HostMessage, AnotherUserIsRefusedAtBothEnds)
{
    if (geteuid() != 0)
        return; // only root can become another user
    chmod(directory.path.c_str(), 0711);
    {
        Child peer = Serve();
        chmod(address.sun_path, 0777);
        InFork([&] {
            EXPECT_EQ(setuid(12345), 0);
            EXPECT_TRUE(IsClosedOn(Connected({Raw(0, "")})));
        });
        peer.ExpectOutput("peer.task: a connection of another user is refused");
        EXPECT_EQ(Ask("peer").data, "question");
    }
    std::filesystem::remove(address.sun_path);
    {
        const Child foreign = ServeRaw([](int) { pause(); }, 16, 12345);
        Expect(Ask("peer").result, HOST_MSG_ERR_FOREIGN, "peer.task is served by another user");
    }
    std::filesystem::remove(address.sun_path);
    std::filesystem::remove(directory.File(".lock"));
    EXPECT_EQ(chown(directory.path.c_str(), 12345, 12345), 0);
    InFork([&] { // a name stays its owner's also when that cannot be connected to
        EXPECT_EQ(setuid(12345), 0);
        EXPECT_EQ(BecomePeer(), 0U);
        chmod(address.sun_path, 0);
        InFork([] {
            Expect(BecomePeer(), HOST_MSG_ERR_SYSTEM, "connection of peer.task failed: Permission denied");
        });
    });
    EXPECT_EQ(chown(directory.path.c_str(), 0, 0), 0);
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

FORKED_TEST(HostMessage, SignalsDoNotMoveADeadline)
{
    const Child full = ServeRaw([](int) { pause(); }, 0);
    const UniqueFd waiting = Connected();
    struct sigaction ignored {};
    ignored.sa_handler = [](int) {};
    sigaction(SIGALRM, &ignored, nullptr);
    const itimerval often{{0, 20000}, {0, 20000}};
    setitimer(ITIMER_REAL, &often, nullptr);
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(Ask("peer", 5, "", 300).result, uint32_t{HOST_MSG_ERR_TIMEOUT});
    HostMsgSetProcName("self");
    const Served task("task", Echo, false);
    EXPECT_EQ(Ask("self", 5, "", 300).result, uint32_t{HOST_MSG_ERR_TIMEOUT});
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
}

FORKED_TEST(HostMessage, ConnectionsToPeersThatHaveGoneAreClosed)
{
    const size_t before = OpenDescriptors().size();
    for (int i = 0; i < 100; ++i) {
        const std::string name = "app" + std::to_string(i);
        const Child app = Prepared([&] {
            HostMsgSetProcName(name.c_str());
            EXPECT_EQ(OsMsgRegTask("task", 8, Echo), 0U);
        });
        EXPECT_EQ(Tell(name), 0U);
    }
    EXPECT_LE(OpenDescriptors().size(), before + 1);
}
