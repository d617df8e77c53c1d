// Speaks HTTP with whom the operating system lets reach 127.0.0.1.
#include "tools/web/server.h"

#include "base/error.h"

#include <microhttpd.h>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>
#include <exception>

namespace vesk::web {

namespace {

constexpr unsigned kMostConnections = 256;
constexpr std::chrono::seconds kMostWaiting(10); // for a request, and for a client that takes the answer
constexpr size_t kConnectionMemory = size_t{32} << 10U; // with the headers of its request
constexpr size_t kMostBody = size_t{64} << 10U;
constexpr size_t kMostHeaders = 64;
constexpr size_t kMostArguments = 32;

constexpr std::pair<const char*, const char*> kSafety[] = {
    {"Content-Security-Policy",
     "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self' blob:; connect-src 'self'; "
     "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
    {"X-Content-Type-Options", "nosniff"},
    {"Referrer-Policy", "no-referrer"},
    {"Cross-Origin-Resource-Policy", "same-origin"},
};

/// A request from its first line to the end of its answer.
struct Exchange {
    Request request;
    Route route;
    Answer answer;
    bool isAnswered = false;
    bool isTooLong = false;
};

struct Collected {
    std::vector<std::pair<std::string, std::string>> pairs;
    size_t most;
    bool isTooMany = false;
};

MHD_Result Collect(void* place, MHD_ValueKind, const char* name, const char* value) noexcept
{
    auto& collected = *static_cast<Collected*>(place);
    collected.isTooMany = collected.pairs.size() >= collected.most;
    if (collected.isTooMany)
        return MHD_NO;
    collected.pairs.emplace_back(name, value == nullptr ? "" : value);
    return MHD_YES;
}

/// False if there are more than is reasonable.
bool Take(MHD_Connection* connection, MHD_ValueKind kind, size_t most,
          std::vector<std::pair<std::string, std::string>>& pairs)
{
    Collected collected{{}, most};
    MHD_get_connection_values(connection, kind, Collect, &collected);
    pairs = std::move(collected.pairs);
    return !collected.isTooMany;
}

void ReleaseBody(void* body) noexcept
{
    delete static_cast<Body*>(body);
}

MHD_Response* Response(const Answer& answer)
{
    if (answer.body == nullptr)
        return MHD_create_response_from_buffer(0, nullptr, MHD_RESPMEM_PERSISTENT);
    auto kept = std::make_unique<Body>(answer.body);
    MHD_Response* response = MHD_create_response_from_buffer_with_free_callback_cls(
        answer.body->size(), const_cast<char*>(answer.body->data()), ReleaseBody, kept.get());
    if (response != nullptr)
        (void)kept.release();
    return response;
}

MHD_Result Send(MHD_Connection* connection, const Answer& answer)
{
    MHD_Response* const response = Response(answer);
    if (response == nullptr)
        return MHD_NO;
    for (const auto& [name, value] : kSafety)
        MHD_add_response_header(response, name, value);
    MHD_add_response_header(response, "Cache-Control", answer.tag.empty() ? "no-store" : "no-cache");
    if (!answer.tag.empty())
        MHD_add_response_header(response, "ETag", answer.tag.c_str());
    if (!answer.type.empty())
        MHD_add_response_header(response, "Content-Type", answer.type.c_str());
    for (const auto& [name, value] : answer.headers)
        MHD_add_response_header(response, name.c_str(), value.c_str());
    const MHD_Result result = MHD_queue_response(connection, answer.status, response);
    MHD_destroy_response(response);
    return result;
}

/// What is said about a failure that nobody has foreseen, such as that memory is short.
Answer Asked(const Route::Handler& handle, const Request& request)
{
    try {
        return OrNotModified(request, handle(request));
    } catch (const std::exception& error) {
        return TextAnswer(500, error.what());
    }
}

std::optional<Answer> RefuseMethod(const Request& request)
{
    if (request.method == "GET" || request.method == "HEAD" || request.IsPost())
        return std::nullopt;
    Answer answer = TextAnswer(405, "Only GET, HEAD and POST are served.");
    answer.headers = {{"Allow", "GET, HEAD, POST"}};
    return answer;
}

} // namespace

Listener Listener::At(uint16_t wanted)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(wanted);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t size = sizeof address;
    auto* const place = reinterpret_cast<sockaddr*>(&address);
    Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int isReused = 1; // connections of an earlier server may still be closing
    if (setsockopt(socket.Get(), SOL_SOCKET, SO_REUSEADDR, &isReused, sizeof isReused) != 0 ||
        bind(socket.Get(), place, size) != 0 || listen(socket.Get(), SOMAXCONN) != 0 ||
        getsockname(socket.Get(), place, &size) != 0)
        throw Error("port " + std::to_string(wanted) +
                    " of 127.0.0.1 cannot be served: " + std::strerror(errno));
    return {std::move(socket), ntohs(address.sin_port)};
}

/// The functions that the library calls; none of them may throw.
struct Server::Handling {
    static Exchange* Begin(Server& server, MHD_Connection* connection, const char* path, const char* method)
    {
        auto exchange = std::make_unique<Exchange>();
        Request& request = exchange->request;
        request.method = method;
        request.path = path;
        const bool isReasonable = Take(connection, MHD_HEADER_KIND, kMostHeaders, request.headers) &&
                                  Take(connection, MHD_GET_ARGUMENT_KIND, kMostArguments, request.arguments);
        exchange->route = server.find_(request);
        std::optional<Answer> refusal = server.access_.Refuse(request, exchange->route.isOpen);
        if (!refusal)
            refusal = RefuseMethod(request);
        if (!isReasonable)
            refusal = TextAnswer(400, "There are too many headers or arguments.");
        if (refusal) {
            exchange->answer = std::move(*refusal);
            exchange->isAnswered = true;
        }
        return exchange.release();
    }

    static void Receive(Exchange& exchange, const char* data, size_t size)
    {
        std::string& body = exchange.request.body;
        exchange.isTooLong = exchange.isTooLong || size > kMostBody - body.size();
        if (!exchange.isTooLong && !exchange.isAnswered)
            body.append(data, size);
    }

    /// Answers, or leaves that to workers while the connection sleeps.
    static MHD_Result Serve(Server& server, MHD_Connection* connection, Exchange& exchange)
    {
        server.WaitFor(connection); // to take the answer, unless there is none yet
        if (exchange.isTooLong)
            exchange.answer = TextAnswer(413, "A request has at most 64 KiB.");
        if (exchange.isAnswered || exchange.isTooLong)
            return Send(connection, exchange.answer);
        const Route& route = exchange.route;
        exchange.isAnswered = true;
        if (!route.handle)
            return Send(connection, TextAnswer(404, "There is no " + exchange.request.path + " here."));
        if (route.workers == nullptr)
            return Send(connection, Asked(route.handle, exchange.request));
        server.HaveWait(connection);
        MHD_suspend_connection(connection);
        const bool isTaken = route.workers->Do([&exchange, connection, handle = route.handle] {
            exchange.answer = Asked(handle, exchange.request);
            MHD_resume_connection(connection);
        });
        if (!isTaken) {
            exchange.answer = TextAnswer(503, "This server ends.");
            MHD_resume_connection(connection);
        }
        return MHD_YES;
    }

    static MHD_Result Handle(void* server, MHD_Connection* connection, const char* path, const char* method,
                             const char*, const char* data, size_t* size, void** place) noexcept
    try {
        auto& self = *static_cast<Server*>(server);
        if (*place == nullptr) {
            auto* const exchange = Begin(self, connection, path, method);
            *place = exchange;
            self.WaitFor(connection); // to send a body
            // Whoever may not ask does not get to send a body either.
            return exchange->isAnswered ? Send(connection, exchange->answer) : MHD_YES;
        }
        Exchange& exchange = *static_cast<Exchange*>(*place);
        if (*size != 0) {
            Receive(exchange, data, *size);
            *size = 0;
            return MHD_YES;
        }
        return Serve(self, connection, exchange);
    } catch (const std::exception&) { // memory is short; the connection is closed
        return MHD_NO;
    }

    static void Complete(void* server, MHD_Connection* connection, void** place,
                         MHD_RequestTerminationCode) noexcept
    {
        delete static_cast<Exchange*>(*place);
        *place = nullptr;
        static_cast<Server*>(server)->WaitFor(connection);
    }

    static void Connect(void* server, MHD_Connection* connection, void**,
                        MHD_ConnectionNotificationCode what) noexcept
    {
        auto& self = *static_cast<Server*>(server);
        const std::lock_guard guard(self.lock_);
        if (what == MHD_CONNECTION_NOTIFY_CLOSED) {
            self.connected_.erase(connection);
            return;
        }
        const auto* const info = MHD_get_connection_info(connection, MHD_CONNECTION_INFO_CONNECTION_FD);
        self.connected_[connection] = {info->connect_fd, Clock::now()};
    }

    /// What would seem to end at a NUL stays as it was sent.
    static size_t Unescape(void*, MHD_Connection*, char* text) noexcept
    {
        return std::strstr(text, "%00") != nullptr ? std::strlen(text) : MHD_http_unescape(text);
    }

    static void Ignore(void*, const char*, va_list) noexcept {}
};

Server::Server(const Listener& listener, const Access& access, const Find& find)
    : find_(find), access_(access)
{
    const int socket = fcntl(listener.socket.Get(), F_DUPFD_CLOEXEC, 0); // the library closes it
    daemon_ = MHD_start_daemon(
        MHD_USE_EPOLL_INTERNAL_THREAD | MHD_ALLOW_SUSPEND_RESUME | MHD_USE_ERROR_LOG, 0, nullptr, nullptr,
        Handling::Handle, this, MHD_OPTION_EXTERNAL_LOGGER, Handling::Ignore, nullptr,
        MHD_OPTION_LISTEN_SOCKET, socket, MHD_OPTION_CONNECTION_LIMIT, kMostConnections,
        MHD_OPTION_CONNECTION_MEMORY_LIMIT, kConnectionMemory, MHD_OPTION_NOTIFY_CONNECTION,
        Handling::Connect, this, MHD_OPTION_UNESCAPE_CALLBACK, Handling::Unescape, nullptr,
        MHD_OPTION_STRICT_FOR_CLIENT, 1, MHD_OPTION_NOTIFY_COMPLETED, Handling::Complete, this,
        MHD_OPTION_END);
    if (daemon_ == nullptr) {
        close(socket);
        throw Error("HTTP cannot be served on port " + std::to_string(listener.port));
    }
}

Server::~Server()
{
    MHD_stop_daemon(daemon_);
}

void Server::WaitFor(MHD_Connection* client)
{
    const std::lock_guard guard(lock_);
    if (const auto found = connected_.find(client); found != connected_.end())
        found->second.waitsSince = Clock::now();
}

void Server::HaveWait(MHD_Connection* client)
{
    const std::lock_guard guard(lock_);
    if (const auto found = connected_.find(client); found != connected_.end())
        found->second.waitsSince.reset();
}

void Server::CloseSlow()
{
    const std::lock_guard guard(lock_); // the library closes a socket only after it has been taken from here
    for (const auto& [connection, it] : connected_) {
        if (it.waitsSince && Clock::now() > *it.waitsSince + kMostWaiting)
            shutdown(it.socket, SHUT_RDWR);
    }
}

} // namespace vesk::web
