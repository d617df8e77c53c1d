// An application for scripts/chaos.sh: calls of many sorts, whatever the device does, until SIGTERM. It fails
// when a call takes longer than its time-out. While SIGUSR1 holds it up, its file says how many notifications
// have come; SIGUSR2 lets it go on.
#include "vesk_video/vesk_video.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <unistd.h>

namespace {

std::string g_name;
volatile std::sig_atomic_t g_ends = 0, g_isHeld = 0;
std::atomic<unsigned long> g_notified = 0;
std::atomic<bool> g_isKnown = false; // to the service that runs
unsigned long g_requests = 0, g_failed = 0;
std::chrono::milliseconds g_longest{};

bool Call(const char* name, uint32_t (*call)())
{
    using namespace std::chrono;
    constexpr milliseconds kMost(VESK_VIDEO_SYNC_TIMEOUT + 5000); // all share two cores
    const auto begin = steady_clock::now();
    const uint32_t result = call();
    const auto took = duration_cast<milliseconds>(steady_clock::now() - begin);
    if (took > kMost) {
        std::fprintf(stderr, "%s: %s took %ld ms\n", g_name.c_str(), name, static_cast<long>(took.count()));
        std::exit(4);
    }
    g_longest = std::max(g_longest, took);
    ++g_requests;
    g_failed += result != 0;
    return result == 0;
}

uint32_t g_engine = 0;

#define CALL(name, ...) Call(#name, []() -> uint32_t { return name(__VA_ARGS__); })

void UseInput()
{
    static VeskVideoViPortInfo s_ports[3];
    CALL(VeskVideoGetViPort, s_ports, 3);
    if (!CALL(VeskVideoViOpen, 0, &g_engine))
        return;
    CALL(VeskVideoViStart, g_engine);
    CALL(VeskVideoViStop, g_engine);
    CALL(VeskVideoViClose, g_engine);
}

void UseOutput()
{
    CALL(VeskVideoVoSetDefaultImage, 1, 0, "/image.png");
    if (!CALL(VeskVideoVoOpen, 1, &g_engine))
        return;
    CALL(VeskVideoVoStart, g_engine);
    CALL(VeskVideoVoStop, g_engine);
    CALL(VeskVideoVoClose, g_engine);
}

void UseEncoder()
{
    static VeskVideoEncParam s_param{};
    s_param.w = 1280;
    s_param.h = 720;
    s_param.fr = 30;
    if (!CALL(VeskVideoEncoderCreate, &g_engine))
        return;
    CALL(VeskVideoEncoderSetParam, g_engine, &s_param);
    CALL(VeskVideoEncoderStart, g_engine);
    CALL(VeskVideoEncoderStop, g_engine);
    CALL(VeskVideoEncoderDelete, g_engine);
}

void Hold(const char* file)
{
    while (g_isHeld != 0) {
        const unsigned long before = g_notified;
        usleep(300000);
        if (before == g_notified) {
            const std::string draft = std::string(file) + ".new";
            std::ofstream(draft) << before << '\n';
            std::rename(draft.c_str(), file);
        }
    }
}

} // namespace

extern "C" int GetSelfProcName(std::string& name)
{
    name = g_name;
    return 0;
}

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    g_name = argv[1];
    std::signal(SIGTERM, [](int) { g_ends = 1; });
    std::signal(SIGUSR1, [](int) { g_isHeld = 1; });
    std::signal(SIGUSR2, [](int) { g_isHeld = 0; });
    static VeskVideoCallbackInfo s_callback{};
    s_callback.notifyCallback = [](uint32_t number, void*, uint32_t) -> uint32_t {
        if (number == VESK_VIDEO_ON_VIDEO_ACTIVATE_NOTIFY)
            g_isKnown = false;
        return ++g_notified, 0;
    };
    while (g_ends == 0) {
        // Without a callback most notifications are dropped, so this is not done again as long as it is
        // known.
        if (!g_isKnown.exchange(true))
            g_isKnown = CALL(VeskVideoInit) && CALL(VeskVideoSetCallback, &s_callback);
        UseInput();
        UseOutput();
        UseEncoder();
        Hold(argv[2]);
        usleep(1000);
    }
    VeskVideoExit();
    std::printf("%lu requests (%lu failed), the longest %ld ms, %lu notifications\n", g_requests, g_failed,
                static_cast<long>(g_longest.count()), g_notified.load());
    return 0;
}
