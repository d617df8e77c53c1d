// An application for the tracer: sends to nobody from threads on both sides of a fork, and ends in a
// callback.
#include "platform/os_msg.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
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

} // namespace

int main()
{
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
