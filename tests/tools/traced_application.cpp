// An application for the tracer: sends to nobody from threads on both sides of a fork, and ends in a
// callback. With an argument: a service that answers its own requests late, or what "Reuse" does.
#include "vesk_host/message.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

namespace {

OsMsgEnvelope To(const char* process, uint32_t number)
{
    OsMsgEnvelope envelope{};
    envelope.msgId = number;
    std::snprintf(envelope.sendProcName, sizeof envelope.sendProcName, "traced-%d", getpid());
    std::strcpy(envelope.sendTaskName, "VAPI");
    std::snprintf(envelope.recvProcName, sizeof envelope.recvProcName, "%s", process);
    std::strcpy(envelope.recvTaskName, "VAPI");
    return envelope;
}

/// 4 threads with 25 sends each; nobody is there, and errno is nobody's business but the platform's.
void Send()
{
    std::vector<std::thread> threads;
    for (uint32_t i = 0; i < 4; ++i)
        threads.emplace_back([i] {
            for (uint32_t j = 0; j < 25; ++j) {
                char data[3000] = "data";
                OsMsgEnvelope envelope = To("nobody", i);
                envelope.dataLen = 24 + 119 * j;
                envelope.data = data;
                OsMsgEnvelope* response = nullptr;
                if (OsMsgSynSend(&envelope, &response, 100) != 0x101)
                    std::abort();
            }
        });
    for (std::thread& thread : threads)
        thread.join();
}

uint32_t ExitWith5(OsMsgEnvelope*)
{
    std::exit(5);
}

std::mutex g_lock;
std::map<uint32_t, HostMsgDeferred> g_owed; ///< By number of the request.

uint32_t Defer(OsMsgEnvelope* message)
{
    const std::lock_guard guard(g_lock);
    g_owed[message->msgId] = HostMsgDefer(message);
    return 0;
}

/// Three requests; the last is answered first, and again, the second is not.
int AnswerLate()
{
    HostMsgSetProcName("late");
    if (OsMsgRegTask("VAPI", 8, Defer) != 0)
        return EXIT_FAILURE;
    std::thread([] { OsMsgTaskRoutineByName("VAPI"); }).detach();
    std::vector<std::thread> threads;
    for (uint32_t i = 1; i <= 3; ++i)
        threads.emplace_back([i] {
            OsMsgEnvelope envelope = To("late", i);
            OsMsgEnvelope* response = nullptr;
            const uint32_t result = OsMsgSynSend(&envelope, &response, 5000);
            const bool isRight =
                i == 2 ? result == HOST_MSG_ERR_BROKEN
                       : result == 0 && response->dataLen == 4 && std::memcmp(response->data, &i, 4) == 0;
            if (!isRight)
                std::abort();
            OsMsgSynRespFree(response);
        });
    const auto isOwed = [] {
        const std::lock_guard guard(g_lock);
        return g_owed.size() == 3;
    };
    while (!isOwed())
        usleep(1000);
    usleep(20000);
    uint32_t number = 3;
    const uint32_t results[] = {HostMsgReplyDeferred(g_owed[3], &number, sizeof number),
                                HostMsgReplyDeferred(g_owed[3], &number, sizeof number),
                                HostMsgReplyDeferred(g_owed[number = 1], &number, sizeof number)};
    HostMsgCloseDeferred(g_owed[2]);
    for (std::thread& thread : threads)
        thread.join();
    return results[0] == 0 && results[1] == HOST_MSG_ERR_BROKEN && results[2] == 0 ? EXIT_SUCCESS
                                                                                   : EXIT_FAILURE;
}

uint32_t SendToNobody(uint32_t number)
{
    OsMsgEnvelope envelope = To("nobody", number);
    OsMsgEnvelope* response = nullptr;
    return OsMsgSynSend(&envelope, &response, 100);
}

/// Closes all descriptors between two sends and opens a file of its own until that has the number of the
/// tracer's, or until there are no more numbers.
int Reuse(const char* path, bool takesAll)
{
    constexpr int kMost = 600;
    const rlimit limit{kMost, kMost};
    setrlimit(RLIMIT_NOFILE, &limit);
    SendToNobody(1);
    int highest = kMost - 1; // which is far from the others
    while (fcntl(highest, F_GETFD) < 0)
        --highest;
    for (int file = STDERR_FILENO + 1; file < kMost; ++file)
        close(file);
    int file = -1;
    do
        file = open(path, O_WRONLY | O_CREAT | O_APPEND, 0600);
    while (file >= 0 && file < highest);
    while (takesAll && dup(file) >= 0)
        continue;
    const bool isBegun = write(file, "my ", 3) == 3;
    SendToNobody(2);
    SendToNobody(3);
    const bool isDone = isBegun && write(file, "own", 3) == 3;
    close_range(STDERR_FILENO + 1, ~0U, 0); // a sanitizer needs some when the process ends
    return isDone ? EXIT_SUCCESS : EXIT_FAILURE;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 2)
        return Reuse(argv[2], std::strcmp(argv[1], "take-all") == 0);
    if (argc > 1)
        return AnswerLate();
    const pid_t child = fork();
    Send();
    if (child == 0)
        _exit(0);
    int status = 1;
    if (waitpid(child, &status, 0) != child || status != 0)
        return EXIT_FAILURE;
    char self[16];
    std::snprintf(self, sizeof self, "traced-%d", getpid());
    OsMsgEnvelope envelope = To(self, 106);
    if (OsMsgRegTask("VAPI", 8, ExitWith5) != 0)
        return EXIT_FAILURE;
    std::thread([] { OsMsgTaskRoutineByName("VAPI"); }).detach();
    for (int i = 0; OsMsgAsynSend(&envelope) != 0 && i < 100; ++i)
        usleep(10000);
    pause();
}
