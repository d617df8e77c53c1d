// The virtual service's model, family by family: what it keeps, notifies and refuses, and how much it
// carries.
#include "service/service_fixture.h"
#include "vesk_host/queue.h"
#include "vesk_video/message_list.h"

#include <bit>
#include <functional>
#include <set>
#include <thread>

using vesk::messages::Kind;
using vesk::messages::kRequests;

namespace {

VeskVideoEncParam EncoderParam(uint32_t w = 1280, uint32_t h = 720, uint32_t fr = 30)
{
    VeskVideoEncParam param{};
    param.w = w, param.h = h, param.fr = fr;
    return param;
}

VeskVideoDecParam DecoderParam(uint32_t w = 1280, uint32_t h = 720)
{
    VeskVideoDecParam param{};
    param.w = w, param.h = h;
    return param;
}

template <class Described, class Info>
Words Port(uint32_t (*list)(Info*, uint32_t), uint32_t port)
{
    std::vector<Info> ports(port + 1);
    EXPECT_EQ(list(ports.data(), port + 1), 0U);
    static_assert(sizeof(Described) == sizeof(Info));
    return WordsOf(ports[port]);
}

Words InputPort(uint32_t port)
{
    return Port<VeskServiceViPort>(VeskVideoGetViPort, port);
}

Words OutputPort(uint32_t port)
{
    return Port<VeskServiceVoPort>(VeskVideoGetVoPort, port);
}

/// Something that applications create, up to a number, and name from then on.
struct Thing {
    const char* what;
    uint32_t most;
    uint32_t full; ///< How one more is refused.
    std::function<uint32_t(uint32_t nth, uint32_t* number)> create;
    uint32_t (*remove)(uint32_t);
    uint32_t (*start)(uint32_t) = nullptr;
    uint32_t (*stop)(uint32_t) = nullptr;
    std::function<uint32_t(uint32_t)> prepare = nullptr; ///< What a start asks for first.
};

uint32_t g_encoder = 0, g_decoder = 0; // of these, loops and mice are made

const std::vector<Thing> kThings = {
    {"input", 3, VESK_SERVICE_ERR_NUMBER, VeskVideoViOpen, VeskVideoViClose, VeskVideoViStart,
     VeskVideoViStop},
    {"output", 2, VESK_SERVICE_ERR_NUMBER, VeskVideoVoOpen, VeskVideoVoClose, VeskVideoVoStart,
     VeskVideoVoStop},
    {"encoder", 16, VESK_SERVICE_ERR_ROOM,
     [](uint32_t, uint32_t* number) {
         const uint32_t result = VeskVideoEncoderCreate(number);
         g_encoder = result == 0 ? *number : g_encoder;
         return result;
     },
     VeskVideoEncoderDelete, VeskVideoEncoderStart, VeskVideoEncoderStop,
     [](uint32_t number) {
         const VeskVideoEncParam param = EncoderParam();
         return VeskVideoEncoderSetParam(number, &param);
     }},
    {"decoder", 16, VESK_SERVICE_ERR_ROOM,
     [](uint32_t, uint32_t* number) {
         const uint32_t result = VeskVideoDecoderCreate(number);
         g_decoder = result == 0 ? *number : g_decoder;
         return result;
     },
     VeskVideoDecoderDelete, VeskVideoDecoderStart, VeskVideoDecoderStop,
     [](uint32_t number) {
         const VeskVideoDecParam param = DecoderParam();
         return VeskVideoDecoderSetParam(number, &param);
     }},
    {"loop", 16, VESK_SERVICE_ERR_ROOM,
     [](uint32_t, uint32_t* number) { return VeskVideoSetStreamLoop(g_encoder, g_decoder, 1, number); },
     nullptr},
    {"remote mouse", 4, VESK_SERVICE_ERR_ROOM,
     [](uint32_t, uint32_t* number) { return VeskVideoRemoteMouseOpen(1, number); },
     VeskVideoRemoteMouseClose, VeskVideoRemoteMouseStart, VeskVideoRemoteMouseStop,
     [](uint32_t number) { return VeskVideoRemoteMouseConnect(number, g_decoder); }},
    {"local mouse", 4, VESK_SERVICE_ERR_ROOM,
     [](uint32_t, uint32_t* number) { return VeskVideoLocalMouseOpen(number); }, VeskVideoLocalMouseClose,
     VeskVideoLocalMouseStart, VeskVideoLocalMouseStop},
    {"UVC stream", 8, VESK_VIDEO_ERR_FAILURE,
     [](uint32_t, uint32_t* number) { return VeskVideoUvcInit() | VeskVideoUvcOpen(number); },
     VeskVideoUvcClose, VeskVideoUvcStartStream, VeskVideoUvcStopStream,
     [](uint32_t number) {
         const VeskVideoUvcParam param{};
         return VeskVideoUvcSetStmParam(number, &param);
     }},
    {"overlay", 8, VESK_SERVICE_ERR_ROOM,
     [](uint32_t nth, uint32_t* number) {
         uint32_t layer = 0;
         const uint32_t result = VeskVideoCreateOverlayChannel(100 + nth, 0, &layer);
         *number = result == 0 ? 100 + nth : *number;
         EXPECT_TRUE(result != 0 || (layer >= 1 && layer <= nth + 8));
         return result;
     },
     VeskVideoDestroyOverlayChannel},
};

/// Creates as many of everything as there can be; true when there was room for all.
bool FillAll()
{
    for (const Thing& thing : kThings) {
        for (uint32_t i = 0, number = 0; i < thing.most; ++i) {
            if (const uint32_t result = thing.create(i, &number); result != 0) {
                std::printf("%s %u: 0x%x\n", thing.what, i, result);
                return false;
            }
        }
    }
    return true;
}

} // namespace

FORKED_TEST(VideoService, EveryPortIsAnnouncedAfterInit)
{
    ASSERT_TRUE(Eventually([] { return Arrived(VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, 2).size() == 2; }));
    const auto pixels = [](VeskVideoViPortPixelInfo info) { return Notified{103, WordsOf(info)}; };
    const auto plug = [](uint32_t port, uint32_t value) {
        return Notified{102, WordsOf(VeskVideoViPortPlugState{port, {}, value})};
    };
    EXPECT_EQ(g_notified, (std::vector<Notified>{
                              {100, WordsOf(VeskVideoVoPortPlugState{0, {}, 1})},
                              {101, WordsOf(VeskVideoVoPortDdcInfo{0, {}, 3840, 2160, 60})},
                              {100, WordsOf(VeskVideoVoPortPlugState{1, {}, 1})},
                              {101, WordsOf(VeskVideoVoPortDdcInfo{1, {}, 1920, 1080, 60})},
                              plug(0, 1),
                              pixels({0, {}, 0, 1, {}, 3840, 2160, 30}),
                              plug(1, 0),
                              plug(2, 1),
                              pixels({2, {}, 1, VESK_VIDEO_PORT_TYPE_NET_CAMERA, {}, 1920, 1080, 25})}));
}

FORKED_TEST(VideoService, InputsAreDescribedFieldByField)
{
    EXPECT_EQ(Number(VeskVideoGetViCount), 3U);
    VeskServiceViPort ports[] = {
        {.port = 0,
         .portType = 1,
         .plugged = 1,
         .enabled = 1,
         .width = 3840,
         .height = 2160,
         .fr = 30,
         .name = "CAMERA"},
        {.port = 1, .portType = 2, .enabled = 1, .name = "PC-IN"},
        {.port = 2,
         .portType = 16,
         .plugged = 1,
         .enabled = 1,
         .width = 1920,
         .height = 1080,
         .fr = 25,
         .name = "NET-CAMERA"},
    };
    for (const VeskServiceViPort& port : ports)
        EXPECT_EQ(InputPort(port.port), WordsOf(port));
    for (const uint32_t i : {2U, 0U}) {
        VeskServiceViPort& port = ports[i];
        const VeskServiceViPort closed = port;
        const uint32_t engine = port.inEngNo = Number(VeskVideoViOpen, i);
        VeskVideoAppInParam app{};
        app.taskHandle = uint64_t{i + 30} << 32 | (i + 40);
        const VeskVideoVioCallbackParam vio{{i + 50, 1}};
        Check({{"connect", VeskVideoViConnect(engine, 1)},
               {"connect", VeskVideoViConnect(engine, 2)},
               {"connect twice", VeskVideoViConnect(engine, 2), VESK_SERVICE_ERR_STATE},
               {"freeze", VeskVideoViFreeze(engine, static_cast<uint8_t>(i + 1), "frozen", i + 3)},
               {"face queue", VeskVideoSetViFaceQueHandle(engine, i + 70)},
               {"move speed", VeskVideoViSetEptzMoveSpeed(engine, -5 - static_cast<int32_t>(i))},
               {"application", VeskVideoSetAppCaptureParam(engine, &app)},
               {"video I/O", VeskVideoSetVioCallback(engine, &vio)}});
        port.streams = 2, port.frozen = i + 1, port.frozenLength = i + 3, port.faceQueue = i + 70;
        port.eptzMoveSpeed = -5 - static_cast<int32_t>(i), port.appTaskHandle[0] = i + 40;
        port.appTaskHandle[1] = i + 30, port.vioCallback = i + 50;
        EXPECT_EQ(InputPort(i), WordsOf(port));
        Check({{"start", VeskVideoViStart(engine)}, {"disconnect", VeskVideoViDisconnect(engine, 1)}});
        port.started = 1, port.streams = 1;
        EXPECT_EQ(InputPort(i), WordsOf(port));
        Check({{"switch", VeskVideoViModifyInput(engine, 9)},
               {"the stream before", VeskVideoViDisconnect(engine, 2), VESK_SERVICE_ERR_STATE},
               {"the stream", VeskVideoViDisconnect(engine, 9)},
               {"none to switch", VeskVideoViModifyInput(engine, 9), VESK_SERVICE_ERR_STATE},
               {"disable", VeskVideoViDisable(i)},
               {"start a disabled one", VeskVideoViStart(engine), VESK_SERVICE_ERR_DISABLED}});
        port.started = 0, port.streams = 0, port.enabled = 0;
        EXPECT_EQ(InputPort(i), WordsOf(port));
        uint32_t other = 0;
        Check({{"close", VeskVideoViClose(engine)},
               {"open a disabled one", VeskVideoViOpen(i, &other), VESK_SERVICE_ERR_DISABLED},
               {"enable", VeskVideoViEnable(i)}});
        EXPECT_EQ(InputPort(i), WordsOf(closed));
        port.inEngNo = Number(VeskVideoViOpen, i), port = closed; // stays open while the other is looked at
    }
}

FORKED_TEST(VideoService, OutputsAreDescribedFieldByField)
{
    EXPECT_EQ(Number(VeskVideoGetVoCount), 2U);
    VeskServiceVoPort ports[] = {{.port = 0,
                                  .plugged = 1,
                                  .enabled = 1,
                                  .width = 3840,
                                  .height = 2160,
                                  .fr = 60,
                                  .name = "HDMI-OUT-1"},
                                 {.port = 1,
                                  .plugged = 1,
                                  .enabled = 1,
                                  .width = 1920,
                                  .height = 1080,
                                  .fr = 60,
                                  .name = "HDMI-OUT-2"}};
    const uint32_t input = Number(VeskVideoViOpen, 2U);
    for (VeskServiceVoPort& port : ports) {
        const uint32_t i = port.port, engine = Number(VeskVideoVoOpen, i);
        EXPECT_EQ(OutputPort(i)[3], engine);
        VeskVideoVoMultiPicParam source{};
        source.picNum = i + 3;
        for (uint32_t n = 0; n < source.picNum; ++n)
            source.subPic[n].inputId = input, source.subPic[n].winHandle = n;
        VeskVideoDisplayInfo info{};
        info.displayMode = i + 1, info.fps = i + 24;
        const VeskVideoFilterWindow windows[] = {{{1, i}}, {{2, i}}, {{3, i}}};
        const std::string image = "/image/" + std::to_string(i);
        Check({{"offset", VeskVideoVoSetOffset(engine, -10 - static_cast<int32_t>(i), 20)},
               {"queue", VeskVideoVoSetQueHandle(engine, i + 77)},
               {"source", VeskVideoVoSetSrc(engine, &source)},
               {"mode", VeskVideoVoSetDisplayMode(&info)},
               {"image", VeskVideoVoSetDefaultImage(i, 0, (image + std::string(90, 'x')).c_str())},
               {"image", VeskVideoVoSetDefaultImage(i, 0, image.c_str())},
               {"resolution", VeskVideoVoSetByomSrEnable(static_cast<uint8_t>(i + 1))},
               {"windows", VeskVideoAddFilterWindows(i, 3, windows)},
               {"another's window", VeskVideoDeleteFilterWindows(i + 1, 1, windows), VESK_SERVICE_ERR_NUMBER},
               {"start", VeskVideoVoStart(engine)},
               {"a window", VeskVideoVoNotifyWindowDestroyed(engine, reinterpret_cast<void*>(1))},
               {"it again", VeskVideoVoNotifyWindowDestroyed(engine, reinterpret_cast<void*>(1)),
                VESK_SERVICE_ERR_NUMBER}});
        port.outEngNo = engine, port.started = 1, port.xOffset = -10 - static_cast<int32_t>(i);
        port.yOffset = 20, port.queHandle = i + 77, port.pictures = i + 2, port.displayMode = i + 1;
        port.displayFps = i + 24, port.srEnabled = 1, port.filterWindows = 3;
        image.copy(port.defaultImage, 63);
        EXPECT_EQ(OutputPort(i), WordsOf(port));
        const VeskVideoFilterWindow some[] = {{{2, i}}, {{1, i}}, {{9, i}}};
        Check({{"one is not there", VeskVideoDeleteFilterWindows(i, 3, some), VESK_SERVICE_ERR_NUMBER},
               {"two", VeskVideoDeleteFilterWindows(i, 2, some)},
               {"no resolution", VeskVideoVoSetByomSrEnable(0)},
               {"disable", VeskVideoVoDisable(i)},
               {"start a disabled one", VeskVideoVoStart(engine), VESK_SERVICE_ERR_DISABLED}});
        port.filterWindows = 1, port.srEnabled = 0, port.started = port.enabled = 0;
        EXPECT_EQ(OutputPort(i), WordsOf(port));
        uint32_t other = 0;
        Check({{"the last", VeskVideoDeleteFilterWindows(i, 1, windows + 2)},
               {"close", VeskVideoVoClose(engine)},
               {"open a disabled one", VeskVideoVoOpen(i, &other), VESK_SERVICE_ERR_DISABLED},
               {"enable", VeskVideoVoEnable(i)}});
        Number(VeskVideoVoOpen, i); // stays open while the other is looked at
    }
}

FORKED_TEST(VideoService, RecordsAreReadAsTheyWereSet)
{
    using namespace vesk::messages;
    const VeskVideoRequest pairs[][2] = {
        {VESK_VIDEO_MSG_SET_VI_PARAM, VESK_VIDEO_MSG_GET_VI_PARAM},
        {VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM, VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM},
        {VESK_VIDEO_MSG_SET_VI_PTZF_PARAM, VESK_VIDEO_MSG_GET_VI_PTZF_PARAM},
        {VESK_VIDEO_MSG_SET_VO_PARAM, VESK_VIDEO_MSG_GET_VO_PARAM},
        {VESK_VIDEO_MSG_SET_ENC_PARAM, VESK_VIDEO_MSG_GET_ENC_PARAM},
        {VESK_VIDEO_MSG_SET_ENC_PARAM_EX, VESK_VIDEO_MSG_GET_ENC_PARAM_EX},
        {VESK_VIDEO_MSG_SET_DEC_PARAM, VESK_VIDEO_MSG_GET_DEC_PARAM},
    };
    for (const Thing& thing : {kThings[0], kThings[1], kThings[2], kThings[3]}) { // each numbered from 1
        for (uint32_t i = 0, number = 0; i < 2; ++i)
            EXPECT_TRUE(thing.create(i, &number) == 0 && number == i + 1) << thing.what;
    }
    // All of both things are set before one is read. What framing is set by is the port: one less.
    std::map<std::pair<int, uint16_t>, std::string> set;
    for (const bool reads : {false, true}) {
        for (const auto& [setter, getter] : pairs) {
            for (uint16_t number = 1; number <= 2; ++number) {
                const bool isByPort = FindRequest(setter)->At(HeaderField::kSubMsgID).IsUsed();
                const uint16_t key = isByPort && !reads ? static_cast<uint16_t>(number - 1) : number;
                std::string& record = set[{setter, number}];
                if (!reads) {
                    record.assign(FindRequest(setter)->payload.size, static_cast<char>(setter * 2 + number));
                    const uint32_t picture[] = {100U + number, 200U + number, 50U + number};
                    if (setter == VESK_VIDEO_MSG_SET_ENC_PARAM || setter == VESK_VIDEO_MSG_SET_DEC_PARAM)
                        std::memcpy(&record[8], picture, setter == VESK_VIDEO_MSG_SET_ENC_PARAM ? 12 : 8);
                    EXPECT_EQ(SendRaw(setter, isByPort ? 0 : key, record, isByPort ? key : 0), 0U) << setter;
                    continue;
                }
                const VeskVideoMsgHead head{0,
                                            static_cast<uint16_t>(getter),
                                            static_cast<uint16_t>(isByPort ? key : 0),
                                            isByPort ? 0U : key,
                                            0,
                                            0};
                std::string read(record.size(), '\0');
                EXPECT_EQ(
                    VeskVideoSendSyncMsg(&head, nullptr, 0, read.data(), static_cast<uint32_t>(read.size())),
                    0U);
                EXPECT_EQ(read, record) << getter;
            }
        }
    }
}

FORKED_TEST(VideoService, ChannelsAreDescribedAndCountedFieldByField)
{
    VeskVideoEncStatus encStatus;
    VeskVideoDecStatus decStatus;
    VeskVideoEncChrStatistics encStatistics;
    VeskVideoDecChrStatistics decStatistics;
    std::vector<VeskVideoEncStatusInfo> encInfos(4, {{9}}), encExpected(4);
    std::vector<VeskVideoDecStatusInfo> decInfos(4, {{9}}), decExpected(4);
    for (uint32_t i = 0; i < 3; ++i) {
        const uint32_t encoder = Number(VeskVideoEncoderCreate), decoder = Number(VeskVideoDecoderCreate);
        const VeskVideoEncParam enc = EncoderParam(100 + i, 200 + i, 30 + i);
        const VeskVideoDecParam dec = DecoderParam(300 + i, 400 + i);
        const VeskVideoEncParamEx encEx{100, 1, 2, 3, 4, 5, 0, 4, {}};
        const VeskVideoDecParamEx decEx{{1, i}};
        const VeskVideoEncFecParam fec{i == 1 ? 0.5F : 0.0F, i == 2 ? 1U : 0U};
        const Expectation done[] = {
            {"parameters", VeskVideoEncoderSetParam(encoder, &enc)},
            {"more parameters", VeskVideoEncoderSetParamEx(encoder, &encEx)},
            {"parameters", VeskVideoDecoderSetParam(decoder, &dec)},
            {"more parameters", VeskVideoDecoderSetParamEx(decoder, &decEx)},
            {"error correction", VeskVideoEncoderSetFecParam(encoder, &fec)},
            {"queue", VeskVideoEncoderSetQueHandle(encoder, 70 + i)},
            {"queue", VeskVideoDecoderSetQueHandle(decoder, 80 + i)},
            {"anti-jitter", VeskVideoDecoderSetAntiJitter(decoder, static_cast<uint8_t>(2 + i))},
            {"start", VeskVideoEncoderStart(encoder)},
            {"start", VeskVideoDecoderStart(decoder)},
            {"key frame", VeskVideoEncoderForceKeyFrame(encoder)},
            {"rate", VeskVideoEncoderModifyFrameRate(encoder, 60 - i)},
            {"stop", i == 0 ? VeskVideoEncoderStop(encoder) : 0},
            {"stop", i == 1 ? VeskVideoDecoderStop(decoder) : 0},
            {"status", VeskVideoEncoderGetStatus(encoder, &encStatus)},
            {"status", VeskVideoDecoderGetStatus(decoder, &decStatus)},
            {"statistics", VeskVideoEncoderGetChrStatistics(encoder, &encStatistics)},
            {"statistics", VeskVideoDecoderGetChrStatistics(decoder, &decStatistics)},
        };
        Check({std::begin(done), std::end(done)});
        const Words encoding = {i != 0, 100 + i, 200 + i, 60 - i, 70 + i, 1, i != 0};
        const Words decoding = {i != 1, 300 + i, 400 + i, 0, 80 + i, 0, 2 + i};
        EXPECT_EQ(WordsOf(encStatus), encoding);
        EXPECT_EQ(WordsOf(decStatus), decoding);
        EXPECT_EQ(WordsOf(encStatistics), WordsOf(VeskVideoEncChrStatistics{{1, i == 0, 3}}));
        EXPECT_EQ(WordsOf(decStatistics), WordsOf(VeskVideoDecChrStatistics{{1, i == 1, 1}}));
        encExpected[i].serviceData[0] = encoder, decExpected[i].serviceData[0] = decoder;
        std::copy(encoding.begin(), encoding.end(), encExpected[i].serviceData + 1);
        std::copy(decoding.begin(), decoding.end(), decExpected[i].serviceData + 1);
    }
    EXPECT_EQ(VeskVideoEncoderGetStatusInfos(4, encInfos.data(), 4 * sizeof encInfos[0]), 0U);
    EXPECT_EQ(VeskVideoDecoderGetStatusInfos(4, decInfos.data(), 4 * sizeof decInfos[0]), 0U);
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(WordsOf(encInfos[i]), WordsOf(encExpected[i]));
        EXPECT_EQ(WordsOf(decInfos[i]), WordsOf(decExpected[i]));
    }
}

FORKED_TEST(VideoService, CapabilitiesAreToldFieldByField)
{
    VeskVideoEncodeCapability encode{}, encExpected{};
    VeskVideoDecodeCapability decode{}, decExpected{};
    encExpected.maxChannel = decExpected.maxChannel = 16;
    for (const uint8_t h264 : {uint8_t{1}, uint8_t{0}}) {
        encExpected.codec[1 - h264] = {1,     {},         1944000,          32400, 3840,      16,  2160, 16,
                                       50000, h264 * 52U, (1U - h264) * 51, h264,  {1, 0, 1}, {1}, {}};
        decExpected.codec[1 - h264] = {1, {}, 1944000, 3840, 16, 2160, 16, h264, 0, {1, 0, 1}, {1}, 0};
    }
    EXPECT_EQ(VeskVideoGetEncodeCapability(&encode), 0U);
    EXPECT_EQ(VeskVideoGetDecodeCapability(&decode), 0U);
    EXPECT_EQ(WordsOf(encode), WordsOf(encExpected));
    EXPECT_EQ(WordsOf(decode), WordsOf(decExpected));
    VeskVideoCapability capability{};
    for (const auto& [type, value] : std::map<uint32_t, uint32_t>{{0, 3}, {1, 2}, {2, 16}, {3, 16}}) {
        EXPECT_EQ(VeskVideoGetCapability(type, &capability), 0U);
        EXPECT_EQ(WordsOf(capability), (Words{type, value}));
    }
    EXPECT_EQ(VeskVideoGetCapability(4, &capability), uint32_t{VESK_SERVICE_ERR_VALUE});
}

FORKED_TEST(VideoService, CamerasMoveAndRememberPresets)
{
    const uint32_t net = Number(VeskVideoViOpen, 2U), camera = Number(VeskVideoViOpen, 0U);
    uint32_t commands = 0;
    std::vector<Words> results;
    const struct {
        int32_t command, times;
        uint32_t result;
        int32_t pan, tilt, panBoundary, tiltBoundary;
    } moves[] = {
        {VESK_SERVICE_CAM_LEFT, 9, 0, -9, 0, 0, 0},      {VESK_SERVICE_CAM_LEFT, 3, 0, -10, 0, -1, 0},
        {VESK_SERVICE_CAM_UP, 12, 0, -10, 10, -1, 1},    {VESK_SERVICE_CAM_RIGHT, 1, 0, -9, 10, 0, 1},
        {VESK_SERVICE_CAM_DOWN, 2, 0, -9, 8, 0, 0},      {0, 1, 0, -9, 8, 0, 0},
        {VESK_VIDEO_CAM_CTRL_MAX, 1, 0, -9, 8, 0, 0},    {VESK_SERVICE_CAM_DOWN, 19, 0, -9, -10, 0, -1},
        {-1, 1, VESK_SERVICE_ERR_VALUE, -9, -10, 0, -1}, {23, 1, VESK_SERVICE_ERR_VALUE, -9, -10, 0, -1},
    };
    for (const auto& m : moves) {
        for (int i = 0; i < m.times; ++i) {
            EXPECT_EQ(SendRaw(VESK_VIDEO_MSG_CAMERA_CONTROL, camera, "", 0, static_cast<uint32_t>(m.command)),
                      m.result);
            results.push_back({0, static_cast<uint32_t>(m.command), m.result});
        }
        commands += m.result == 0 ? static_cast<uint32_t>(m.times) : 0;
        VeskServiceCameraState state{};
        VeskVideoBoundaryState boundary{};
        EXPECT_EQ(VeskVideoCamControl(camera, VESK_VIDEO_CAM_CTRL_QUERY, &state, sizeof state), 0U);
        EXPECT_EQ(WordsOf(state), WordsOf(VeskServiceCameraState{m.pan, m.tilt, commands}));
        EXPECT_EQ(VeskVideoCamGetBoundaryState(camera, &boundary), 0U);
        EXPECT_EQ(WordsOf(boundary), WordsOf(VeskServiceBoundary{m.panBoundary, m.tiltBoundary}));
    }
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, results.size()), results);

    for (const auto& [engine, id] : {std::pair(camera, 7U), std::pair(camera, 4U), std::pair(net, 5U)}) {
        const VeskVideoPresetInfo preset{static_cast<uint8_t>(id), {}, id};
        EXPECT_EQ(VeskVideoCamSetPreset(engine, &preset), 0U);
    }
    EXPECT_EQ(Number(VeskVideoCamGetPresetCount), 3U);
    for (const auto& [selector, listed] : std::map<uint32_t, Words>{{0, {4, 4, 7, 7, 5, 5, 0, 0}},
                                                                    {camera, {4, 4, 7, 7, 0, 0, 0, 0}},
                                                                    {net, {5, 5, 0, 0, 0, 0, 0, 0}}}) {
        VeskVideoPresetInfo presets[1024] = {{9, {}, 9}};
        EXPECT_EQ(VeskVideoCamQueryPreset(selector, presets, 2), 0U);
        EXPECT_EQ(WordsOf(std::to_array({presets[0], presets[1]})),
                  Words(listed.begin(), listed.begin() + 4));
        EXPECT_EQ(VeskVideoCamQueryPreset(selector, presets, 1024), 0U);
        const std::array four = {presets[0], presets[1], presets[2], presets[3]};
        EXPECT_EQ(WordsOf(four), listed);
    }
    for (const uint32_t count : {0U, 1025U})
        EXPECT_EQ(SendRaw(VESK_VIDEO_MSG_QUERY_PRESET, camera, "", 0, count),
                  uint32_t{VESK_SERVICE_ERR_VALUE});
    uint8_t tracks = 9, focused = 9;
    for (const bool started : {false, true}) {
        Check({{"tracks", VeskVideoGetViPortPtStatus(camera, &tracks)},
               {"has focus", VeskVideoGetViPortAFStatus(camera, &focused)}});
        EXPECT_EQ(tracks, started ? 1 : 0);
        EXPECT_EQ(focused, started ? 1 : 0);
        Check({{"track", VeskVideoExecutViPortTrackingParam(camera),
                started ? 0U : uint32_t{VESK_SERVICE_ERR_STATE}},
               {"start", VeskVideoViStart(camera), started ? uint32_t{VESK_SERVICE_ERR_STATE} : 0U},
               {"track", VeskVideoExecutViPortTrackingParam(camera)}});
    }
}

FORKED_TEST(VideoService, LinksSayWhatADisplayShows)
{
    const uint32_t input = Number(VeskVideoViOpen, 2U);
    Number(VeskVideoViOpen, 0U); // the number of which is a decoder's, too
    const uint32_t decoder = Number(VeskVideoDecoderCreate) + Number(VeskVideoDecoderCreate) / 2;
    std::vector<Words> links;
    for (const auto& [isDec, source, viPort, name] :
         {std::tuple(0, 0U, -1, "HDMI-OUT-2"), std::tuple(0, input, 2, "NET-CAMERA"),
          std::tuple(5, decoder, -1, "HDMI-OUT-2")}) {
        const uint32_t engine = Number(VeskVideoVoOpen, 1U);
        VeskVideoVoMultiPicParam sources{};
        sources.picNum = source != 0 ? 1 : 0;
        sources.subPic[0].inputId = source;
        sources.subPic[0].decFlag = static_cast<uint8_t>(isDec);
        VeskVideoDisplayLink link{viPort, "", static_cast<uint8_t>(isDec != 0), {}, engine, {}};
        std::strcpy(link.portName, name);
        links.push_back(WordsOf(link));
        Check({{"source", VeskVideoVoSetSrc(engine, &sources)},
               {"start", VeskVideoVoStart(engine)},
               {"stop", VeskVideoVoStop(engine)},
               {"start, not for the first time", VeskVideoVoStart(engine)},
               {"close", VeskVideoVoClose(engine)}});
    }
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, 3), links);
    EXPECT_EQ(Arrived(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, 3), links);
}

FORKED_TEST(VideoService, WhatHappensIsNotified)
{
    uint32_t encoders[6], decoder = Number(VeskVideoDecoderCreate), loops[2],
                          other = Number(VeskVideoDecoderCreate);
    const VeskVideoEncParam param = EncoderParam();
    const VeskVideoDecParam decParam = DecoderParam();
    const VeskVideoWallpaperParam wallpaper{};
    for (uint32_t& encoder : encoders) {
        encoder = Number(VeskVideoEncoderCreate);
        EXPECT_EQ(VeskVideoEncoderSetParam(encoder, &param), 0U);
        EXPECT_EQ(VeskVideoEncoderStart(encoder), 0U);
    }
    for (uint32_t i = 0; i < 2; ++i)
        loops[i] = Number(VeskVideoSetStreamLoop, encoders[i], i == 0 ? decoder : other, 1U);
    const uint32_t off = Number(VeskVideoSetStreamLoop, encoders[3], decoder, 1U);
    Check({{"stop one of six", VeskVideoEncoderStop(encoders[5])},
           {"stop one of five", VeskVideoEncoderStop(encoders[0])},
           {"stop one of four", VeskVideoEncoderStop(encoders[1])},
           {"loop", VeskVideoSetStreamLoopEnable(loops[0], 3)},
           {"loop", VeskVideoSetStreamLoopEnable(loops[1], 1)},
           {"loop", VeskVideoSetStreamLoopEnable(off, 1)},
           {"loop", VeskVideoSetStreamLoopEnable(off, 0)},
           {"param", VeskVideoDecoderSetParam(decoder, &decParam)},
           {"start", VeskVideoDecoderStart(decoder)},
           {"wallpaper", VeskVideoSetDynamicWallpapersStm(&wallpaper)},
           {"wallpaper", VeskVideoSetDynamicWallpapersStm(&wallpaper)},
           {"annotation", VeskVideoSetAnnotationStatus(1, 2, 7)}});
    const std::map<uint32_t, std::vector<Words>> expected = {
        {VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY, {{7}}},
        {VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, {{3, 0}, {1, 0}, {1, 0}, {0, 0}}},
        {VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, {{encoders[4], 1}, {encoders[5], 1}, {encoders[0], 0}}},
        {VESK_VIDEO_ON_DECODE_STATUS_NOTIFY, {{decoder, 1}}},
        {VESK_VIDEO_ON_IFREAME_REQUEST, {{encoders[0]}}},
        {VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY, {{1}, {2}}}};
    for (const auto& [id, payloads] : expected)
        EXPECT_EQ(Arrived(id, payloads.size()), payloads) << id;
}

FORKED_TEST(VideoService, QueuesComeWithTheirOwners)
{
    const uint32_t camera = Number(VeskVideoViOpen, 0U);
    EXPECT_EQ(SendRaw(VESK_VIDEO_MSG_GET_VI_QUE_HANDLE, camera, ""), uint32_t{VESK_SERVICE_ERR_NOT_YET});
    std::thread starter([camera] {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        VeskVideoViStart(camera);
    });
    const uint32_t queue = Number(VeskVideoViGetQueHandle, camera); // waits for it
    starter.join();
    Number(VeskVideoCreateOverlayChannel, 100U, 0U);
    const uint32_t overlay = Number(VeskVideoGetOverlayQueHandle, 100U);
    EXPECT_EQ(Number(VeskVideoViGetQueHandle, camera), queue);
    HostQueueState state{};
    for (const auto& [id, name] : {std::pair(queue, "vi_1"), std::pair(overlay, "overlay_100")}) {
        ASSERT_EQ(HostQueueFind(id, &state), 0U);
        EXPECT_EQ(state.creator, service.Process());
        EXPECT_EQ(state.count, 32U);
        EXPECT_STREQ(state.name, name);
    }
    Check({{"close", VeskVideoViClose(camera)}, {"destroy", VeskVideoDestroyOverlayChannel(100)}});
    EXPECT_NE(HostQueueFind(queue, &state), 0U);
    EXPECT_NE(HostQueueFind(overlay, &state), 0U);

    const uint32_t mine = Number(VeskVideoBuffCreateQueue);
    ASSERT_EQ(HostQueueFind(mine, &state), 0U);
    EXPECT_STREQ(state.name, "vid_2k_2000_0");
    EXPECT_STREQ(state.peerProcName, "VIDEO");
    Check({{"destroy", VeskVideoBuffDestroyQueue(mine)},
           {"destroy again", VeskVideoBuffDestroyQueue(mine), VESK_SERVICE_ERR_NUMBER},
           {"announce again", SendRaw(VESK_VIDEO_MSG_CREATE_QUEUE, 0, "", 0, mine)}});
}

FORKED_TEST(VideoService, ThingsHaveStatesAndThereIsRoomForSoMany)
{
    for (const Thing& thing : kThings) {
        SCOPED_TRACE(thing.what);
        std::vector<uint32_t> numbers(thing.most);
        for (uint32_t i = 0; i < thing.most; ++i)
            EXPECT_EQ(thing.create(i, &numbers[i]), 0U);
        EXPECT_EQ(std::set(numbers.begin(), numbers.end()).size(), thing.most);
        uint32_t more = 0xcdcdcdcd;
        EXPECT_EQ(thing.create(thing.most, &more), thing.full);
        EXPECT_EQ(more, 0xcdcdcdcdU);
        const uint32_t first = numbers[0];
        if (thing.prepare != nullptr)
            Check({{"start unprepared", thing.start(first), VESK_SERVICE_ERR_STATE},
                   {"prepare", thing.prepare(first)}});
        if (thing.start != nullptr)
            Check({{"stop unstarted", thing.stop(first), VESK_SERVICE_ERR_STATE},
                   {"start", thing.start(first)},
                   {"start twice", thing.start(first), VESK_SERVICE_ERR_STATE},
                   {"stop another", thing.stop(numbers[1]), VESK_SERVICE_ERR_STATE},
                   {"stop", thing.stop(first)},
                   {"stop twice", thing.stop(first), VESK_SERVICE_ERR_STATE},
                   {"start again", thing.start(first)}});
        if (thing.remove == nullptr)
            continue;
        Check({{"remove", thing.remove(first)},
               {"remove twice", thing.remove(first), VESK_SERVICE_ERR_NUMBER}});
        if (thing.start != nullptr)
            Check({{"start a removed one", thing.start(first), VESK_SERVICE_ERR_NUMBER},
                   {"stop a removed one", thing.stop(first), VESK_SERVICE_ERR_NUMBER}});
        EXPECT_EQ(thing.create(0, &more), 0U);
        EXPECT_EQ(std::count(numbers.begin() + 1, numbers.end(), more), 0);
        EXPECT_NE(thing.create(thing.most, &more), 0U);
    }
}

FORKED_TEST(VideoService, ListsHaveRoomForSoMany)
{
    const uint32_t camera = Number(VeskVideoViOpen, 0U);
    const auto preset = [camera](uint8_t isValid) {
        return [=](uint32_t i) {
            const VeskVideoPresetInfo info{isValid, {}, i};
            return VeskVideoCamSetPreset(camera, &info);
        };
    };
    const auto window = [](auto request) {
        return [request](uint32_t i) {
            const VeskVideoFilterWindow entry{{i, 0}};
            return request(7U, 1U, &entry);
        };
    };
    const auto server = [](uint32_t i) {
        return VeskVideoAdvancedQueueClientInit(std::to_string(i).c_str());
    };
    const auto client = [](uint32_t i) {
        VeskVideoInitInfo info{};
        std::snprintf(info.procName, sizeof info.procName, "client-%u", i);
        std::strcpy(info.taskName, "VAPI");
        return SendRaw(VESK_VIDEO_MSG_INIT, 0, {reinterpret_cast<const char*>(&info), sizeof info});
    };
    const auto leave = [](uint32_t) { return VeskVideoExit(); };
    const struct {
        const char* what;
        uint32_t most;
        std::function<uint32_t(uint32_t)> add;
        bool isSet; // what is there already is taken
        std::function<uint32_t(uint32_t)> remove;
    } lists[] = {
        {"presets", 64, preset(1), true, preset(0)},
        {"windows", 1024, window(VeskVideoAddFilterWindows), false, window(VeskVideoDeleteFilterWindows)},
        {"servers", 64, server, true, nullptr},
        {"clients but for this one", 255, client, true, leave}};
    for (const auto& list : lists) {
        SCOPED_TRACE(list.what);
        for (uint32_t i = 0; i < list.most; ++i)
            ASSERT_EQ(list.add(i), 0U) << i;
        EXPECT_EQ(list.add(list.most), uint32_t{VESK_SERVICE_ERR_ROOM});
        EXPECT_EQ(list.add(5), list.isSet ? 0U : uint32_t{VESK_SERVICE_ERR_ROOM});
        if (list.remove == nullptr)
            continue;
        EXPECT_EQ(list.remove(5), 0U);
        EXPECT_EQ(list.add(list.most), 0U);
        EXPECT_EQ(list.add(list.most + 1), uint32_t{VESK_SERVICE_ERR_ROOM});
    }
}

FORKED_TEST(Application, A1024QueuesAreAnnouncedUntilACreatorEnds)
{
    const auto create = [] {
        return Child::Fork([] {
            for (uint32_t i = 0, queue = 0; i < 64; ++i)
                if (VeskVideoBuffCreateQueue(&queue) != 0)
                    _exit(1);
            std::puts("created");
            std::fflush(stdout);
            pause();
        });
    };
    const Child service = StartService();
    std::vector<Child> creators;
    std::vector<uint32_t> queues; // one of each creator's
    for (int i = 0; i < 16; ++i) {
        creators.push_back(create());
        EXPECT_TRUE(creators.back().AwaitOutput("created"));
        queues.push_back(static_cast<uint32_t>(creators.back().Process()) << 10);
    }
    uint32_t queue = 0;
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), uint32_t{VESK_SERVICE_ERR_ROOM});
    creators.pop_back();
    for (uint32_t i = 0; i < 64; ++i)
        EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), 0U);
    EXPECT_EQ(VeskVideoBuffCreateQueue(&queue), uint32_t{VESK_SERVICE_ERR_ROOM});
    creators.clear();
    HostQueueState state{};
    for (const uint32_t any : queues)
        EXPECT_NE(HostQueueFind(any, &state), 0U); // removes what its creator has left
}

FORKED_TEST(Application, WhatItHeldIsFreeOnceItHasLeftOrIsDead)
{
    const Child service = StartService();
    for (const bool leaves : {true, false}) {
        Child held = Child::Fork([leaves] {
            g_name = "held";
            VeskVideoInit();
            std::puts(FillAll() && (!leaves || VeskVideoExit() == 0) && Number(VeskVideoGetVoCount) == 2
                          ? "filled"
                          : "full");
            std::fflush(stdout);
            pause();
        });
        EXPECT_TRUE(held.AwaitOutput("filled"));
        if (leaves) {
            Child next = Child::Fork([] { _exit(FillAll() && VeskVideoExit() == 0 ? 42 : 1); });
            EXPECT_EQ(next.Wait(), 42); // while the first still lives
        }
    }
    VeskVideoInit();
    EXPECT_TRUE(FillAll());
}

FORKED_TEST(VideoService, WhatCannotBeIsRefused)
{
    const uint32_t camera = Number(VeskVideoViOpen, 0U), pc = Number(VeskVideoViOpen, 1U);
    const uint32_t output = Number(VeskVideoVoOpen, 0U), mouse = Number(VeskVideoRemoteMouseOpen, uint8_t{1});
    const uint32_t encoder = Number(VeskVideoEncoderCreate), decoder = Number(VeskVideoDecoderCreate);
    uint32_t number = 7;
    VeskServiceCameraState state{};
    const VeskVideoPresetInfo preset{1, {}, 1}, missing{0, {}, 2};
    const VeskVideoAppInParam app{};
    const VeskVideoUvcParam uvc{};
    const VeskVideoOverlayParam overlay{};
    VeskVideoDisplayInfo mode{};
    VeskVideoVoMultiPicParam source{}, tooMany{};
    source.picNum = 2;
    source.subPic[0].inputId = camera;
    source.subPic[1].inputId = 99;
    tooMany.picNum = VESK_VIDEO_MAX_SUBPIC_NUM + 1;
    std::string modeBytes(sizeof mode, '\0');
    modeBytes[0] = 3;
    const auto encoded = [&](uint32_t w, uint32_t h, uint32_t fr) {
        const VeskVideoEncParam param = EncoderParam(w, h, fr);
        return VeskVideoEncoderSetParam(encoder, &param);
    };
    const auto decoded = [&](uint32_t w, uint32_t h) {
        const VeskVideoDecParam param = DecoderParam(w, h);
        return VeskVideoDecoderSetParam(decoder, &param);
    };
    const auto sourced = [&](uint8_t decFlag, uint32_t inputId) {
        source.subPic[1].decFlag = decFlag, source.subPic[1].inputId = inputId;
        return VeskVideoVoSetSrc(output, &source);
    };
    const auto listed = [](auto list, auto info, uint32_t count) {
        std::vector<decltype(info)> infos(count + 1);
        return list(infos.data(), count);
    };
    const auto init = [](std::string process, std::string task) {
        process.resize(16), task.resize(16);
        return SendRaw(VESK_VIDEO_MSG_INIT, 0, process + task);
    };
    const std::string raw(reinterpret_cast<const char*>(&tooMany), sizeof tooMany);
    Check({
        {"an unknown request", SendRaw(4, 0, ""), VESK_SERVICE_ERR_REQUEST},
        {"a long one", SendRaw(65535, 0, std::string(100000, 'x')), VESK_SERVICE_ERR_REQUEST},
        {"no process name", init("", "VAPI"), VESK_SERVICE_ERR_VALUE},
        {"an endless one", init(std::string(16, 'x'), "VAPI"), VESK_SERVICE_ERR_VALUE},
        {"a control character", init("a\nb", "VAPI"), VESK_SERVICE_ERR_VALUE},
        {"another", init("a\x7f", "VAPI"), VESK_SERVICE_ERR_VALUE},
        {"no task name", init("a", ""), VESK_SERVICE_ERR_VALUE},
        {"no inputs", SendRaw(VESK_VIDEO_MSG_GET_VI_PORT, 0, ""), VESK_SERVICE_ERR_VALUE},
        {"four inputs", listed(VeskVideoGetViPort, VeskVideoViPortInfo{}, 4), VESK_SERVICE_ERR_VALUE},
        {"no outputs", SendRaw(VESK_VIDEO_MSG_GET_VO_PORT, 0, ""), VESK_SERVICE_ERR_VALUE},
        {"three outputs", listed(VeskVideoGetVoPort, VeskVideoVoPortInfo{}, 3), VESK_SERVICE_ERR_VALUE},
        {"an open input", VeskVideoViOpen(0, &number), VESK_SERVICE_ERR_BUSY},
        {"an open output", VeskVideoVoOpen(0, &number), VESK_SERVICE_ERR_BUSY},
        {"nothing is plugged in", VeskVideoViStart(pc), VESK_SERVICE_ERR_UNPLUGGED},
        {"a PC has no camera", VeskVideoCamControl(pc, 1, nullptr, 0), VESK_SERVICE_ERR_STATE},
        {"a PC has no presets", VeskVideoCamSetPreset(pc, &preset), VESK_SERVICE_ERR_STATE},
        {"a preset that is not there", VeskVideoCamSetPreset(camera, &missing), VESK_SERVICE_ERR_NUMBER},
        {"a query of another size", VeskVideoCamControl(camera, 16, &state, 8), 1},
        {"an application without a task",
         SendRaw(VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM, camera, std::string(sizeof app, '\0')),
         VESK_SERVICE_ERR_VALUE},
        {"too many pictures", SendRaw(VESK_VIDEO_MSG_SET_VO_SRC, output, raw), VESK_SERVICE_ERR_VALUE},
        {"no such input", sourced(0, 99), VESK_SERVICE_ERR_NUMBER},
        {"no such decoder", sourced(1, 99), VESK_SERVICE_ERR_NUMBER},
        {"a decoder", sourced(1, decoder)},
        {"display mode 3", SendRaw(VESK_VIDEO_MSG_SET_DISPLAY_MODE, 0, modeBytes), VESK_SERVICE_ERR_VALUE},
        {"a narrow picture", encoded(15, 16, 60), VESK_SERVICE_ERR_VALUE},
        {"a low picture", encoded(16, 15, 60), VESK_SERVICE_ERR_VALUE},
        {"a wide picture", encoded(3841, 2160, 60), VESK_SERVICE_ERR_VALUE},
        {"a high picture", encoded(3840, 2161, 60), VESK_SERVICE_ERR_VALUE},
        {"a fast picture", encoded(3840, 2160, 61), VESK_SERVICE_ERR_VALUE},
        {"a rate without a picture", VeskVideoEncoderModifyFrameRate(encoder, 1), VESK_SERVICE_ERR_STATE},
        {"the smallest", encoded(16, 16, 0)},
        {"the largest", encoded(3840, 2160, 60)},
        {"no rate", VeskVideoEncoderModifyFrameRate(encoder, 0), VESK_SERVICE_ERR_VALUE},
        {"too high a rate", VeskVideoEncoderModifyFrameRate(encoder, 61), VESK_SERVICE_ERR_VALUE},
        {"the lowest rate", VeskVideoEncoderModifyFrameRate(encoder, 1)},
        {"the highest rate", VeskVideoEncoderModifyFrameRate(encoder, 60)},
        {"a stopped one's key frame", VeskVideoEncoderForceKeyFrame(encoder), VESK_SERVICE_ERR_STATE},
        {"a low picture", decoded(16, 15), VESK_SERVICE_ERR_VALUE},
        {"the largest", decoded(3840, 2160)},
        {"no such encoder", VeskVideoSetStreamLoop(99, decoder, 1, &number), VESK_SERVICE_ERR_NUMBER},
        {"no such decoder", VeskVideoSetStreamLoop(encoder, 99, 1, &number), VESK_SERVICE_ERR_NUMBER},
        {"connected to no decoder", VeskVideoRemoteMouseConnect(mouse, 99), VESK_SERVICE_ERR_NUMBER},
        {"unconnected", VeskVideoRemoteMouseStart(mouse), VESK_SERVICE_ERR_STATE},
        {"UVC without init", VeskVideoUvcOpen(&number), 1},
        {"init", VeskVideoUvcInit()},
        {"UVC", VeskVideoUvcOpen(&number)},
        {"numbered from 0", number},
        {"set", VeskVideoUvcSetStmParam(0, &uvc)},
        {"a stopped one's key frame", VeskVideoUvcForceKeyFrame(0), 1},
        {"start", VeskVideoUvcStartStream(0)},
        {"key frame", VeskVideoUvcForceKeyFrame(0)},
        {"deinit", VeskVideoUvcDeinit()},
        {"its streams are closed", VeskVideoUvcStopStream(0), VESK_SERVICE_ERR_NUMBER},
        {"UVC after deinit", VeskVideoUvcOpen(&number), 1},
        {"overlay", VeskVideoCreateOverlayChannel(5, 0, &number)},
        {"its layer", number, 1},
        {"the next one", VeskVideoCreateOverlayChannel(3, 0, &number)},
        {"its layer", number, 2},
        {"the same channel", VeskVideoCreateOverlayChannel(5, 0, &number), VESK_SERVICE_ERR_BUSY},
        {"a long channel", SendRaw(VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM, 1ULL << 32, ""),
         VESK_SERVICE_ERR_NUMBER},
        {"enabled unset", VeskVideoEnableOverlay(5, 1), VESK_SERVICE_ERR_STATE},
        {"set", VeskVideoSetOverlayParam(5, &overlay)},
        {"enabled", VeskVideoEnableOverlay(5, 1)},
        {"a server without a name", SendRaw(VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT, 0, std::string(1, '\0')),
         VESK_SERVICE_ERR_VALUE},
        {"a projection without objects", VeskVideoSetAndroidProjection(1, nullptr), VESK_SERVICE_ERR_STATE},
        {"no objects", SendRaw(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS, 0, ""), VESK_SERVICE_ERR_VALUE},
        {"objects", SendRaw(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS, 1, "")},
        {"a projection", VeskVideoSetAndroidProjection(1, nullptr)},
    });
    VeskVideoCallbackInfo forwarded{};
    EXPECT_EQ(VeskVideoSetCallback(&forwarded), 0U);
    EXPECT_EQ(VeskVideoExit(), 0U);
    EXPECT_EQ(VeskVideoSetCallback(&forwarded), uint32_t{VESK_SERVICE_ERR_STATE}); // of nobody it knows
}

FORKED_TEST(VideoService, EveryRequestRefusesPayloadsOfAnotherLengthAndUnknownNumbers)
{
    for (const Thing& thing : kThings) {
        uint32_t number = 0;
        EXPECT_EQ(thing.create(0, &number), 0U); // number 1, the same as 0x100000001 when it is cut off
    }
    std::set<uint16_t> found;
    for (const auto& request : kRequests) {
        SCOPED_TRACE(request.name);
        const size_t size = request.payload.size;
        std::vector<std::string> payloads;
        if (request.payload.kind == Kind::kRecord)
            payloads = {"", std::string(size - 1, 'x'), std::string(size + 1, 'x')};
        else if (request.payload.kind == Kind::kArray)
            payloads = {std::string(size, 'x'), std::string(4 * size - 1, 'x')}; // for three entries
        else if (request.payload.kind == Kind::kText) // needs its NUL, and no other
            payloads = {"", std::string(size, 'x') + '\0', "text", std::string("a\0b\0", 4)};
        else if (request.payload.kind == Kind::kNone)
            payloads = {"x"};
        for (const std::string& payload : payloads)
            EXPECT_EQ(SendRaw(request.number, 3, payload, 1, 3), uint32_t{VESK_SERVICE_ERR_LENGTH});

        const bool isByNumber =
            std::any_of(std::begin(request.arguments), std::end(request.arguments), [](const auto& argument) {
                const std::string name = argument.Name();
                return name.ends_with("No") || name == "port" || name == "viPort" || name == "voPort" ||
                       name == "loop" || name == "queHandle" || name == "overlayChn" || name == "sourceId" ||
                       name == "imageParam1" || name == "presetSelector";
            });
        const bool isChosen = request.number == VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM;
        if (!isByNumber || isChosen || request.answer.kind == Kind::kUnanswered)
            continue;
        std::string payload(request.payload.kind == Kind::kRecord ? size : 0, '\0');
        if (request.payload.kind == Kind::kText)
            payload.assign("x\0", 2);
        EXPECT_EQ(SendRaw(request.number, 0x100000001, payload, 99, 98), uint32_t{VESK_SERVICE_ERR_NUMBER});
        found.insert(request.number);
    }
    EXPECT_GT(found.size(), 60U);
    EXPECT_EQ(Number(VeskVideoCamGetPresetCount), 0U);
}
