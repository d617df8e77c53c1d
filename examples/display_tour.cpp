// A first application: finds the displays, opens one, configures it, shows a picture, closes it, and
// prints what the video service notifies meanwhile. Ends with status 0 when everything was as expected.
//
//     display_tour [PROCESS-NAME]
#include "vesk_video/vesk_video.h"

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <set>
#include <vector>

// The name under which this process talks to the service; without this hook the library uses a name of
// its own. Applications that run at the same time need different names.
static std::string g_processName = "display_tour";

int GetSelfProcName(std::string& name)
{
    name = g_processName;
    return 0;
}

namespace {

// Notifications arrive on the library's receive thread; the main thread waits for some of them.
std::mutex g_lock;
std::condition_variable g_arrived;
std::multiset<uint32_t> g_seen;

template <class Record>
Record Read(const void* data, uint32_t dataLen)
{
    Record record{};
    std::memcpy(&record, data, std::min<size_t>(dataLen, sizeof record));
    return record;
}

uint32_t OnNotification(uint32_t notifyId, void* data, uint32_t dataLen)
{
    if (notifyId == VESK_VIDEO_ON_VO_PORT_PLUG_STATE_NOTIFY) {
        const auto plug = Read<VeskVideoVoPortPlugState>(data, dataLen);
        std::printf("  <- %u: display %u is %s\n", notifyId, plug.port,
                    plug.val != 0 ? "plugged" : "unplugged");
    } else if (notifyId == VESK_VIDEO_ON_VO_PORT_DDC_INFO_NOTIFY) {
        const auto ddc = Read<VeskVideoVoPortDdcInfo>(data, dataLen);
        std::printf("  <- %u: display %u shows %u x %u at %u Hz\n", notifyId, ddc.port, ddc.Width, ddc.height,
                    ddc.fr);
    } else if (notifyId == VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY) {
        const auto link = Read<VeskVideoDisplayLink>(data, dataLen);
        std::printf("  <- %u: first frame on %.64s, surface %u\n", notifyId, link.portName, link.surfaceId);
    } else if (notifyId == VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY) {
        const auto link = Read<VeskVideoDisplayLink>(data, dataLen);
        std::printf("  <- %u: link to %.64s taken down\n", notifyId, link.portName);
    } else {
        std::printf("  <- %u: %u bytes\n", notifyId, dataLen);
    }
    const std::lock_guard guard(g_lock);
    g_seen.insert(notifyId);
    g_arrived.notify_all();
    return 0;
}

void Expect(bool asExpected, const char* what)
{
    if (asExpected)
        return;
    std::printf("NOT AS EXPECTED: %s\n", what);
    std::exit(EXIT_FAILURE);
}

void Step(const char* what, uint32_t result)
{
    std::printf("%-44s -> %u\n", what, result);
    Expect(result == VESK_VIDEO_OK, what);
}

void AwaitNotification(uint32_t notifyId)
{
    std::unique_lock guard(g_lock);
    Expect(g_arrived.wait_for(guard, std::chrono::seconds(5),
                              [notifyId] { return g_seen.count(notifyId) != 0; }),
           "a notification did not arrive within 5 seconds");
}

// The service announces its displays right after VeskVideoInit, before there is a callback: the library
// holds these notifications.
void AwaitHeldNotifications(size_t count)
{
    std::list<NorthMsgResendInfo> held;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    while (held.size() < count && std::chrono::steady_clock::now() < end)
        VeskVideoGetMsgResendQ(&held);
    std::printf("%zu notifications are held until there is a callback\n", held.size());
    Expect(held.size() == count, "the number of held notifications");
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1)
        g_processName = argv[1];
    char version[16];
    Step("VeskVideoGetVersion", VeskVideoGetVersion(version, sizeof version));
    std::printf("library version %s\n", version);
    Step("VeskVideoInit", VeskVideoInit());

    uint32_t displays = 0;
    Step("VeskVideoGetVoCount", VeskVideoGetVoCount(&displays));
    std::printf("the service has %u displays\n", displays);
    std::vector<VeskVideoVoPortInfo> ports(displays);
    Step("VeskVideoGetVoPort", VeskVideoGetVoPort(ports.data(), displays));

    AwaitHeldNotifications(size_t{2} * displays);
    VeskVideoCallbackInfo callback{};
    callback.notifyCallback = OnNotification;
    Step("VeskVideoSetCallback", VeskVideoSetCallback(&callback));
    Expect(g_seen.size() == size_t{2} * displays, "every held notification reaches the new callback");

    uint32_t engine = 0;
    Step("VeskVideoVoOpen port 0", VeskVideoVoOpen(0, &engine));
    std::printf("engine %u drives port 0\n", engine);
    uint32_t second = 0;
    const uint32_t refused = VeskVideoVoOpen(0, &second);
    std::printf("%-44s -> 0x%x, as it should be\n", "VeskVideoVoOpen port 0 again", refused);
    Expect(refused != VESK_VIDEO_OK, "a port that is open cannot be opened again");

    const VeskVideoVoPortParam wanted{3840, 2160, 60, 0, 0, 0, 0, 0, 1, {}};
    VeskVideoVoPortParam param{};
    Step("VeskVideoVoSetParam", VeskVideoVoSetParam(engine, &wanted));
    Step("VeskVideoVoGetParam", VeskVideoVoGetParam(engine, &param));
    Expect(std::memcmp(&wanted, &param, sizeof param) == 0, "parameters are read back as they were set");
    Step("VeskVideoVoSetOffset", VeskVideoVoSetOffset(engine, -10, 20));
    Step("VeskVideoVoSetQueHandle", VeskVideoVoSetQueHandle(engine, 7));

    Step("VeskVideoVoStart", VeskVideoVoStart(engine));
    AwaitNotification(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY);
    Step("VeskVideoVoStop", VeskVideoVoStop(engine));
    Step("VeskVideoVoClose", VeskVideoVoClose(engine));
    AwaitNotification(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY);
    Step("VeskVideoExit", VeskVideoExit());
    std::printf("all as expected\n");
}
