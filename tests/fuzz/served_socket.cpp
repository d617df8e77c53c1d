// Bytes of any kind on the connections of a served task, which must answer an honest client after each.
#include "fuzz.h"

#include <thread>

using namespace fuzz;

namespace {

uint32_t Echo(OsMsgEnvelope* message)
{
    const std::string copy(static_cast<char*>(message->data), message->dataLen);
    HostMsgReply(message, copy.data(), message->dataLen);
    return 0;
}

/// A message as it travels, taken from a connection to a listener of this process.
std::string CapturedFrame()
{
    const int listener = PeerSocket(bind);
    CHECK(listen(listener, 1) == 0);
    std::string none, frame(4096, '\0');
    OsMsgEnvelope envelope = To("peer", "task", none);
    CHECK(OsMsgAsynSend(&envelope) == 0);
    const int connection = accept(listener, nullptr, nullptr);
    frame.resize(static_cast<size_t>(recv(connection, frame.data(), frame.size(), 0)));
    close(connection);
    close(listener);
    return frame;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    static const std::string frame = [] {
        std::string captured = (RuntimeDir(), CapturedFrame());
        CHECK(HostMsgSetProcName("peer") == 0 && OsMsgRegTask("task", 8, Echo) == 0);
        std::thread([] { OsMsgTaskRoutineByName("task"); }).detach();
        return captured;
    }();
    FuzzedDataProvider input(bytes, size);
    const int connection = PeerSocket(connect);
    while (input.remaining_bytes() != 0) {
        const std::string sent =
            input.ConsumeBool() ? Altered(input, frame) : input.ConsumeRandomLengthString(512);
        if (!SendSplit(input, connection, sent))
            break;
    }
    shutdown(connection, SHUT_WR);
    char answer[4096];
    ssize_t got = 0;
    do
        got = recv(connection, answer, sizeof answer, 0);
    while (got > 0 || (got < 0 && errno == EINTR)); // the fuzzer's own timer
    CHECK(got == 0 || errno == ECONNRESET);         // closed in time
    close(connection);

    std::string question = "question";
    OsMsgEnvelope envelope = To("peer", "task", question), *response = nullptr;
    CHECK(OsMsgSynSend(&envelope, &response, 10000) == 0);
    CHECK(question.compare(0, std::string::npos, static_cast<char*>(response->data), response->dataLen) == 0);
    OsMsgSynRespFree(response);
    return 0;
}
