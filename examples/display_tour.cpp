// A first application: finds the displays, opens one, configures it, shows a picture, closes it, and prints
// the notifications that arrive. Exits with status 0 if everything was as expected.
//
//     vesk-display-tour [PROCESS-NAME]
#include "steps.h"

#include <thread>
#include <vector>

using namespace steps;

namespace {

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
    } else if (notifyId == VESK_VIDEO_ON_VI_PORT_PLUG_STATE_NOTIFY) {
        const auto plug = Read<VeskVideoViPortPlugState>(data, dataLen);
        std::printf("  <- %u: input %u is %s\n", notifyId, plug.port,
                    plug.val != 0 ? "plugged" : "unplugged");
    } else if (notifyId == VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY) {
        const auto info = Read<VeskVideoViPortPixelInfo>(data, dataLen);
        std::printf("  <- %u: input %u gives %u x %u at %u Hz\n", notifyId, info.port, info.Width,
                    info.height, info.fr);
    } else if (notifyId == VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY) {
        const auto link = Read<VeskVideoDisplayLink>(data, dataLen);
        std::printf("  <- %u: first frame on %.64s, surface %u\n", notifyId, link.portName, link.surfaceId);
    } else if (notifyId == VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY) {
        const auto link = Read<VeskVideoDisplayLink>(data, dataLen);
        std::printf("  <- %u: link to %.64s taken down\n", notifyId, link.portName);
    } else {
        std::printf("  <- %u: %u bytes\n", notifyId, dataLen);
    }
    g_seen.Add(notifyId);
    return 0;
}

// The service announces its ports right after VeskVideoInit, before there is a callback: the library holds
// these notifications, and hands them to the callback when it is installed.
size_t AwaitHeldNotifications(size_t least)
{
    std::list<NorthMsgResendInfo> held;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(5);
    size_t before = 0;
    do { // until all are there, and no more arrive
        before = held.size();
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        VeskVideoGetMsgResendQ(&held);
    } while ((held.size() < least || held.size() > before) && std::chrono::steady_clock::now() < end);
    std::printf("%zu notifications are held until there is a callback\n", held.size());
    Expect(held.size() >= least, "the number of held notifications");
    return held.size();
}

} // namespace

int main(int argc, char** argv)
{
    g_processName = argc > 1 ? argv[1] : "display_tour";
    char version[16];
    Step("VeskVideoGetVersion", VeskVideoGetVersion(version, sizeof version));
    std::printf("library version %s\n", version);
    Step("VeskVideoInit", VeskVideoInit());

    uint32_t displays = 0;
    Step("VeskVideoGetVoCount", VeskVideoGetVoCount(&displays));
    std::printf("the service has %u displays\n", displays);
    std::vector<VeskVideoVoPortInfo> ports(displays);
    Step("VeskVideoGetVoPort", VeskVideoGetVoPort(ports.data(), displays));

    const size_t held = AwaitHeldNotifications(size_t{2} * displays);
    VeskVideoCallbackInfo callback{};
    callback.notifyCallback = OnNotification;
    Step("VeskVideoSetCallback", VeskVideoSetCallback(&callback));
    Expect(g_seen.Count() >= held, "every held notification reaches the new callback");

    uint32_t engine = 0;
    Step("VeskVideoVoOpen port 0", VeskVideoVoOpen(0, &engine));
    std::printf("engine %u drives port 0\n", engine);
    uint32_t second = 0;
    Refused("VeskVideoVoOpen port 0 again", VeskVideoVoOpen(0, &second));

    const VeskVideoVoPortParam wanted{3840, 2160, 60, 0, 0, 0, 0, 0, 1, {}};
    VeskVideoVoPortParam param{};
    Step("VeskVideoVoSetParam", VeskVideoVoSetParam(engine, &wanted));
    Step("VeskVideoVoGetParam", VeskVideoVoGetParam(engine, &param));
    Expect(Same(wanted, param), "parameters are read back as they were set");
    Step("VeskVideoVoSetOffset", VeskVideoVoSetOffset(engine, -10, 20));
    uint32_t queue = 0;
    Step("VeskVideoBuffCreateQueue", VeskVideoBuffCreateQueue(&queue));
    Step("VeskVideoVoSetQueHandle", VeskVideoVoSetQueHandle(engine, queue));
    Step("VeskVideoVoSetDefaultImage", VeskVideoVoSetDefaultImage(0, 0, "/media/default.png"));

    Step("VeskVideoVoStart", VeskVideoVoStart(engine));
    g_seen.Await(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY);
    Step("VeskVideoVoStop", VeskVideoVoStop(engine));
    Step("VeskVideoVoClose", VeskVideoVoClose(engine));
    Step("VeskVideoBuffDestroyQueue", VeskVideoBuffDestroyQueue(queue));
    g_seen.Await(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY);
    Step("VeskVideoExit", VeskVideoExit());
    std::printf("all as expected\n");
}
