// Connections: how many there are, and receivers that do not read or accept.
#include "platform/message_fixture.h"

#include <csignal>
#include <cstring>

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
