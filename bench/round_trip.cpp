// Measures the cost of a request: a round trip through the library and the host's message library, compared
// with a bare exchange of the same number of bytes over a socket pair. Each has a separate process as its
// peer.
//
// Run it with --benchmark_enable_random_interleaving=true --benchmark_repetitions=5 and compare the medians.
// Only their ratio is meaningful.
#include "vesk_host/message.h"
#include "vesk_video/vesk_video.h"

#include <benchmark/benchmark.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <sys/prctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr size_t kFrameSize = 192; // envelope and header of a request without payload

int g_pair[2];

uint32_t AnswerWithHeader(OsMsgEnvelope* message)
{
    const VeskVideoMsgHead head{};
    return HostMsgReply(message, &head, sizeof head);
}

pid_t ForkPeer(void (*body)())
{
    const pid_t process = fork();
    if (process == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        body();
        _exit(0);
    }
    return process;
}

void ServeRequests()
{
    HostMsgSetProcName("VIDEO");
    OsMsgRegTask("VCTL", 64, AnswerWithHeader);
    OsMsgTaskRoutineByName("VCTL");
}

void EchoOverPair()
{
    char frame[kFrameSize];
    while (recv(g_pair[1], frame, sizeof frame, MSG_WAITALL) == static_cast<ssize_t>(sizeof frame))
        send(g_pair[1], frame, sizeof frame, 0);
}

void SocketPair(benchmark::State& state)
{
    char frame[kFrameSize] = {};
    for ([[maybe_unused]] auto _ : state) {
        send(g_pair[0], frame, sizeof frame, 0);
        if (recv(g_pair[0], frame, sizeof frame, MSG_WAITALL) != static_cast<ssize_t>(sizeof frame))
            state.SkipWithError("the exchange failed");
    }
}
BENCHMARK(SocketPair)->UseRealTime();

void Request(benchmark::State& state)
{
    for ([[maybe_unused]] auto _ : state) {
        if (VeskVideoVoStart(1) != VESK_VIDEO_OK)
            state.SkipWithError("the request failed");
    }
}
BENCHMARK(Request)->UseRealTime();

} // namespace

int main(int argc, char** argv)
{
    char directory[] = "/tmp/vesk-bench-XXXXXX";
    if (mkdtemp(directory) == nullptr || socketpair(AF_UNIX, SOCK_STREAM, 0, g_pair) != 0) {
        std::perror("round_trip");
        return EXIT_FAILURE;
    }
    setenv("VESK_RUNTIME_DIR", directory, 1);
    const pid_t peers[] = {ForkPeer(ServeRequests), ForkPeer(EchoOverPair)};
    setenv("VESK_LOG_TARGET", "none", 1);
    for (int i = 0; i < 1000 && VeskVideoVoStart(1) != VESK_VIDEO_OK; ++i)
        usleep(2000);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    for (const pid_t peer : peers)
        kill(peer, SIGKILL);
    std::filesystem::remove_all(directory);
}
