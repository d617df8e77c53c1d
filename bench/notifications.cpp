// Notifications at full speed: how many arrive, and whether in order.
#include "bench/measure.h"
#include "bench/process.h"
#include "bench/socket.h"
#include "bench/table.h"
#include "vesk_host/message.h"

#include <cmath>

#include <sched.h>
#include <unistd.h>

namespace vesk::bench {

namespace {

using Clock = std::chrono::steady_clock;

constexpr char kTask[] = "bench";
constexpr uint32_t kNotification = 1, kAsk = 2, kEnd = 3;
constexpr uint32_t kQueueDepth = 1024;

struct NumberedNotification {
    uint64_t number; // from 1
    uint64_t rest[2];
};

/// What a receiver has seen.
struct Tally {
    uint64_t received = 0, outOfOrder = 0, last = 0;
    int64_t time = 0; // of the last one, in ticks of the clock

    void Count(const NumberedNotification& notification)
    {
        ++received;
        if (notification.number <= last)
            ++outOfOrder;
        last = notification.number;
    }
    void Stamp() { time = Clock::now().time_since_epoch().count(); }
};

Tally g_tally;

uint32_t Handle(OsMsgEnvelope* message)
{
    if (message->msgId == kNotification) {
        NumberedNotification notification{};
        if (message->dataLen == sizeof notification)
            std::memcpy(&notification, message->data, sizeof notification);
        g_tally.Count(notification);
        g_tally.Stamp();
        return 0;
    }
    if (message->msgId == kEnd)
        HostMsgEndTask(kTask);
    return HostMsgReply(message, &g_tally, sizeof g_tally);
}

void ServeHost(const std::vector<Address>& addresses, Sizes)
{
    HostMsgSetProcName(addresses.front().c_str());
    if (OsMsgRegTask(kTask, kQueueDepth, Handle) == 0)
        OsMsgTaskRoutineByName(kTask);
}

void ServeRaw(const std::vector<Address>& addresses, Sizes)
{
    const int socket = std::stoi(addresses.front());
    Tally tally;
    NumberedNotification notification{};
    while (Receive(socket, &notification, sizeof notification)) {
        tally.Count(notification);
        tally.Stamp();
    }
    Send(socket, &tally, sizeof tally);
}

struct Outcome {
    Tally tally;
    uint64_t full = 0;
    Clock::time_point begin = Clock::now();

    double Seconds() const
    {
        return std::chrono::duration<double>(Clock::duration(tally.time) - begin.time_since_epoch()).count();
    }
};

OsMsgEnvelope To(const Address& address, uint32_t type, uint32_t msgId)
{
    OsMsgEnvelope envelope{};
    envelope.type = type;
    envelope.msgId = msgId;
    std::string("notifier").copy(envelope.sendProcName, sizeof envelope.sendProcName);
    address.copy(envelope.recvProcName, sizeof envelope.recvProcName);
    std::string(kTask).copy(envelope.recvTaskName, sizeof envelope.recvTaskName);
    return envelope;
}

/// The receiver's tally; false when it cannot be reached.
bool Ask(const Address& address, uint32_t msgId, Tally& tally)
{
    OsMsgEnvelope envelope = To(address, OS_MSG_SYNCHRONOUS, msgId), *response = nullptr;
    if (OsMsgSynSend(&envelope, &response, 5000) != 0)
        return false;
    std::memcpy(&tally, response->data, std::min<size_t>(sizeof tally, response->dataLen));
    OsMsgSynRespFree(response);
    return true;
}

Outcome NotifyOverHost(uint64_t count)
{
    const Link link = MakeLink(kHostNotifications, 1);
    const pid_t server = StartSide({"serve", kHostNotifications, {}}, link.server);
    const Address& address = link.callers.front();
    Outcome outcome;
    for (int tries = 0; !Ask(address, kAsk, outcome.tally); ++tries) {
        if (tries == 2500)
            Fail("host: the receiver of notifications does not start");
        usleep(2000);
    }
    OsMsgEnvelope envelope = To(address, OS_MSG_ASYNCHRONOUS, kNotification);
    NumberedNotification notification{};
    envelope.data = &notification;
    envelope.dataLen = sizeof notification;
    outcome.begin = Clock::now();
    for (notification.number = 1; notification.number <= count; ++notification.number) {
        uint32_t result = 0;
        while ((result = OsMsgAsynSend(&envelope)) == HOST_MSG_ERR_FULL) {
            ++outcome.full;
            sched_yield();
        }
        if (result != 0)
            Fail("host: a notification failed: " + std::to_string(result));
    }
    // Those still on their way arrive within a second of each other, or are lost.
    for (uint64_t before = count + 1; outcome.tally.received != count && outcome.tally.received != before;) {
        before = outcome.tally.received;
        for (int tries = 0; tries < 100 && outcome.tally.received == before; ++tries) {
            usleep(10000);
            Ask(address, kAsk, outcome.tally);
        }
    }
    Ask(address, kEnd, outcome.tally);
    Join(server);
    return outcome;
}

Outcome NotifyOverRaw(uint64_t count)
{
    const Link link = MakeLink(kRawNotifications, 1);
    const pid_t server = StartSide({"serve", kRawNotifications, {}}, link.server);
    const int socket = std::stoi(link.callers.front());
    Outcome outcome;
    NumberedNotification notification{};
    for (notification.number = 1; notification.number <= count; ++notification.number)
        Send(socket, &notification, sizeof notification);
    shutdown(socket, SHUT_WR);
    if (!Receive(socket, &outcome.tally, sizeof outcome.tally))
        Fail("raw socket: the receiver of notifications has ended");
    close(socket);
    Join(server);
    return outcome;
}

} // namespace

const Way kRawNotifications = {"raw notifications", true, ServeRaw, nullptr};
const Way kHostNotifications = {"host notifications", false, ServeHost, nullptr};

Table NotificationTable(bool quick)
{
    constexpr uint64_t kCount = 200000;
    Table table{"200,000 notifications of 24 bytes at full speed: the median run of each; the worst of all "
                "runs for lost and out of order",
                {"", "per second", "lost", "out of order", "told full", "rate/raw socket's"},
                {}};
    std::vector<Outcome> raw, host;
    std::vector<double> ratios;
    for (int round = 0; round < (quick ? 1 : 5); ++round) {
        raw.push_back(NotifyOverRaw(kCount));
        host.push_back(NotifyOverHost(kCount));
        ratios.push_back(raw.back().Seconds() / host.back().Seconds());
    }
    const auto row = [&](const char* name, std::vector<Outcome>& outcomes, double ratio) {
        std::sort(outcomes.begin(), outcomes.end(),
                  [](const Outcome& a, const Outcome& b) { return a.Seconds() < b.Seconds(); });
        const Outcome& middle = outcomes[outcomes.size() / 2];
        int64_t lost = 0, outOfOrder = 0;
        for (const Outcome& outcome : outcomes) {
            lost = std::max(lost, static_cast<int64_t>(kCount - std::min(kCount, outcome.tally.received)));
            outOfOrder = std::max(outOfOrder, static_cast<int64_t>(outcome.tally.outOfOrder));
        }
        const auto received = static_cast<double>(middle.tally.received);
        table.rows.push_back({name, std::lround(received / middle.Seconds()), lost, outOfOrder,
                              static_cast<int64_t>(middle.full), Rounded(ratio, 2)});
    };
    row("raw socket", raw, 1);
    row("host library", host, Median(ratios));
    return table;
}

} // namespace vesk::bench
