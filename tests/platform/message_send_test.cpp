// Sends, whose answers may be wrong, late or missing, and the packets that carry them.
#include "platform/message_fixture.h"

#include <csignal>
#include <cstring>
#include <filesystem>

#include <poll.h>
#include <sys/time.h>

FORKED_TEST(HostMessage, ExchangesUpToFourMebibytes)
{
    const Child peer = Serve();
    for (const size_t size : {0U, 1U, 200000U, kMaxDataLen, 300000U}) {
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
