// What pages of "veskctl web" cost the service's other clients, and the program that serves them.
#include "bench/display.h"
#include "bench/measure.h"
#include "bench/process.h"
#include "bench/table.h"
#include "vesk_video/vesk_video.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <sstream>
#include <thread>

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vesk::bench {

namespace {

using Clock = std::chrono::steady_clock;
using namespace std::chrono_literals;

/// The program that serves pages.
class Server {
public:
    explicit Server(int its) : cpu(its)
    {
        const OnCpu there(cpu);
        int ends[2];
        if (pipe(ends) != 0)
            Fail(std::string("pipe: ") + std::strerror(errno));
        process_ = Start({VESK_BENCH_VESKCTL, "web"}, {}, ends[1]);
        close(ends[1]);
        std::string line;
        for (char c = 0; read(ends[0], &c, 1) == 1 && c != '\n';)
            line += c;
        close(ends[0]);
        char text[64] = "";
        if (std::sscanf(line.c_str(), "http://127.0.0.1:%hu/?token=%63s", &port, text) != 2)
            Fail("veskctl web says: " + line);
        token = text;
    }
    ~Server()
    {
        kill(process_, SIGTERM);
        waitpid(process_, nullptr, 0);
    }
    Server(const Server&) = delete;

    /// The processor time that it has taken.
    double Seconds() const
    {
        std::ifstream file("/proc/" + std::to_string(process_) + "/stat");
        std::string text((std::istreambuf_iterator<char>(file)), {});
        std::istringstream fields(text.substr(text.rfind(')') + 1));
        std::string skipped;
        for (int i = 3; i < 14; ++i)
            fields >> skipped;
        double user = 0, system = 0;
        fields >> user >> system;
        return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
    }

    const int cpu; ///< Of pages, too.
    uint16_t port = 0;
    std::string token;

private:
    pid_t process_;
};

/// A page in a browser, as far as the server sees it: a picture 30 times a second, the state and the messages
/// four times, each asked for when the one before has come.
class Page {
public:
    explicit Page(const Server& server) : server_(server), socket_(socket(AF_INET, SOCK_STREAM, 0))
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(server.port);
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        const int on = 1;
        setsockopt(socket_, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        if (connect(socket_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
            Fail(std::string("connect: ") + std::strerror(errno));
        const OnCpu there(server.cpu);
        thread_ = std::jthread([this](const std::stop_token& stop) { Work(stop); });
    }
    ~Page()
    {
        thread_ = {};
        close(socket_);
    }
    Page(const Page&) = delete;

    std::atomic<uint64_t> pictures = 0; ///< New ones.

private:
    void Work(const std::stop_token& stop)
    {
        std::string picture, state, messages; // their tags
        auto next = Clock::now();
        for (uint64_t frame = 0; !stop.stop_requested(); ++frame) {
            std::this_thread::sleep_until(next += 33333us);
            if (Get("/displays/0.jpg?width=1280", picture))
                ++pictures;
            if (frame % 8 == 0) {
                Get("/api/state", state);
                Get("/api/messages?limit=100", messages);
            }
        }
    }

    /// True if there is something else than at @p tag.
    bool Get(const std::string& path, std::string& tag)
    {
        const std::string request =
            "GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(server_.port) +
            "\r\nAuthorization: Bearer " + server_.token + "\r\nIf-None-Match: " + tag + "\r\n\r\n";
        if (send(socket_, request.data(), request.size(), MSG_NOSIGNAL) != ssize_t(request.size()))
            Fail("the page's server has gone");
        std::string answer;
        size_t end = 0;
        while ((end = answer.find("\r\n\r\n")) == answer.npos)
            Receive(answer);
        const auto field = [&](const std::string& name) {
            const size_t at = answer.find("\r\n" + name + ": ");
            if (at == answer.npos || at > end)
                return std::string();
            const size_t begin = at + name.size() + 4;
            return answer.substr(begin, answer.find("\r\n", begin) - begin);
        };
        const std::string length = field("Content-Length");
        const bool isNew = answer.starts_with("HTTP/1.1 200");
        if (!isNew && !answer.starts_with("HTTP/1.1 304"))
            Fail(path + ": " + answer.substr(0, answer.find("\r\n")));
        tag = field("ETag");
        while (isNew && answer.size() < end + 4 + std::stoul(length))
            Receive(answer);
        return isNew;
    }

    void Receive(std::string& answer) const
    {
        char bytes[65536];
        const ssize_t got = recv(socket_, bytes, sizeof bytes, 0);
        if (got <= 0)
            Fail("the page's server has ended the connection");
        answer.append(bytes, static_cast<size_t>(got));
    }

    const Server& server_;
    int socket_;
    std::jthread thread_;
};

} // namespace

Table PageTable(bool quick)
{
    // The service and its caller have one CPU; what serves pages, and asks for them, has another.
    const std::vector<int> cpus = Cpus();
    const OnCpu here(cpus.front());
    const ServiceProcess service;
    FillDisplayOfService();
    const Server server(cpus.back());
    std::vector<std::unique_ptr<Page>> pages;
    const auto show = [&](size_t count) {
        pages.resize(std::min(pages.size(), count));
        while (pages.size() < count)
            pages.push_back(std::make_unique<Page>(server));
        // Messages are watched for five seconds more than pages ask for them.
        std::this_thread::sleep_for(count == 0 ? 6s : 500ms);
    };
    constexpr int kCalls = 50000;
    const auto calls = [] {
        for (int i = 0; i < kCalls; ++i) {
            uint32_t displays = 0;
            if (VeskVideoGetVoCount(&displays) != 0)
                Fail("the service refuses a request");
        }
    };
    const auto shown = [&] {
        uint64_t sum = 0;
        for (const auto& page : pages)
            sum += page->pictures;
        return static_cast<double>(sum);
    };
    Table table{
        "Pages that show a full display in 1280x720, and all messages: what they cost, and what "
        "VeskVideoGetVoCount takes meanwhile",
        {"pages", "pictures a second, each", "veskctl web, share of a CPU", "µs/call", "µs/without pages"},
        {}};
    constexpr size_t kCounts[] = {0, 1, 3};
    std::array<std::vector<double>, std::size(kCounts)> seconds;
    for (int round = 0; round < (quick ? 2 : 9); ++round) {
        for (size_t row = 0; row < seconds.size(); ++row) {
            show(kCounts[row]);
            seconds[row].push_back(SecondsOf(calls));
        }
    }
    for (size_t row = 0; row < seconds.size(); ++row) {
        const size_t count = kCounts[row];
        show(count);
        const double before = server.Seconds(), picturesBefore = shown();
        const double passed = SecondsOf([&] { std::this_thread::sleep_for(quick ? 3s : 10s); });
        const double share = (server.Seconds() - before) / passed;
        const double rate =
            (shown() - picturesBefore) / passed / static_cast<double>(std::max<size_t>(count, 1));
        table.rows.push_back({std::to_string(count), Rounded(rate, 1), Rounded(share, 2),
                              Rounded(Median(seconds[row]) / kCalls * 1e6, 1),
                              Rounded(MedianRatio(seconds[row], seconds[0]), 2)});
    }
    return table;
}

} // namespace vesk::bench
