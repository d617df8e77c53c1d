// Message tasks and their peers, of this process and of others, well-behaved or not.
#pragma once

#include "message/frame.h"
#include "runtime/unique_fd.h"
#include "support/processes.h"
#include "vesk_host/message.h"

#include <mutex>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>

using namespace processes;
using namespace vesk::host;

using Handler = uint32_t (*)(OsMsgEnvelope*);

inline std::mutex g_lock;
inline std::vector<std::string> g_lines;
inline std::set<std::pair<std::string, std::string>> g_peers; // that were sent to

/// Holds a result and the last line to what they should be.
inline void Expect(uint32_t result, uint32_t expected, const std::string& line)
{
    EXPECT_EQ(result, expected);
    const std::lock_guard guard(g_lock);
    EXPECT_EQ(g_lines.empty() ? "" : g_lines.back(), line);
}

inline OsMsgEnvelope To(const std::string& process, const std::string& task, uint32_t msgId,
                        std::string& data, const std::string& sender = "")
{
    const std::lock_guard guard(g_lock);
    g_peers.emplace(process, task);
    OsMsgEnvelope envelope{};
    envelope.msgId = msgId;
    process.copy(envelope.recvProcName, sizeof envelope.recvProcName);
    task.copy(envelope.recvTaskName, sizeof envelope.recvTaskName);
    sender.copy(envelope.sendProcName, sizeof envelope.sendProcName);
    envelope.dataLen = static_cast<uint32_t>(data.size());
    envelope.data = data.empty() ? nullptr : data.data();
    return envelope;
}

struct Outcome {
    uint32_t result;
    std::string data, names; // of the answer, and of its sender and its receiver
};

inline Outcome Ask(const std::string& process, uint32_t msgId = 5, std::string data = "question",
                   uint32_t timeout = 5000, const std::string& task = "task", const std::string& sender = "")
{
    OsMsgEnvelope envelope = To(process, task, msgId, data, sender), *response = nullptr;
    const uint32_t result = OsMsgSynSend(&envelope, &response, timeout);
    EXPECT_EQ(response != nullptr, result == 0);
    if (response == nullptr)
        return {result, "", ""};
    Outcome outcome{result, {static_cast<char*>(response->data), response->dataLen}, ""};
    for (const char* name : {response->sendProcName, response->sendTaskName, response->recvProcName})
        outcome.names.append(name) += ' ';
    outcome.names += response->recvTaskName;
    OsMsgSynRespFree(response);
    return outcome;
}

inline uint32_t Tell(const std::string& process, uint32_t msgId = 5, std::string data = "",
                     const std::string& task = "task", const std::string& sender = "")
{
    OsMsgEnvelope envelope = To(process, task, msgId, data, sender);
    return OsMsgAsynSend(&envelope);
}

/// Answers a question with itself; after 300 ms if it is "slow", in which the process has nothing to do.
inline uint32_t Echo(OsMsgEnvelope* message)
{
    if (std::string_view(static_cast<char*>(message->data), message->dataLen) == "slow") {
        const clock_t before = clock();
        usleep(300000);
        if (clock() - before > CLOCKS_PER_SEC / 10)
            _exit(1);
    }
    return HostMsgReply(message, message->data, message->dataLen);
}

/// Makes this process serve "peer"/"task".
inline uint32_t BecomePeer(Handler handler = Echo)
{
    const uint32_t result = HostMsgSetProcName("peer");
    return result != 0 ? result : OsMsgRegTask("task", 8192, handler);
}

/// A process that serves "peer"/"task" with @p handler, and writes its lines to its output.
inline Child Serve(Handler handler = Echo)
{
    const auto prepare = [handler] {
        OsMsgRegLogFunc([](uint32_t, const char* text) { std::puts(text); });
        EXPECT_EQ(BecomePeer(handler), 0U);
    };
    return Prepared(prepare, [] { OsMsgTaskRoutineByName("task"); });
}

/// A task of this process, served while it lives.
struct Served {
    const std::string task;
    std::jthread loop;

    Served(const std::string& name, Handler handler, bool runs = true) : task(name)
    {
        EXPECT_EQ(OsMsgRegTask(task.c_str(), 4, handler), 0U);
        if (runs)
            Start();
    }
    void Start()
    {
        loop = std::jthread([this, process = getpid()] {
            OsMsgTaskRoutineByName(task.c_str());
            if (getpid() != process)
                _exit(0); // a child that the handler has forked
        });
    }
    ~Served() { HostMsgEndTask(task.c_str()); }
};

inline void SendPacket(const UniqueFd& connection, const std::string& packet)
{
    send(connection.Get(), packet.data(), packet.size(), MSG_NOSIGNAL); // which may have been closed
}

struct HostMessage {
    RuntimeDir directory;
    sockaddr_un address{AF_UNIX, ""}; // of "peer"/"task"

    HostMessage()
    {
        OsMsgRegLogFunc([](uint32_t level, const char* text) {
            const std::lock_guard guard(g_lock);
            EXPECT_EQ(level, 3U) << text;
            g_lines.emplace_back(text);
        });
        directory.File("peer.task").copy(address.sun_path, sizeof address.sun_path - 1);
    }
    ~HostMessage()
    {
        OsMsgSetLogLevel(4);
        for (const auto& [process, task] : std::set(g_peers))
            EXPECT_NE(Tell(process, 0, "", task), 0U); // closes the connections to those that have ended
    }

    const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&address); }

    /// A connection to "peer"/"task", over which @p packets were sent.
    UniqueFd Connected(const std::vector<std::string>& packets = {}) const
    {
        UniqueFd connection([] { return socket(AF_UNIX, SOCK_SEQPACKET, 0); });
        const timeval limit{10, 0};
        setsockopt(connection.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        EXPECT_EQ(connect(connection.Get(), Address(), sizeof address), 0);
        for (const std::string& packet : packets)
            SendPacket(connection, packet);
        return connection;
    }

    /// A process that listens at "peer"/"task", as user @p user, and does @p script with its listener.
    template <class Script>
    Child ServeRaw(Script script, int backlog = 16, uid_t user = geteuid()) const
    {
        int listener = -1;
        const auto prepare = [&] {
            listener = socket(AF_UNIX, SOCK_SEQPACKET, 0);
            EXPECT_EQ(bind(listener, Address(), sizeof address), 0);
            EXPECT_EQ(setuid(user), 0);
            EXPECT_EQ(listen(listener, backlog), 0);
        };
        return Prepared(prepare, [&] {
            for (;;)
                script(listener);
        });
    }
};

/// A message as it travels: @p data after a head that announces @p dataLen bytes. Its sender is by default a
/// process that has ended.
inline std::string Raw(uint32_t dataLen, const std::string& data, uint32_t type = OS_MSG_SYNCHRONOUS,
                       uint32_t msgId = 5, uint64_t sequence = 1, HostProcess sender = 1)
{
    OsMsgEnvelope envelope{};
    envelope.type = type;
    envelope.msgId = msgId;
    envelope.dataLen = dataLen;
    const FrameHead head = FrameHead::Of(envelope, sequence, sender);
    return std::string(reinterpret_cast<const char*>(&head), sizeof head) + data;
}

/// Whether the peer closes a connection without sending anything.
inline bool IsClosedOn(const UniqueFd& connection)
{
    char byte;
    ssize_t got = recv(connection.Get(), &byte, 1, 0);
    if (got < 0 && errno == ECONNRESET) // is reported before what was sent ahead of it
        got = recv(connection.Get(), &byte, 1, 0);
    return got == 0;
}

/// Reads one message whole from a raw connection. Returns its sequence, 0 when there is none.
inline uint64_t ReadMessage(const UniqueFd& connection)
{
    FirstPacket packet;
    ssize_t got = recv(connection.Get(), &packet, sizeof packet, 0);
    if (got < 0 || !packet.IsValid(static_cast<size_t>(got)))
        return 0;
    std::string data(packet.head.Envelope().dataLen, '\0');
    size_t read = static_cast<size_t>(got) - sizeof packet.head;
    while (read < data.size() && (got = recv(connection.Get(), &data[read], data.size() - read, 0)) > 0)
        read += static_cast<size_t>(got);
    return read == data.size() ? packet.head.sequence : 0;
}
