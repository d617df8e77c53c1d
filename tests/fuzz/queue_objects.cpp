// What another process's file of queues may hold: what is found there is whole and has its own number.
#include "fuzz.h"

#include "vesk_host/queue.h"

#include <csignal>

#include <fcntl.h>
#include <sys/prctl.h>

using namespace fuzz;

namespace {

/// The first queue of a process that has one and waits; 0 in case of failure.
uint32_t QueueOfAnother()
{
    RuntimeDir();
    int result[2];
    CHECK(pipe(result) == 0);
    if (fork() == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        OsMemQueReq request{"queue", 1, 1};
        uint32_t queueId = 0;
        OsShmAdvancedBuffCreateQueue(&request, &queueId);
        CHECK(write(result[1], &queueId, sizeof queueId) == sizeof queueId);
        for (;;)
            pause();
    }
    uint32_t queueId = 0;
    CHECK(read(result[0], &queueId, sizeof queueId) == sizeof queueId && queueId != 0);
    return queueId;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size)
{
    static const uint32_t first = QueueOfAnother();
    static const int file = [] {
        for (const auto& entry : std::filesystem::directory_iterator(RuntimeDir())) {
            if (entry.path().filename().string().find("process-") == 0)
                return open(entry.path().c_str(), O_RDWR);
        }
        return -1;
    }();
    FuzzedDataProvider input(bytes, size);
    const uint32_t queueId = first - 1 + input.ConsumeIntegralInRange(0U, 3U);
    const size_t at = input.ConsumeIntegralInRange<size_t>(0, 4) * sizeof(HostQueueState);
    HostQueueState written{};
    const std::string record = input.ConsumeBytesAsString(sizeof written);
    record.copy(reinterpret_cast<char*>(&written), sizeof written);
    if (!input.ConsumeBool())
        written.queueId = queueId;
    const size_t length = input.ConsumeBool() ? sizeof written : record.size();
    CHECK(ftruncate(file, 0) == 0 && pwrite(file, &written, length, static_cast<off_t>(at)) >= 0);

    HostQueueState state{};
    const bool isFound = HostQueueFind(queueId, &state) == 0;
    if (isFound) {
        CHECK(state.queueId == queueId);
        CHECK(strnlen(state.name, sizeof state.name) < sizeof state.name);
        CHECK(strnlen(state.peerProcName, sizeof state.peerProcName) < sizeof state.peerProcName);
    }
    const std::string peer = input.ConsumeRandomLengthString(40).c_str();
    CHECK((OsShmAdvancedActivateQueue(queueId, true) == 0) == isFound);
    CHECK((OsShmAdvancedInitQueue(queueId, peer.c_str()) == 0) == (isFound && peer.size() < 32));
    if (isFound && peer.size() < 32)
        CHECK(HostQueueFind(queueId, &state) == 0 && state.peerProcName == peer && state.isEnabled == 1);
    return 0;
}
