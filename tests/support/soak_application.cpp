// An application for scripts/soak.sh: requests, storms of notifications, queues and forks until SIGTERM. It
// fails when it ends with more descriptors or memory than after its first rounds, and dies when a round
// hangs.
#include "vesk_host/queue.h"
#include "vesk_video/vesk_video.h"

#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace {

#ifdef __SANITIZE_ADDRESS__
constexpr bool kForks = false; // a child may inherit the sanitizer's allocator locked
#else
constexpr bool kForks = true;
#endif

std::string g_name;
volatile std::sig_atomic_t g_ends = 0;
std::atomic<unsigned long> g_notified = 0;
unsigned long g_requests = 0, g_failed = 0, g_forks = 0;

void Count(uint32_t result)
{
    ++g_requests;
    g_failed += result != 0;
}

void Round(uint32_t number)
{
    VeskVideoCallbackInfo callback{};
    callback.notifyCallback = [](uint32_t, void*, uint32_t) -> uint32_t { return ++g_notified, 0; };
    for (uint32_t i = 0; i < (number % 8 == 0 ? 40 : 1); ++i) // each tells of all ports
        Count(VeskVideoInit());
    Count(VeskVideoSetCallback(&callback));
    VeskVideoViPortInfo ports[3];
    for (int i = 0; i < 20; ++i)
        Count(VeskVideoGetViPort(ports, 3));
    uint32_t queue = 0, count = 0;
    if (VeskVideoBuffCreateQueue(&queue) == 0)
        Count(VeskVideoBuffDestroyQueue(queue));
    HostQueueRemove(queue);
    if (!kForks || number % 4 != 0)
        return;
    const pid_t child = fork();
    if (child == 0) {
        alarm(60);
        VeskVideoGetViCount(&count);
        _exit(0);
    }
    int status = 0;
    if (child > 0 && (waitpid(child, &status, 0) != child || status != 0)) {
        std::fprintf(stderr, "%s: a fork ended with status 0x%x\n", g_name.c_str(), status);
        std::exit(4);
    }
    ++g_forks;
}

long Descriptors()
{
    std::filesystem::directory_iterator open;
    std::error_code error; // as long as the calls for it fail at random
    do
        open = std::filesystem::directory_iterator("/proc/self/fd", error);
    while (error);
    return std::distance(begin(open), end(open));
}

long KibiBytes()
{
    long total = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> total >> resident;
    return resident * sysconf(_SC_PAGESIZE) / 1024;
}

} // namespace

extern "C" int GetSelfProcName(std::string& name)
{
    name = g_name;
    return 0;
}

int main(int argc, char** argv)
{
    constexpr uint32_t kFirstRounds = 40;
    g_name = argc > 1 ? argv[1] : "soak";
    const long mostKibiBytes = argc > 2 ? std::atol(argv[2]) : 4096;
    std::signal(SIGTERM, [](int) { g_ends = 1; });
    long descriptors = 0, memory = 0;
    uint32_t round = 0;
    for (; g_ends == 0; ++round) {
        alarm(60);
        Round(round);
        if (round == kFirstRounds) {
            descriptors = Descriptors();
            memory = KibiBytes();
        }
    }
    VeskVideoExit();
    const long moreDescriptors = round > kFirstRounds ? Descriptors() - descriptors : 0;
    const long moreMemory = round > kFirstRounds ? KibiBytes() - memory : 0;
    std::printf("%u %lu %lu %lu %lu\n", round, g_requests, g_failed, g_notified.load(), g_forks);
    const bool isAsBefore = moreDescriptors <= 8 && moreMemory <= mostKibiBytes;
    if (!isAsBefore)
        std::fprintf(stderr, "%s: %ld descriptors and %ld KiB more after %u rounds\n", g_name.c_str(),
                     moreDescriptors, moreMemory, round);
    return isAsBefore ? 0 : 3;
}
