// Answers that are given late.
#include "platform/message_fixture.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <optional>

#include <sys/resource.h>

namespace {

/// An answer that a task of this process owes; it repeats the request.
struct Deferred {
    HostMsgDeferred number;
    std::string data;

    uint32_t Give() const
    {
        return HostMsgReplyDeferred(number, data.data(), static_cast<uint32_t>(data.size()));
    }
};
std::vector<Deferred> g_deferred; // in the order of the requests
std::atomic<bool> g_isHeld = false, g_isHolding = false;

uint32_t Defer(OsMsgEnvelope* message)
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
    g_deferred.push_back({number, data});
    return 0;
}

/// The answer to request number @p index.
Deferred AnswerAt(size_t index)
{
    Deferred deferred{};
    EXPECT_TRUE(Eventually([&] {
        const std::lock_guard guard(g_lock);
        return index < g_deferred.size() && (deferred = g_deferred[index], true);
    })) << index;
    return deferred;
}

} // namespace

FORKED_TEST(HostMessage, ADeferredAnswerIsGivenOnceOrEndsWithItsSenderOrItsTask)
{
    constexpr uint32_t kBroken = HOST_MSG_ERR_BROKEN;
    constexpr size_t kMaxDeferred = 1024;
    const rlimit limit{3 * kMaxDeferred, 3 * kMaxDeferred};
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    ASSERT_EQ(HostMsgSetProcName("peer"), 0U);
    std::optional<Served> task(std::in_place, "task", Defer, false);
    std::vector<UniqueFd> clients;
    Connected({Raw(4, "gone")}); // before its request is read
    size_t before = OpenDescriptors().size();
    const auto hasClosedTheRest = [&] { return OpenDescriptors().size() == before; };
    task->Start();
    const Deferred gone = AnswerAt(0);
    EXPECT_TRUE(Eventually(hasClosedTheRest));
    g_isHeld = true;
    clients.push_back(Connected({Raw(4, "held")}));
    EXPECT_TRUE(Eventually([] { return g_isHolding.load(); }));
    HostMsgEndTask("task"); // before the handler puts it off
    EXPECT_TRUE(IsClosedOn(clients[0]));
    clients.clear();
    g_isHeld = false;
    task.emplace("task", Defer);
    const Deferred ended = AnswerAt(1);
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
        AnswerAt(2 + i);
    }
    for (size_t i = std::size(cases); i-- != 0;) {
        const HostMsgDeferred number = AnswerAt(2 + i).number;
        EXPECT_EQ(HostMsgReplyDeferred(number, cases[i].data, cases[i].dataLen), cases[i].result) << i;
        EXPECT_EQ(HostMsgReplyDeferred(number, "", 0), kBroken) << i;
        EXPECT_EQ(ReadMessage(clients[i]), cases[i].answers) << i;
        EXPECT_TRUE(IsClosedOn(clients[i])) << i;
        EXPECT_EQ(Ask("peer").data, "question");
    }
    clients.clear();
    clients.push_back(Connected({Raw(4, "late"), Raw(4, "next")}));
    EXPECT_EQ(AnswerAt(6).Give(), 0U);
    HostMsgCloseDeferred(AnswerAt(7).number); // comes after the answer to the first
    EXPECT_TRUE(ReadMessage(clients[0]) && IsClosedOn(clients[0]));
    clients.clear();
    EXPECT_TRUE(Eventually(hasClosedTheRest));

    for (size_t i = 0; i < kMaxDeferred; ++i)
        clients.push_back(Connected({Raw(4, "many"), std::string(9000, 'x')})); // garbage to follow
    EXPECT_NE(AnswerAt(7 + kMaxDeferred).number, 0U); // as nothing has been left behind
    EXPECT_TRUE(gone.Give() == kBroken && ended.Give() == kBroken);
    EXPECT_TRUE(ReadMessage(Connected({Raw(4, "late")}))); // is answered at once
    EXPECT_EQ(AnswerAt(8 + kMaxDeferred).number, 0U);
    clients.pop_back();
    EXPECT_TRUE(Eventually([&] { return OpenDescriptors().size() == before + 2 * (kMaxDeferred - 1); }));
    clients.push_back(Connected({Raw(4, "late")}));
    const Deferred last = AnswerAt(9 + kMaxDeferred);
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
    std::optional<Served> task(std::in_place, "task", Defer);
    std::atomic<bool> ends = false;
    std::vector<std::jthread> answering, asking;
    for (int i = 0; i < 3; ++i) {
        answering.emplace_back([&] {
            for (size_t turn = 0; !ends; ++turn) {
                std::unique_lock guard(g_lock);
                if (g_deferred.empty()) {
                    guard.unlock();
                    usleep(100);
                    continue;
                }
                const auto one = g_deferred.begin() + static_cast<ptrdiff_t>(turn % g_deferred.size());
                const Deferred deferred = std::move(*one);
                g_deferred.erase(one);
                guard.unlock();
                deferred.Give();
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
        return std::count_if(g_deferred.begin(), g_deferred.end(),
                             [](const Deferred& deferred) { return deferred.data == "last"; }) == 8;
    }));
    task.reset();
}
