// Clients of the service in processes of their own, which one program directs. Both sides exchange JSON
// values in binary form, each after its length.
#include "tools/veskctl/remote_client.h"

#include "decoder/json.h"
#include "vesk_video/messages.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vesk::ctl {

using decoder::Object;
using nlohmann::ordered_json;

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

bool Read(int socket, void* data, size_t size)
{
    return size == 0 || recv(socket, data, size, MSG_WAITALL) == static_cast<ssize_t>(size);
}

bool Put(int socket, const ordered_json& value)
{
    const std::vector<uint8_t> bytes = ordered_json::to_cbor(value);
    const size_t size = bytes.size();
    return Write(socket, &size, sizeof size) && Write(socket, bytes.data(), size);
}

/// Nothing if the other side has ended.
std::optional<ordered_json> Get(int socket)
{
    size_t size = 0;
    if (!Read(socket, &size, sizeof size))
        return std::nullopt;
    std::vector<uint8_t> bytes(size);
    if (!Read(socket, bytes.data(), size))
        return std::nullopt;
    return ordered_json::from_cbor(bytes);
}

ordered_json Binary(BytesView bytes)
{
    const auto* data = reinterpret_cast<const uint8_t*>(bytes.data());
    return ordered_json::binary({data, data + bytes.size()});
}

Bytes BytesOf(const ordered_json& value)
{
    const BytesView bytes = std::as_bytes(std::span(value.get_binary()));
    return {bytes.begin(), bytes.end()};
}

ordered_json Answer(Client& client, const ordered_json& question)
{
    if (question.contains("waitMs")) {
        const auto arrived =
            client.Next(Clock::now() + std::chrono::milliseconds(question["waitMs"].get<int64_t>()));
        if (!arrived)
            return ordered_json::object();
        return Object({{"number", arrived->number}, {"data", Binary(arrived->data)}});
    }
    const Outcome outcome = client.Send(question["number"], BytesOf(question["data"]), question["isAnswered"],
                                        question["timeoutMs"]);
    return Object({{"platformResult", outcome.platformResult},
                   {"reason", outcome.reason},
                   {"answer", Binary(outcome.answer)},
                   {"ms", outcome.duration.count()}});
}

/// What the child does: answers questions until there are no more.
void Serve(int socket, const std::string& service)
try {
    Client client(service, Client::Interrupt::kEndsProgram);
    bool mayOwn = false; // the service may hold something for this client
    Put(socket, Object({{"name", OwnProcessName()}}));
    while (const std::optional<ordered_json> question = Get(socket)) {
        if (question->contains("number"))
            mayOwn = (*question)["number"] != VESK_VIDEO_MSG_EXIT;
        Put(socket, Answer(client, *question));
    }
    if (mayOwn) {
        VeskVideoMsgHead head{};
        head.msgId = VESK_VIDEO_MSG_EXIT;
        client.Send(VESK_VIDEO_MSG_EXIT, std::as_bytes(std::span(&head, 1)), false, 0);
    }
} catch (const Failure& failure) {
    Put(socket, Object({{"failure", failure.what()}, {"status", failure.status}}));
} catch (const std::exception& error) {
    Put(socket, Object({{"failure", error.what()}, {"status", kFailed}}));
}

} // namespace

RemoteClient::RemoteClient(const std::string& service)
{
    int ends[2];
    std::fflush(nullptr);
    if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0 || (process_ = fork()) < 0)
        throw Failure(kFailed, std::string("cannot start a process: ") + std::strerror(errno));
    if (process_ == 0) {
        prctl(PR_SET_PDEATHSIG, SIGTERM);
        close(ends[0]);
        Serve(ends[1], service);
        std::exit(0);
    }
    close(ends[1]);
    socket_ = ends[0];
    const ordered_json hello = Ask(nullptr);
    name_ = hello["name"];
}

RemoteClient::~RemoteClient()
{
    shutdown(socket_, SHUT_RDWR); // clients that were started later have this end as well
    close(socket_);
    waitpid(process_, nullptr, 0);
}

ordered_json RemoteClient::Ask(const ordered_json& question)
{
    if (!question.is_null())
        Put(socket_, question);
    const std::optional<ordered_json> answer = Get(socket_);
    if (!answer)
        throw Failure(kFailed, "the client's process " + std::to_string(process_) + " has ended");
    if (answer->contains("failure"))
        throw Failure((*answer)["status"].get<ExitStatus>(), (*answer)["failure"]);
    return *answer;
}

Outcome RemoteClient::Send(uint32_t number, BytesView data, bool isAnswered, uint32_t timeoutMs)
{
    const ordered_json answer = Ask(Object(
        {{"number", number}, {"data", Binary(data)}, {"isAnswered", isAnswered}, {"timeoutMs", timeoutMs}}));
    return {answer["platformResult"], answer["reason"], BytesOf(answer["answer"]),
            std::chrono::duration<double, std::milli>(answer["ms"].get<double>())};
}

std::optional<Arrived> RemoteClient::Next(std::chrono::milliseconds longest)
{
    const ordered_json answer = Ask(Object({{"waitMs", longest.count()}}));
    if (answer.empty())
        return std::nullopt;
    return Arrived{answer["number"], BytesOf(answer["data"]), std::chrono::system_clock::now()};
}

} // namespace vesk::ctl
