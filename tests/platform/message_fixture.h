// Message tasks and their peers, of this process and of others, well-behaved or not.
#pragma once

#include "message/frame.h"
#include "message/unique_fd.h"
#include "support/processes.h"
#include "vesk_host/message.h"

#include <cerrno>
#include <cstring>
#include <mutex>
#include <set>
#include <thread>

#include <sys/socket.h>
#include <sys/un.h>

using namespace processes;
using namespace vesk::host;

using Handler = uint32_t (*)(OsMsgEnvelope*);

inline std::mutex g_lock;
inline std::vector<std::string> g_lines;
inline std::set<std::pair<std::string, std::string>> g_peers; // that were sent to

inline std::string LastLine()
{
    const std::lock_guard guard(g_lock);
    return g_lines.empty() ? "" : g_lines.back();
}

/// Holds a result and the last line to what they should be.
inline void Expect(uint32_t result, uint32_t expected, const std::string& line)
{
    EXPECT_EQ(result, expected);
    EXPECT_EQ(LastLine(), line);
}

inline OsMsgEnvelope To(const std::string& process, const std::string& task, uint32_t msgId,
                        std::string& data)
{
    OsMsgEnvelope envelope{};
    envelope.msgId = msgId;
    process.copy(envelope.recvProcName, sizeof envelope.recvProcName);
    task.copy(envelope.recvTaskName, sizeof envelope.recvTaskName);
    envelope.dataLen = static_cast<uint32_t>(data.size());
    envelope.data = data.empty() ? nullptr : data.data();
    return envelope;
}

struct Outcome {
    uint32_t result;
    std::string data;
    OsMsgEnvelope envelope;
};

inline Outcome Ask(const std::string& process, uint32_t msgId = 5, std::string data = "question",
                   uint32_t timeout = 5000, const std::string& task = "task", const std::string& sender = "")
{
    OsMsgEnvelope envelope = To(process, task, msgId, data);
    sender.copy(envelope.sendProcName, sizeof envelope.sendProcName);
    OsMsgEnvelope* response = nullptr;
    const uint32_t result = OsMsgSynSend(&envelope, &response, timeout);
    const std::lock_guard guard(g_lock);
    g_peers.emplace(process, task);
    if (result != 0) {
        EXPECT_EQ(response, nullptr);
        return {result, "", {}};
    }
    Outcome outcome{0, std::string(static_cast<char*>(response->data), response->dataLen), *response};
    OsMsgSynRespFree(response);
    return outcome;
}

inline uint32_t Tell(const std::string& process, uint32_t msgId, std::string data = "",
                     const std::string& task = "task", const std::string& sender = "")
{
    g_peers.emplace(process, task);
    OsMsgEnvelope envelope = To(process, task, msgId, data);
    sender.copy(envelope.sendProcName, sizeof envelope.sendProcName);
    return OsMsgAsynSend(&envelope);
}

inline uint32_t Echo(OsMsgEnvelope* message)
{
    return HostMsgReply(message, message->data, message->dataLen);
}

/// A process that serves "peer"/"task" with @p handler, and writes its lines to its output.
inline Child Serve(Handler handler, uint32_t depth = 64)
{
    const auto prepare = [=] {
        OsMsgRegLogFunc([](uint32_t, const char* text) {
            std::puts(text);
            std::fflush(stdout);
        });
        return HostMsgSetProcName("peer") == 0 && OsMsgRegTask("task", depth, handler) == 0;
    };
    return Prepared(prepare, [] { OsMsgTaskRoutineByName("task"); });
}

/// A task of this process, served while it lives.
struct Served {
    const std::string task;
    std::thread loop;

    Served(const std::string& name, Handler handler, bool runs = true) : task(name)
    {
        EXPECT_EQ(OsMsgRegTask(task.c_str(), 4, handler), 0U);
        if (runs)
            Start();
    }
    void Start()
    {
        loop = std::thread([this] { OsMsgTaskRoutineByName(task.c_str()); });
    }
    ~Served()
    {
        HostMsgEndTask(task.c_str());
        if (loop.joinable())
            loop.join();
    }
};

struct HostMessage {
    RuntimeDir directory;
    sockaddr_un address{};

    HostMessage()
    {
        OsMsgRegLogFunc([](uint32_t level, const char* text) {
            const std::lock_guard guard(g_lock);
            EXPECT_EQ(level, 3U) << text;
            g_lines.emplace_back(text);
        });
        address.sun_family = AF_UNIX;
        directory.File("peer.task").copy(address.sun_path, sizeof address.sun_path - 1);
    }
    ~HostMessage()
    {
        OsMsgSetLogLevel(4);
        for (const auto& [process, task] : std::set(g_peers))
            EXPECT_NE(Tell(process, 0, "", task), 0U); // gives connections to who has ended up
    }

    const sockaddr* Address() const { return reinterpret_cast<const sockaddr*>(&address); }

    UniqueFd Connected() const
    {
        UniqueFd connection(socket(AF_UNIX, SOCK_STREAM, 0));
        const timeval limit{10, 0};
        setsockopt(connection.Get(), SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
        EXPECT_EQ(connect(connection.Get(), Address(), sizeof address), 0);
        return connection;
    }

    /// A process that listens at "peer"/"task", as user @p user, and does @p script with its listener.
    template <class Script>
    Child ServeRaw(Script script, int backlog = 16, uid_t user = geteuid()) const
    {
        int listener = -1;
        const auto prepare = [&] {
            listener = socket(AF_UNIX, SOCK_STREAM, 0);
            return bind(listener, Address(), sizeof address) == 0 && setuid(user) == 0 &&
                   listen(listener, backlog) == 0;
        };
        return Prepared(prepare, [&] {
            for (;;)
                script(listener);
        });
    }
};

inline std::string Raw(const OsMsgEnvelope& envelope, const std::string& data)
{
    const FrameHead head = FrameHead::Of(envelope);
    return std::string(reinterpret_cast<const char*>(&head), sizeof head) + data;
}

inline void Write(int connection, const std::string& bytes)
{
    send(connection, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

/// Whether the peer closes a connection without sending anything.
inline bool IsClosedOn(int connection)
{
    char byte;
    return recv(connection, &byte, 1, 0) == 0 || errno == ECONNRESET;
}

/// Reads one message whole from a raw connection; false when there is none.
inline bool ReadMessage(int connection, OsMsgEnvelope& envelope)
{
    FrameHead head;
    if (recv(connection, &head, sizeof head, MSG_WAITALL) != sizeof head)
        return false;
    envelope = head.Envelope();
    std::string data(envelope.dataLen, '\0');
    return recv(connection, data.data(), data.size(), MSG_WAITALL) == static_cast<ssize_t>(data.size());
}

/// Echoes; after 300 ms when asked something slow, in which the process must have nothing to do.
inline uint32_t EchoSlowly(OsMsgEnvelope* message)
{
    const bool isSlow = std::string_view(static_cast<char*>(message->data), message->dataLen) == "slow";
    const clock_t before = clock();
    usleep(isSlow ? 300000 : 0);
    if (isSlow && clock() - before > CLOCKS_PER_SEC / 10)
        _exit(1);
    return Echo(message);
}
