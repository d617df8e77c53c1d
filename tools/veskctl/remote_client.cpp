// Clients of the service in processes of their own, which one program directs.
#include "tools/veskctl/remote_client.h"

#include "vesk_video/messages.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>

#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vesk::ctl {

/// What both sides send: the head, then the text, then the data.
struct Packet {
    enum class Kind {
        kSend,    ///< Send a request, of this number and data.
        kRepeat,  ///< Send it so often.
        kNext,    ///< Wait for a notification.
        kEnd,     ///< End the process.
        kAnswer,  ///< The platform's result, its reason and the answer; or a notification; or the client's
                  ///< name.
        kNothing, ///< No notification has come.
        kFailure  ///< Its text and status.
    };
    struct {
        Kind kind = Kind::kNothing;
        uint32_t number = 0;
        bool isAnswered = false;
        int64_t timeMs = 0; ///< To wait.
        int64_t timeNs = 0; ///< When a notification came, since 1970.
        uint32_t count = 0;
        double durationMs = 0;
        ExitStatus status = kDone;
        size_t textSize = 0;
        size_t dataSize = 0;
    } head;
    std::string text;
    Bytes data;
};

using std::chrono::milliseconds;

using Kind = Packet::Kind;

namespace {

bool Write(int socket, const void* data, size_t size)
{
    const char* next = static_cast<const char*>(data);
    while (size > 0) {
        const ssize_t sent = send(socket, next, size, MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        next += sent;
        size -= static_cast<size_t>(sent);
    }
    return true;
}

/// A signal, or having been held up, may cut a read short.
bool Read(int socket, void* data, size_t size)
{
    char* next = static_cast<char*>(data);
    while (size > 0) {
        const ssize_t got = recv(socket, next, size, MSG_WAITALL);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        next += got;
        size -= static_cast<size_t>(got);
    }
    return true;
}

bool Put(int socket, Packet packet)
{
    packet.head.textSize = packet.text.size();
    packet.head.dataSize = packet.data.size();
    return Write(socket, &packet.head, sizeof packet.head) &&
           Write(socket, packet.text.data(), packet.text.size()) &&
           Write(socket, packet.data.data(), packet.data.size());
}

/// Nothing if the other side has ended.
std::optional<Packet> Get(int socket)
{
    Packet packet;
    if (!Read(socket, &packet.head, sizeof packet.head))
        return std::nullopt;
    packet.text.resize(packet.head.textSize);
    packet.data.resize(packet.head.dataSize);
    if (!Read(socket, packet.text.data(), packet.text.size()) ||
        !Read(socket, packet.data.data(), packet.data.size()))
        return std::nullopt;
    return packet;
}

/// How long each request took; see RemoteClient::FinishRepeat.
Bytes Repeat(Client& client, const Packet& question)
{
    std::vector<float> durations(question.head.count, -1);
    for (float& duration : durations) {
        const Outcome outcome = client.Send(question.head.number, question.data, question.head.isAnswered,
                                            static_cast<uint32_t>(question.head.timeMs));
        VeskVideoMsgHead head{};
        if (outcome.answer.size() >= sizeof head)
            std::memcpy(&head, outcome.answer.data(), sizeof head);
        const bool isOk = outcome.platformResult == 0 && head.uwSubMsgID == VESK_VIDEO_OK;
        duration = isOk ? static_cast<float>(outcome.duration.count()) : -1;
        if (outcome.platformResult != 0 && question.head.isAnswered &&
            outcome.duration.count() >= static_cast<double>(question.head.timeMs))
            break;
    }
    const auto bytes = std::as_bytes(std::span(durations));
    return {bytes.begin(), bytes.end()};
}

Packet Answer(Client& client, const Packet& question)
{
    if (question.head.kind == Kind::kNext) {
        const auto arrived = client.Next(Clock::now() + milliseconds(question.head.timeMs));
        if (!arrived)
            return {{.kind = Kind::kNothing}, "", {}};
        const std::chrono::nanoseconds time = arrived->time.time_since_epoch();
        return {
            {.kind = Kind::kAnswer, .number = arrived->number, .timeNs = time.count()}, "", arrived->data};
    }
    if (question.head.kind == Kind::kRepeat)
        return {{.kind = Kind::kAnswer}, "", Repeat(client, question)};
    const Outcome outcome = client.Send(question.head.number, question.data, question.head.isAnswered,
                                        static_cast<uint32_t>(question.head.timeMs));
    return {{.kind = Kind::kAnswer, .number = outcome.platformResult, .durationMs = outcome.duration.count()},
            outcome.reason,
            outcome.answer};
}

/// What the child does: answers questions until there are no more.
void Serve(int socket, const std::string& service, const std::string& name)
try {
    Client client(service, Client::Interrupt::kEndsProgram, name);
    bool mayOwn = false; // the service may hold something for this client
    Put(socket, {{.kind = Kind::kAnswer}, name, {}});
    while (const std::optional<Packet> question = Get(socket)) {
        if (question->head.kind == Kind::kEnd)
            return;
        if (question->head.kind != Kind::kNext)
            mayOwn = question->head.number != VESK_VIDEO_MSG_EXIT;
        Put(socket, Answer(client, *question));
    }
    if (mayOwn) {
        VeskVideoMsgHead head{};
        head.msgId = VESK_VIDEO_MSG_EXIT;
        client.Send(VESK_VIDEO_MSG_EXIT, BytesOf(head), false, 0);
    }
} catch (const Failure& failure) {
    Put(socket, {{.kind = Kind::kFailure, .status = failure.status}, failure.what(), {}});
} catch (const std::exception& error) {
    Put(socket, {{.kind = Kind::kFailure, .status = kFailed}, error.what(), {}});
}

} // namespace

RemoteClient::RemoteClient(const std::string& service, const std::string& name)
{
    int ends[2];
    std::fflush(nullptr);
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0 || (process_ = fork()) < 0)
        throw Failure(kFailed, std::string("cannot start a process: ") + std::strerror(errno));
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        std::signal(SIGINT, SIG_IGN); // it is for the program that directs the clients
        close(ends[0]);
        Serve(ends[1], service, name.empty() ? OwnProcessName() : name);
        std::exit(0);
    }
    close(ends[1]);
    socket_ = ends[0];
    name_ = Receive().text;
}

RemoteClient::~RemoteClient()
{
    shutdown(socket_, SHUT_RDWR); // clients that were started later have this end as well
    close(socket_);
    if (process_ > 0)
        waitpid(process_, nullptr, 0);
}

void RemoteClient::End()
{
    Put(socket_, {{.kind = Kind::kEnd}, "", {}});
    waitpid(std::exchange(process_, -1), nullptr, 0);
}

bool RemoteClient::HasAnswered(milliseconds longest) const
{
    pollfd answer{socket_, POLLIN, 0};
    return poll(&answer, 1, static_cast<int>(longest.count())) > 0;
}

void RemoteClient::Kill()
{
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
    process_ = -1;
}

void RemoteClient::Pause() const
{
    kill(process_, SIGSTOP);
}

void RemoteClient::Resume() const
{
    kill(process_, SIGCONT);
}

Packet RemoteClient::Receive() const
{
    std::optional<Packet> answer = Get(socket_);
    if (!answer)
        throw Failure(kFailed, "the client's process " + std::to_string(process_) + " has ended");
    if (answer->head.kind == Kind::kFailure)
        throw Failure(answer->head.status, answer->text);
    return std::move(*answer);
}

Outcome RemoteClient::Send(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs)
{
    BeginSend(number, data, isAnswered, timeoutMs);
    return FinishSend();
}

void RemoteClient::BeginSend(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs)
{
    Put(socket_, {{.kind = Kind::kSend, .number = number, .isAnswered = isAnswered, .timeMs = timeoutMs},
                  "",
                  {data.begin(), data.end()}});
}

Outcome RemoteClient::FinishSend()
{
    const Packet answer = Receive();
    return {answer.head.number, answer.text, answer.data,
            std::chrono::duration<double, std::milli>(answer.head.durationMs)};
}

void RemoteClient::BeginRepeat(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs,
                               uint32_t count)
{
    Put(socket_, {{.kind = Kind::kRepeat,
                   .number = number,
                   .isAnswered = isAnswered,
                   .timeMs = timeoutMs,
                   .count = count},
                  "",
                  {data.begin(), data.end()}});
}

std::vector<float> RemoteClient::FinishRepeat()
{
    const Packet answer = Receive();
    std::vector<float> durations(answer.data.size() / sizeof(float));
    std::memcpy(durations.data(), answer.data.data(), durations.size() * sizeof(float));
    return durations;
}

std::optional<Arrived> RemoteClient::Next(milliseconds longest)
{
    Put(socket_, {{.kind = Kind::kNext, .timeMs = longest.count()}, "", {}});
    const Packet answer = Receive();
    if (answer.head.kind == Kind::kNothing)
        return std::nullopt;
    using std::chrono::system_clock;
    const auto sinceEpoch = std::chrono::nanoseconds(answer.head.timeNs);
    return Arrived{answer.head.number, answer.data, system_clock::time_point(sinceEpoch)};
}

} // namespace vesk::ctl
