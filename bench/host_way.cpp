// The host's message library, alone and under the exported library.
#include "bench/way.h"
#include "vesk_host/message.h"
#include "vesk_video/vesk_video.h"

#include <unistd.h>

#include <thread>

namespace vesk::bench {

namespace {

constexpr char kTask[] = "bench";
constexpr uint32_t kExchange = 1, kEnd = 2, kPutOff = 3;
constexpr uint32_t kTimeoutMs = 5000;

std::vector<char> g_answer;

uint32_t Answer(OsMsgEnvelope* message)
{
    if (message->msgId == kPutOff)
        return HostMsgDefer(message) != 0 ? 0 : uint32_t{HOST_MSG_ERR_FULL};
    const uint32_t result = HostMsgReply(message, g_answer.data(), static_cast<uint32_t>(g_answer.size()));
    if (message->msgId == kEnd)
        HostMsgEndTask(message->recvTaskName);
    return result;
}

void Serve(const char* process, const char* task, Sizes sizes)
{
    g_answer.resize(sizes.answer);
    HostMsgSetProcName(process);
    if (const uint32_t result = OsMsgRegTask(task, 64, Answer); result != 0)
        Fail("host: the server cannot register: " + std::to_string(result));
    OsMsgTaskRoutineByName(task);
}

void ServeHost(const std::vector<Address>& addresses, Sizes sizes)
{
    Serve(addresses.front().c_str(), kTask, sizes);
}

/// As the one process that the exported library knows.
void ServeLibrary(const std::vector<Address>&, Sizes sizes)
{
    Serve("VIDEO", "VCTL", sizes);
}

class HostCaller : public Caller {
public:
    HostCaller(const Address& address, Sizes sizes) : request_(sizes.request), answerLen_(sizes.answer)
    {
        envelope_.type = OS_MSG_SYNCHRONOUS;
        envelope_.msgId = kExchange;
        std::string("caller").copy(envelope_.sendProcName, sizeof envelope_.sendProcName);
        address.copy(envelope_.recvProcName, sizeof envelope_.recvProcName);
        std::string(kTask).copy(envelope_.recvTaskName, sizeof envelope_.recvTaskName);
        envelope_.data = request_.data();
        envelope_.dataLen = sizes.request;
        for (int tries = 0; Exchange() == HOST_MSG_ERR_ABSENT && tries < 2500; ++tries)
            usleep(2000); // the server is still starting
    }

    void Call() override
    {
        if (const uint32_t result = Exchange(); result != 0)
            Fail("host: a call failed: " + std::to_string(result));
    }

    void EndServer() override
    {
        envelope_.msgId = kEnd;
        Exchange();
    }

protected:
    OsMsgEnvelope envelope_{};

private:
    uint32_t Exchange()
    {
        OsMsgEnvelope* response = nullptr;
        const uint32_t result = OsMsgSynSend(&envelope_, &response, kTimeoutMs);
        if (result != 0)
            return result;
        const bool isWhole = response->dataLen == answerLen_;
        OsMsgSynRespFree(response);
        return isWhole ? 0 : uint32_t{HOST_MSG_ERR_MALFORMED};
    }

    std::vector<char> request_;
    uint32_t answerLen_;
};

/// A caller whose server puts off the answers of others until it ends.
class CallerAmongOthers : public HostCaller {
public:
    CallerAmongOthers(const Address& address, Sizes sizes) : HostCaller(address, sizes)
    {
        for (int i = 0; i < 50; ++i) {
            others_.emplace_back([envelope = envelope_]() mutable {
                constexpr uint32_t kHourMs = 3600000;
                OsMsgEnvelope* response = nullptr;
                envelope.msgId = kPutOff;
                OsMsgSynSend(&envelope, &response, kHourMs);
                OsMsgSynRespFree(response);
            });
        }
        usleep(200000); // until all have asked
    }

private:
    std::vector<std::jthread> others_;
};

/// Hands the same data over each time, which the library copies behind the header.
class LibraryCaller : public Caller {
public:
    LibraryCaller(const Address&, Sizes sizes) : payload_(sizes.request - sizeof head_)
    {
        for (int tries = 0; Exchange() != 0 && tries < 2500; ++tries)
            usleep(2000); // the server is still starting
    }

    void Call() override
    {
        if (const uint32_t result = Exchange(); result != 0)
            Fail("library: a call failed: " + std::to_string(result));
    }

    void EndServer() override
    {
        head_.msgId = kEnd;
        Exchange();
    }

private:
    uint32_t Exchange()
    {
        return VeskVideoSendSyncMsgWithoutResponse(&head_, payload_.data(),
                                                   static_cast<uint32_t>(payload_.size()));
    }

    VeskVideoMsgHead head_{0, kExchange, 0, 0, 0, 0};
    std::vector<char> payload_;
};

template <class Kind>
std::unique_ptr<Caller> Open(const Address& address, Sizes sizes)
{
    return std::make_unique<Kind>(address, sizes);
}

} // namespace

const Way kHostWay = {"host library", false, ServeHost, Open<HostCaller>};
const Way kLibraryWay = {"exported library", false, ServeLibrary, Open<LibraryCaller>};
const Way kOwingHostWay = {"host library, 50 answers owed", false, ServeHost, Open<CallerAmongOthers>};

} // namespace vesk::bench
