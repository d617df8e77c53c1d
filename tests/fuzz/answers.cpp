// Answers of any kind at a caller: a response is whole, anything else is a failure, and the next call works.
#include "fuzz.h"

#include <thread>

using namespace fuzz;

namespace {

/// Answers one request on a connection of its own.
void Serve(int listener, FuzzedDataProvider* input)
{
    const int connection = accept(listener, nullptr, nullptr);
    std::string request(4096, '\0');
    const ssize_t got = recv(connection, request.data(), request.size(), 0);
    CHECK(got > 0);
    request.resize(static_cast<size_t>(got)); // an answer is its request with other data
    while (input != nullptr && input->remaining_bytes() != 0) {
        const std::string sent = input->ConsumeIntegralInRange(0, 3) != 0
                                     ? Altered(*input, request)
                                     : input->ConsumeRandomLengthString(512);
        if (!SendSplit(*input, connection, sent))
            break;
    }
    if (input == nullptr)
        send(connection, request.data(), request.size(), MSG_NOSIGNAL);
    close(connection);
}

uint32_t Ask(int listener, FuzzedDataProvider* input)
{
    std::jthread server([=] { Serve(listener, input); });
    std::string none;
    OsMsgEnvelope envelope = To("peer", "task", none), *response = nullptr;
    const uint32_t result = OsMsgSynSend(&envelope, &response, 10000);
    CHECK((result == 0) == (response != nullptr) && result != HOST_MSG_ERR_TIMEOUT);
    if (response != nullptr) {
        CHECK(response->msgId == envelope.msgId);
        CHECK(std::string(static_cast<char*>(response->data), response->dataLen).size() <= 4U << 20U);
    }
    OsMsgSynRespFree(response);
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    static const int listener = [] {
        const int opened = PeerSocket(bind);
        const timeval none{};
        setsockopt(opened, SOL_SOCKET, SO_RCVTIMEO, &none, sizeof none);
        CHECK(listen(opened, 8) == 0);
        return opened;
    }();
    FuzzedDataProvider input(bytes, size);
    Ask(listener, &input);
    CHECK(Ask(listener, nullptr) == 0);
    return 0;
}
