// A message bus for comparison: sd-bus from peer to peer, without a broker.
#include "bench/way.h"

#include <systemd/sd-bus.h>

namespace vesk::bench {

namespace {

struct BusUnref {
    void operator()(sd_bus* bus) const { sd_bus_flush_close_unref(bus); }
};
struct MessageUnref {
    void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusPtr = std::unique_ptr<sd_bus, BusUnref>;
using MessagePtr = std::unique_ptr<sd_bus_message, MessageUnref>;

void Check(int result, const char* step)
{
    if (result < 0)
        Fail(std::string("sd-bus: ") + step + ": error " + std::to_string(-result));
}

BusPtr Open(const Address& address, bool isServer)
{
    sd_bus* bus = nullptr;
    Check(sd_bus_new(&bus), "new");
    BusPtr owner(bus);
    const int socket = std::stoi(address);
    Check(sd_bus_set_fd(bus, socket, socket), "set_fd");
    if (isServer) {
        sd_id128_t id{};
        Check(sd_id128_randomize(&id), "randomize");
        Check(sd_bus_set_server(bus, 1, id), "set_server");
    }
    Check(sd_bus_set_anonymous(bus, 1), "set_anonymous");
    Check(sd_bus_start(bus), "start");
    return owner;
}

void AppendBytes(sd_bus_message* message, const std::vector<char>& bytes)
{
    Check(sd_bus_message_append_array(message, 'y', bytes.data(), bytes.size()), "append_array");
}

void ExpectBytes(sd_bus_message* message, size_t size)
{
    const void* data = nullptr;
    size_t length = 0;
    Check(sd_bus_message_read_array(message, 'y', &data, &length), "read_array");
    if (length != size)
        Fail("sd-bus: " + std::to_string(length) + " bytes instead of " + std::to_string(size));
}

struct Server {
    std::vector<char> answer;
    size_t requestSize;
};

int Answer(sd_bus_message* message, void* data, sd_bus_error*)
{
    const auto& server = *static_cast<Server*>(data);
    if (sd_bus_message_is_method_call(message, "vesk.Bench", "Exchange") <= 0)
        return 0;
    ExpectBytes(message, server.requestSize);
    sd_bus_message* answer = nullptr;
    Check(sd_bus_message_new_method_return(message, &answer), "new_method_return");
    const MessagePtr owner(answer);
    AppendBytes(answer, server.answer);
    Check(sd_bus_send(nullptr, answer, nullptr), "send");
    return 1;
}

void ServeBus(const std::vector<Address>& addresses, Sizes sizes)
{
    const BusPtr bus = Open(addresses.front(), true);
    Server server{std::vector<char>(sizes.answer), sizes.request};
    Check(sd_bus_add_filter(bus.get(), nullptr, Answer, &server), "add_filter");
    for (;;) {
        const int result = sd_bus_process(bus.get(), nullptr);
        if (result < 0 || (result == 0 && sd_bus_wait(bus.get(), UINT64_MAX) < 0))
            return; // the caller has closed the connection
    }
}

class BusCaller : public Caller {
public:
    BusCaller(const Address& address, Sizes sizes)
        : bus_(Open(address, false)), request_(sizes.request), answerSize_(sizes.answer)
    {
    }

    void Call() override
    {
        sd_bus_message* request = nullptr;
        Check(sd_bus_message_new_method_call(bus_.get(), &request, nullptr, "/", "vesk.Bench", "Exchange"),
              "new_method_call");
        const MessagePtr requestOwner(request);
        AppendBytes(request, request_);
        sd_bus_message* answer = nullptr;
        Check(sd_bus_call(bus_.get(), request, 0, nullptr, &answer), "call");
        const MessagePtr answerOwner(answer);
        ExpectBytes(answer, answerSize_);
    }

private:
    BusPtr bus_;
    std::vector<char> request_;
    size_t answerSize_;
};

} // namespace

const Way kBusWay = {"sd-bus", true, ServeBus,
                     [](const Address& address, Sizes sizes) -> std::unique_ptr<Caller> {
                         return std::make_unique<BusCaller>(address, sizes);
                     }};

} // namespace vesk::bench
