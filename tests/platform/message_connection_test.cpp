// Connections: how many there are, receivers that do not read or accept, and memory that both ends share.
#include "message/shared_block.h"
#include "platform/message_fixture.h"

#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>

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

FORKED_TEST(HostMessage, ALargeRequestTravelsInPacketsWhereNoMemoryCanBeShared)
{
    const Child peer = Serve();
    const std::string large(kMaxDataLen, 'd');
    InFork([&] {
        const rlimit limit{1U << 20U, 1U << 20U};
        EXPECT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
        EXPECT_EQ(Ask("peer", 5, large).data, large);
    });
}

FORKED_TEST(HostMessage, MemoryThatASenderSharesIsTakenOnlyIfItIsSafe)
{
    Child peer = Serve();
    constexpr int kSeals = F_SEAL_SHRINK | F_SEAL_GROW | F_SEAL_FUTURE_WRITE;
    const auto head = [](DataPlace place, uint32_t size = 100000, uint32_t type = OS_MSG_SYNCHRONOUS) {
        std::string packet = Raw(size, "", type);
        std::memcpy(&packet[offsetof(FrameHead, place)], &place, sizeof place);
        return packet;
    };
    const auto memory = [](off_t size, int seals, bool hasHoles = false) {
        UniqueFd file([] { return memfd_create("test", MFD_CLOEXEC | MFD_ALLOW_SEALING); });
        EXPECT_EQ(hasHoles ? ftruncate(file.Get(), size) : fallocate(file.Get(), 0, 0, size), 0);
        EXPECT_EQ(fcntl(file.Get(), F_ADD_SEALS, seals), 0);
        return file;
    };
    const std::string self = "process " + std::to_string(getpid());
    const std::string unusable = "the memory that " + self + " shares cannot be used",
                      garbage = self + " sent";
    for (const std::string& packet :
         {head(DataPlace::kBlock), head(DataPlace::kNewBlock, 100000, OS_MSG_ASYNCHRONOUS),
          head(DataPlace::kNewBlock, 0), head(DataPlace::kNewBlock) + 'd', head(DataPlace{3})}) {
        EXPECT_TRUE(IsClosedOn(Connected({packet})));
        peer.ExpectOutput(garbage);
    }
    EXPECT_TRUE(IsClosedOn(Connected({head(DataPlace::kNewBlock), "d"})));
    const auto descriptors = [&] {
        const std::filesystem::directory_iterator open("/proc/" + std::to_string(peer.Process()) + "/fd");
        return std::distance(begin(open), end(open));
    };
    const auto before = descriptors();
    const UniqueFd noMemory([] { return open("/dev/null", O_RDWR | O_CLOEXEC); });
    const UniqueFd mayShrink = memory(100000, F_SEAL_GROW), small = memory(99999, kSeals),
                   vast = memory(kMaxDataLen + 1, kSeals), holed = memory(100000, kSeals, true),
                   good = memory(100000, kSeals);
    for (const UniqueFd* file : {&noMemory, &mayShrink, &small, &vast, &holed}) {
        const UniqueFd connection = Connected({head(DataPlace::kNewBlock)});
        alignas(cmsghdr) char control[CMSG_SPACE(2 * sizeof(int))] = {}; // twice: neither stays open there
        const cmsghdr header{CMSG_LEN(2 * sizeof(int)), SOL_SOCKET, SCM_RIGHTS};
        std::memcpy(control, &header, sizeof header);
        for (const size_t at : {CMSG_LEN(0), CMSG_LEN(sizeof(int))})
            *reinterpret_cast<int*>(control + at) = file->Get();
        iovec byte{control, 1};
        const msghdr message{nullptr, 0, &byte, 1, control, sizeof control, 0};
        EXPECT_EQ(sendmsg(connection.Get(), &message, 0), 1);
        EXPECT_TRUE(IsClosedOn(connection));
        peer.ExpectOutput(unusable);
    }
    const bool isEmulated = *VESK_EMULATOR != '\0'; // which receives both, whatever there is room for
    EXPECT_TRUE(isEmulated || Eventually([&] { return descriptors() == before; }));
    const UniqueFd connection = Connected({head(DataPlace::kNewBlock)});
    SendDescriptor(connection.Get(), good);
    SendPacket(connection, "d"); // it is there
    EXPECT_EQ(ReadMessage(connection), 1U);
    SendPacket(connection, head(DataPlace::kBlock));
    SendPacket(connection, "d");
    EXPECT_EQ(ReadMessage(connection), 1U);
    SendPacket(connection, head(DataPlace::kBlock, 100001));
    EXPECT_TRUE(IsClosedOn(connection));
}
