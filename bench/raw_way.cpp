// The yardsticks: a bare exchange of the same bytes over a stream socket pair.
#include "bench/socket.h"
#include "bench/way.h"

#include <iterator>
#include <thread>

#include <sys/epoll.h>
#include <unistd.h>

namespace vesk::bench {

namespace {

void ServeRaw(const std::vector<Address>& addresses, Sizes sizes)
{
    std::vector<std::jthread> threads;
    threads.reserve(addresses.size());
    for (const Address& address : addresses) {
        threads.emplace_back([socket = std::stoi(address), sizes] {
            std::vector<char> request(sizes.request), answer(sizes.answer);
            while (Receive(socket, request.data(), request.size()))
                Send(socket, answer.data(), answer.size());
        });
    }
}

/// One thread waits for all sockets, as a service's does.
void ServeRawByOneThread(const std::vector<Address>& addresses, Sizes sizes)
{
    const int epoll = epoll_create1(EPOLL_CLOEXEC);
    for (const Address& address : addresses) {
        epoll_event event{};
        event.events = EPOLLIN | EPOLLRDHUP | EPOLLET;
        event.data.fd = std::stoi(address);
        epoll_ctl(epoll, EPOLL_CTL_ADD, event.data.fd, &event);
    }
    std::vector<char> request(sizes.request), answer(sizes.answer);
    for (size_t left = addresses.size(); left != 0;) {
        epoll_event events[16];
        const int count = epoll_wait(epoll, events, std::size(events), -1);
        for (int i = 0; i < count; ++i) {
            const int socket = events[i].data.fd;
            if (Receive(socket, request.data(), request.size())) {
                Send(socket, answer.data(), answer.size());
            } else {
                close(socket);
                --left;
            }
        }
    }
    close(epoll);
}

class RawCaller : public Caller {
public:
    RawCaller(const Address& address, Sizes sizes)
        : socket_(std::stoi(address)), request_(sizes.request), answer_(sizes.answer)
    {
    }
    ~RawCaller() override { close(socket_); }
    RawCaller(const RawCaller&) = delete;
    RawCaller& operator=(const RawCaller&) = delete;

    void Call() override
    {
        Send(socket_, request_.data(), request_.size());
        if (!Receive(socket_, answer_.data(), answer_.size()))
            Fail("raw socket: the server has ended");
    }

private:
    int socket_;
    std::vector<char> request_, answer_;
};

std::unique_ptr<Caller> Open(const Address& address, Sizes sizes)
{
    return std::make_unique<RawCaller>(address, sizes);
}

} // namespace

const Way kRawWay = {"raw socket", true, ServeRaw, Open};
const Way kRawByOneWay = {"raw socket, one serving thread", true, ServeRawByOneThread, Open};

} // namespace vesk::bench
