// An application for scripts/hostile.sh: requests of any kind and size under any name, also from processes
// that are killed, until SIGTERM. It fails when the service is gone.
#include "base/bytes.h"
#include "base/envelope.h"
#include "vesk_host/message.h"
#include "vesk_service/control_list.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <span>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

using namespace vesk;
using messages::Request;

namespace {

volatile std::sig_atomic_t g_ends = 0;
std::mt19937_64 g_random;
unsigned long g_requests = 0, g_absent = 0;

/// A number below @p most.
uint64_t Any(uint64_t most)
{
    return g_random() % most;
}

/// Mostly one that something might have.
uint64_t AnyNumber()
{
    const uint64_t few[] = {Any(5),  1000 * Any(8) + Any(5), 1000 * Any(8) + Any(100),
                            Any(32), Any(0x10000),           g_random()};
    return few[Any(std::size(few))];
}

/// Zeros, small numbers or anything.
Bytes AnyBytes(size_t size)
{
    Bytes bytes(size);
    const uint64_t most[] = {1, 4, 256};
    for (std::byte& byte : std::span(bytes).first(size * Any(2)))
        byte = static_cast<std::byte>(Any(most[Any(3)]));
    return bytes;
}

std::string AnyName()
{
    std::string name = "hostile-" + std::to_string(Any(1000));
    if (Any(20) == 0)
        name[Any(name.size())] = static_cast<char>(Any(256));
    return name;
}

void Send()
{
    const std::span<const Request> list = Any(20) == 0 ? std::span<const Request>(messages::kControlRequests)
                                                       : std::span<const Request>(messages::kRequests);
    const Request& request = list[Any(list.size())];
    VeskVideoMsgHead head{};
    head.msgId = static_cast<uint16_t>(Any(50) == 0 ? Any(0x10000) : request.number);
    head.uwSubMsgID = static_cast<uint16_t>(AnyNumber());
    head.ulParam1 = AnyNumber();
    head.ulParam2 = static_cast<uint32_t>(AnyNumber());
    size_t size = request.payload.size;
    if (request.payload.kind == messages::Kind::kArray)
        size *= head.ulParam1 % 8;
    if (request.payload.kind == messages::Kind::kBytes || Any(30) == 0)
        size = Any(Any(100) == 0 ? 4U << 20U : 5000);
    Bytes data = AnyBytes(std::min<size_t>(sizeof head + size, 4U << 20U));
    std::memcpy(data.data(), &head, sizeof head);
    if (Any(100) == 0)
        data.resize(Any(sizeof head));
    OsMsgEnvelope envelope = MakeEnvelope(Any(100) == 0 ? static_cast<uint32_t>(Any(0x10000)) : head.msgId,
                                          {AnyName(), "VAPI"}, {"VIDEO", "VCTL"}, data);
    ++g_requests;
    uint32_t result = 0;
    if (Any(4) == 0) {
        result = OsMsgAsynSend(&envelope);
    } else {
        OsMsgEnvelope* response = nullptr;
        result = OsMsgSynSend(&envelope, &response, 50); // a fault may have the answer come late, or never
        OsMsgSynRespFree(response);
    }
    g_absent += result == HOST_MSG_ERR_ABSENT ? 1 : 0;
}

/// Requests of a process that is killed among them.
void SendFromOneThatIsKilled()
{
    const pid_t child = fork();
    if (child == 0) {
        for (int i = 0; i < 200; ++i)
            Send();
        raise(SIGKILL);
    }
    waitpid(child, nullptr, 0);
    g_requests += 200;
}

} // namespace

int main(int argc, char** argv)
{
    g_random.seed(argc > 1 ? std::strtoull(argv[1], nullptr, 10) : 1);
    std::signal(SIGTERM, [](int) { g_ends = 1; });
    while (g_ends == 0) {
        for (int i = 0; i < 100; ++i)
            Send();
        if (Any(20) == 0)
            SendFromOneThatIsKilled();
    }
    std::printf("%lu requests\n", g_requests);
    return g_absent == 0 ? 0 : 1;
}
