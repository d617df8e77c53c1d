// The yardstick: a bare exchange of the same bytes over a stream socket pair.
#include "bench/socket.h"
#include "bench/way.h"

#include <thread>

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

} // namespace

const Way kRawWay = {"raw socket", true, ServeRaw,
                     [](const Address& address, Sizes sizes) -> std::unique_ptr<Caller> {
                         return std::make_unique<RawCaller>(address, sizes);
                     }};

} // namespace vesk::bench
