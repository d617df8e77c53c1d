// What a scene costs the virtual service, and those whom it serves meanwhile.
#include "service/scene.h"
#include "bench/display.h"
#include "bench/measure.h"
#include "bench/process.h"
#include "bench/table.h"
#include "service/request_table.h"
#include "service/scene_document.h"
#include "service/service.h"
#include "vesk_video/vesk_video.h"

#include <atomic>
#include <bit>
#include <csignal>
#include <span>
#include <thread>

#include <unistd.h>

namespace vesk::bench {

namespace {

using Send = std::function<void(const VeskVideoMsgHead&, std::span<const std::byte> payload)>;

/// Requests that fill the first display of a device that has just started with 25 pictures, 8 overlays and 2
/// pointers.
void FillDisplay(const Send& send)
{
    const auto order = [&](uint16_t msgId, uint64_t param1 = 0, uint32_t param2 = 0, uint16_t sub = 0) {
        send({0, msgId, sub, param1, param2, 0}, {});
    };
    const auto set = [&](uint16_t msgId, uint64_t param1, const auto& record) {
        send({0, msgId, 0, param1, 0, 0}, std::as_bytes(std::span(&record, 1)));
    };
    constexpr uint16_t kInput = 1001, kOutput = 2001, kDecoder = 4001, kRemoteMouse = 6001,
                       kLocalMouse = 7001;
    order(VESK_VIDEO_MSG_OPEN_VI_PORT);
    order(VESK_VIDEO_MSG_VI_START, kInput);
    order(VESK_VIDEO_MSG_DEC_CREATE);
    VeskVideoDecParam decoder{};
    decoder.w = 1920;
    decoder.h = 1080;
    set(VESK_VIDEO_MSG_SET_DEC_PARAM, kDecoder, decoder);
    order(VESK_VIDEO_MSG_DEC_START, kDecoder);
    order(VESK_VIDEO_MSG_OPEN_VO_PORT);
    order(VESK_VIDEO_MSG_VO_START, kOutput);
    VeskVideoVoMultiPicParam source{};
    source.picNum = VESK_VIDEO_MAX_SUBPIC_NUM;
    for (int32_t i = 0; i < VESK_VIDEO_MAX_SUBPIC_NUM; ++i) {
        VeskServiceSubPic picture{};
        picture.window = {150 * i, 80 * i, 640, 360};
        picture.layer = i % 5;
        picture.inputId = kInput;
        picture.showMode = VESK_SERVICE_FIT;
        if (i == 0) {
            picture.decFlag = 1;
            picture.inputId = kDecoder;
        }
        source.subPic[i] = std::bit_cast<VeskVideoSubPicParam>(picture);
    }
    set(VESK_VIDEO_MSG_SET_VO_SRC, kOutput, source);
    for (uint32_t overlay = 1; overlay <= VESK_SERVICE_MAX_OVERLAYS; ++overlay) {
        order(VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM, overlay, 0, 1);
        VeskServiceOverlay shown{};
        shown.window = {100, 100, 200, 50};
        std::strcpy(shown.picture, "/usr/share/pictures/logo.png");
        set(VESK_VIDEO_MSG_SET_OVERLAY_PARAM, overlay, std::bit_cast<VeskVideoOverlayParam>(shown));
        order(VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM, overlay, 1);
    }
    order(VESK_VIDEO_MSG_OPEN_MOUSE_PORT, 1);
    order(VESK_VIDEO_MSG_MOUSE_CONNECT, kDecoder, 0, kRemoteMouse);
    order(VESK_VIDEO_MSG_MOUSE_START, 0, 0, kRemoteMouse);
    order(VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE);
    order(VESK_VIDEO_MSG_START_LOCAL_MOUSE, 0, 0, kLocalMouse);
    order(VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE, kLocalMouse, 1);
}

void SendToService(const VeskVideoMsgHead& head, std::span<const std::byte> payload)
{
    const void* data = payload.empty() ? nullptr : payload.data();
    const auto size = static_cast<uint32_t>(payload.size());
    uint32_t number = 0; // of what is created
    const bool isAnswered = service::FindRow(head.msgId)->answer.size != 0;
    const uint32_t result = isAnswered ? VeskVideoSendSyncMsg(&head, data, size, &number, sizeof number)
                                       : VeskVideoSendSyncMsgWithoutResponse(&head, data, size);
    if (result != 0)
        Fail("the service refuses request " + std::to_string(head.msgId) + ": " + std::to_string(result));
}

/// Asks for the scene 60 times a second, from a connection of its own, while it is wanted.
class Asker {
public:
    std::atomic<bool> isWanted = false;

    ~Asker() { thread_.request_stop(); }

private:
    void Work(const std::stop_token& stop)
    {
        std::vector<std::byte> scene(1U << 20);
        while (!stop.stop_requested()) {
            usleep(1000000 / 60);
            if (!isWanted)
                continue;
            const VeskVideoMsgHead head{0, VESK_CONTROL_SCENE, 0, 0, 0, 0};
            VeskVideoSendSyncMsg(&head, nullptr, 0, scene.data(), static_cast<uint32_t>(scene.size()));
        }
    }

    std::jthread thread_{[this](const std::stop_token& stop) { Work(stop); }};
};

} // namespace

void FillDisplayOfService()
{
    FillDisplay(SendToService);
}

Table SceneTable(bool quick)
{
    service::Service service({"VIDEO", "VCTL"});
    FillDisplay([&](const VeskVideoMsgHead& head, std::span<const std::byte> payload) {
        std::vector<std::byte> block(sizeof head + payload.size());
        std::memcpy(block.data(), &head, sizeof head);
        std::ranges::copy(payload, block.begin() + sizeof head);
        if (service.Execute(head.msgId, block) != 0)
            Fail("the model refuses request " + std::to_string(head.msgId));
    });
    constexpr int kScenes = 200;
    constexpr Sizes kSizes{24, 24};
    const OnCpu here(Cpus().front());
    Parties raw(kRawWay, kSizes);
    size_t layers = 0;
    const auto repeat = [](auto once) {
        return [once] {
            for (int i = 0; i < kScenes; ++i)
                once();
        };
    };
    const auto seconds = Interleave(
        {repeat([&] { raw[0].Call(); }),
         repeat([&] { layers = service::SceneOf(service, *service.outputs.Find(0)).layers.size(); }),
         repeat([&] {
             Bytes document;
             service::GetScenes(service, 0, &document);
         })},
        quick ? 15 : 151);
    Table table{"The scene of a display with 25 pictures, 8 overlays and 2 pointers, and as an answer to who "
                "asks for it: "
                "time, as a multiple of a raw socket pair's call of 24/24 bytes on one CPU",
                {"", "time/raw socket's", "µs", "raw socket, µs"},
                {}};
    if (layers != 25 + 8 + 2)
        Fail("the scene has " + std::to_string(layers) + " layers");
    for (const auto& [name, which] : {std::pair("scene", size_t{1}), {"answer", 2}})
        table.rows.push_back({name, Rounded(MedianRatio(seconds[which], seconds[0]), 2),
                              Rounded(Median(seconds[which]) / kScenes * 1e6, 1),
                              Rounded(Median(seconds[0]) / kScenes * 1e6, 1)});
    return table;
}

Table SceneAskedTable(bool quick)
{
    const ServiceProcess process;
    FillDisplayOfService();
    Asker asker;
    const std::pair<const char*, std::function<uint32_t()>> requests[] = {
        {"VeskVideoGetVoCount",
         [] {
             uint32_t count = 0;
             return VeskVideoGetVoCount(&count);
         }},
        {"VeskVideoVoSetOffset", [] { return VeskVideoVoSetOffset(2001, 0, 0); }},
    };
    Table table{
        "Requests of one thread to the virtual service while another asks for that scene 60 times a second",
        {"request", "nobody asks, µs", "asked, µs", "asked/nobody asks"},
        {}};
    for (const auto& [name, call] : requests) {
        constexpr int kCalls = 4000; // so that several scenes are asked for in a turn
        const auto turn = [&, &once = call](bool isAsked) {
            asker.isWanted = isAsked;
            for (int i = 0; i < kCalls; ++i) {
                if (once() != 0)
                    Fail("the service refuses a request");
            }
        };
        const auto seconds = Interleave({[&] { turn(false); }, [&] { turn(true); }}, quick ? 9 : 61);
        table.rows.push_back({name, Rounded(Median(seconds[0]) / kCalls * 1e6, 1),
                              Rounded(Median(seconds[1]) / kCalls * 1e6, 1),
                              Rounded(MedianRatio(seconds[1], seconds[0]), 2)});
    }
    return table;
}

} // namespace vesk::bench
