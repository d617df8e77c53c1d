// The virtual service's model, family by family: what it refuses, what it notifies, what it keeps. What it
// does when all is well, the tour of the device shows.
#include "service/service_fixture.h"
#include "vesk_host/queue.h"
#include "vesk_video/message_list.h"

#include <array>
#include <functional>

using vesk::messages::Kind;
using vesk::messages::kRequests;

namespace {

class ModelTest : public ServiceTest {
protected:
    void SetUp() override
    {
        ASSERT_EQ(VeskVideoInit(), 0U);
        Install();
    }

    Child service_ = StartService();
};

VeskVideoEncParam Picture()
{
    VeskVideoEncParam param{};
    param.w = 1280, param.h = 720, param.fr = 30;
    return param;
}

struct Expectation {
    const char* what;
    uint32_t result;
    uint32_t expected;
};

void Check(const std::vector<Expectation>& expectations)
{
    for (const Expectation& e : expectations)
        EXPECT_EQ(e.result, e.expected) << e.what;
}

} // namespace

TEST_F(ModelTest, EveryRequestRefusesPayloadsOfAnotherLength)
{
    for (const auto& request : kRequests) {
        SCOPED_TRACE(request.name);
        std::vector<size_t> lengths;
        if (request.payload.kind == Kind::kRecord)
            lengths = {0, request.payload.size - 1, request.payload.size + 1};
        else if (request.payload.kind == Kind::kArray)
            lengths = {request.payload.size, 4 * request.payload.size - 1}; // for three entries
        else if (request.payload.kind == Kind::kText)
            lengths = {0, request.payload.size + 1};
        else if (request.payload.kind == Kind::kNone)
            lengths = {1};
        for (const size_t length : lengths) {
            const VeskVideoMsgHead head{0, request.number, 1, 3, 3, 0};
            const std::string payload(length, 'x');
            EXPECT_EQ(VeskVideoSendSyncMsgWithoutResponse(&head, length == 0 ? nullptr : payload.data(),
                                                          static_cast<uint32_t>(length)),
                      uint32_t{VESK_SERVICE_ERR_LENGTH});
        }
        if (request.payload.kind == Kind::kText) { // a text needs its NUL, and no other
            EXPECT_EQ(SendRaw(request.number, 0, "text"), uint32_t{VESK_SERVICE_ERR_LENGTH});
            EXPECT_EQ(SendRaw(request.number, 0, std::string("a\0b\0", 4)),
                      uint32_t{VESK_SERVICE_ERR_LENGTH});
        }
    }
    uint32_t count = 0;
    EXPECT_EQ(VeskVideoCamGetPresetCount(&count), 0U);
    EXPECT_EQ(count, 0U);
}

TEST_F(ModelTest, UnknownNumbersAreRefusedEverywhere)
{
    uint32_t number = 0;
    uint8_t status = 0;
    const VeskVideoFilterWindow window{};
    const VeskVideoUvcParam uvc{};
    const VeskVideoOverlayParam overlay{};
    const VeskVideoEptzParams eptz{};
    VeskVideoEncStatus encStatus;
    VeskVideoDecChrStatistics decStatistics;
    VeskVideoPresetInfo preset{1, {}, 1};
    const std::vector<std::pair<const char*, uint32_t>> results = {
        {"input port", VeskVideoViOpen(3, &number)},
        {"input engine", VeskVideoViStart(99)},
        {"camera", VeskVideoCamControl(99, 1, nullptr, 0)},
        {"preset's camera", VeskVideoCamSetPreset(99, &preset)},
        {"preset selector", VeskVideoCamQueryPreset(99, &preset, 1)},
        {"framed port", VeskVideoSetViPortEptzParam(91, &eptz)},
        {"status", VeskVideoGetViPortPtStatus(99, &status)},
        {"virtual source", VeskVideoSetVirtualViSrc(99, "path")},
        {"filter", VeskVideoDeleteFilterWindows(99, 1, &window)},
        {"window", VeskVideoVoNotifyWindowDestroyed(99, nullptr)},
        {"default image", VeskVideoVoSetDefaultImage(99, 0, "path")},
        {"encoder", VeskVideoEncoderStart(99)},
        {"encoder status", VeskVideoEncoderGetStatus(99, &encStatus)},
        {"decoder", VeskVideoDecoderSetAntiJitter(99, 1)},
        {"decoder statistics", VeskVideoDecoderGetChrStatistics(99, &decStatistics)},
        {"looped channels", VeskVideoSetStreamLoop(99, 99, 1, &number)},
        {"loop", VeskVideoSetStreamLoopEnable(99, 1)},
        {"remote mouse", VeskVideoRemoteMouseSetQueHandle(99, 1)},
        {"local mouse", VeskVideoLocalMouseShowEnable(99, 1)},
        {"UVC stream", VeskVideoUvcSetStmParam(99, &uvc)},
        {"overlay", VeskVideoSetOverlayParam(99, &overlay)},
        {"queue", VeskVideoBuffDestroyQueue(99)},
    };
    for (const auto& [what, result] : results)
        EXPECT_EQ(result, uint32_t{VESK_SERVICE_ERR_NUMBER}) << what;
}

TEST_F(ModelTest, InputsHaveStates)
{
    uint32_t camera = 0, pc = 0, queue = 0, count = 0;
    ASSERT_EQ(VeskVideoViOpen(0, &camera), 0U);
    ASSERT_EQ(VeskVideoViOpen(1, &pc), 0U);
    VeskServiceCameraState state{};
    const VeskVideoPresetInfo preset{1, {}, 1};
    VeskVideoBoundaryState boundary{};
    Check({
        {"opened twice", VeskVideoViOpen(0, &queue), VESK_SERVICE_ERR_BUSY},
        {"nothing is plugged in", VeskVideoViStart(pc), VESK_SERVICE_ERR_UNPLUGGED},
        {"a PC has no camera", VeskVideoCamControl(pc, 1, nullptr, 0), VESK_SERVICE_ERR_STATE},
        {"a PC has no presets", VeskVideoCamSetPreset(pc, &preset), VESK_SERVICE_ERR_STATE},
        {"tracked while stopped", VeskVideoExecutViPortTrackingParam(camera), VESK_SERVICE_ERR_STATE},
        {"stopped while stopped", VeskVideoViStop(camera), VESK_SERVICE_ERR_STATE},
        {"no stream to switch", VeskVideoViModifyInput(camera, 1), VESK_SERVICE_ERR_STATE},
        {"connected", VeskVideoViConnect(camera, 1), 0},
        {"connected twice", VeskVideoViConnect(camera, 1), VESK_SERVICE_ERR_STATE},
        {"another stream", VeskVideoViDisconnect(camera, 2), VESK_SERVICE_ERR_STATE},
        {"disabled", VeskVideoViDisable(0), 0},
        {"started while disabled", VeskVideoViStart(camera), VESK_SERVICE_ERR_DISABLED},
        {"enabled", VeskVideoViEnable(0), 0},
        {"command below 0", VeskVideoCamControl(camera, -1, nullptr, 0), VESK_SERVICE_ERR_VALUE},
        {"query of another size", VeskVideoCamControl(camera, 16, &state, 8), 1},
    });
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(VeskVideoCamControl(camera, VESK_SERVICE_CAM_LEFT, nullptr, 0), 0U);
    EXPECT_EQ(VeskVideoCamControl(camera, 16, &state, sizeof state), 0U);
    EXPECT_EQ(state.pan, -VESK_SERVICE_CAM_STEPS);
    EXPECT_EQ(VeskVideoCamGetBoundaryState(camera, &boundary), 0U);
    EXPECT_EQ(static_cast<int32_t>(boundary.serviceData[0]), -1);
    EXPECT_TRUE(Arrives(VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, 13)); // the refused command's too

    for (uint32_t id = 0; id < VESK_SERVICE_MAX_PRESETS; ++id) {
        const VeskVideoPresetInfo stored{1, {}, id};
        EXPECT_EQ(VeskVideoCamSetPreset(camera, &stored), 0U);
    }
    const VeskVideoPresetInfo tooMany{1, {}, 1000}, removed{0, {}, 3};
    EXPECT_EQ(VeskVideoCamSetPreset(camera, &tooMany), uint32_t{VESK_SERVICE_ERR_ROOM});
    EXPECT_EQ(VeskVideoCamSetPreset(camera, &removed), 0U);
    EXPECT_EQ(VeskVideoCamSetPreset(camera, &removed), uint32_t{VESK_SERVICE_ERR_NUMBER});
    EXPECT_EQ(VeskVideoCamGetPresetCount(&count), 0U);
    EXPECT_EQ(count, VESK_SERVICE_MAX_PRESETS - 1U);
}

TEST_F(ModelTest, AQueueComesWithTheStartedEngine)
{
    uint32_t camera = 0, queue = 0;
    ASSERT_EQ(VeskVideoViOpen(0, &camera), 0U);
    std::thread starter([camera] {
        std::this_thread::sleep_for(std::chrono::milliseconds(250));
        VeskVideoViStart(camera);
    });
    EXPECT_EQ(VeskVideoViGetQueHandle(camera, &queue), 0U); // waits for it
    starter.join();
    HostQueueState state{};
    ASSERT_EQ(HostQueueFind(queue, &state), 0U);
    EXPECT_EQ(state.creator, service_.Process());
    EXPECT_EQ(VeskVideoViClose(camera), 0U);
    EXPECT_NE(HostQueueFind(queue, &state), 0U);

    uint32_t mine = 0;
    EXPECT_EQ(VeskVideoBuffCreateQueue(&mine), 0U);
    ASSERT_EQ(HostQueueFind(mine, &state), 0U);
    EXPECT_STREQ(state.name, "vid_2k_2000_0");
    EXPECT_STREQ(state.peerProcName, "VIDEO");
    EXPECT_EQ(VeskVideoBuffDestroyQueue(mine), 0U);
    EXPECT_EQ(VeskVideoBuffDestroyQueue(mine), uint32_t{VESK_SERVICE_ERR_NUMBER});
}

TEST_F(ModelTest, MoreEncodersThanTheDeviceCanCarryAreNotified)
{
    const VeskVideoEncParam param = Picture();
    std::array<uint32_t, VESK_SERVICE_MAX_ENCODERS> encoders{};
    for (uint32_t& encoder : encoders)
        ASSERT_EQ(VeskVideoEncoderCreate(&encoder), 0U);
    uint32_t more = 0;
    EXPECT_EQ(VeskVideoEncoderCreate(&more), uint32_t{VESK_SERVICE_ERR_ROOM});
    VeskVideoEncParam odd = param;
    odd.w = 5;
    Check({
        {"started without parameters", VeskVideoEncoderStart(encoders[0]), VESK_SERVICE_ERR_STATE},
        {"too small a picture", VeskVideoEncoderSetParam(encoders[0], &odd), VESK_SERVICE_ERR_VALUE},
        {"key frame of a stopped one", VeskVideoEncoderForceKeyFrame(encoders[0]), VESK_SERVICE_ERR_STATE},
    });
    for (uint32_t i = 0; i <= VESK_SERVICE_ENCODERS_AT_SPEED; ++i) {
        EXPECT_EQ(CountOf(VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY), 0U);
        EXPECT_EQ(VeskVideoEncoderSetParam(encoders[i], &param), 0U);
        EXPECT_EQ(VeskVideoEncoderStart(encoders[i]), 0U);
    }
    ASSERT_TRUE(Arrives(VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY));
    EXPECT_EQ(VeskVideoEncoderModifyFrameRate(encoders[0], 61), uint32_t{VESK_SERVICE_ERR_VALUE});
    EXPECT_EQ(VeskVideoEncoderStop(encoders[0]), 0U);
    ASSERT_TRUE(Arrives(VESK_VIDEO_ON_ENCODE_STATUS_NOTIFY, 2));
    const std::lock_guard guard(g_lock);
    VeskVideoEncOverloadStatus status;
    std::memcpy(&status, g_notified.back().data.data(), sizeof status);
    EXPECT_EQ(status.encStmNo, encoders[0]);
    EXPECT_EQ(status.rts, 0U);
}

TEST_F(ModelTest, StreamsAndOverlaysHaveStates)
{
    uint32_t mouse = 0, stream = 7, layer = 0, number = 0;
    ASSERT_EQ(VeskVideoRemoteMouseOpen(1, &mouse), 0U);
    const VeskVideoUvcParam param{};
    Check({
        {"started unconnected", VeskVideoRemoteMouseStart(mouse), VESK_SERVICE_ERR_STATE},
        {"connected to no decoder", VeskVideoRemoteMouseConnect(mouse, 5), VESK_SERVICE_ERR_NUMBER},
        {"stopped while stopped", VeskVideoRemoteMouseStop(mouse), VESK_SERVICE_ERR_STATE},
        {"opened without init", VeskVideoUvcOpen(&stream), 1},
        {"no parameter record", VeskVideoLocalMouseSetParam(1, nullptr), VESK_SERVICE_ERR_LENGTH},
        {"init", VeskVideoUvcInit(), 0},
        {"opened", VeskVideoUvcOpen(&stream), 0},
        {"started unset", VeskVideoUvcStartStream(stream), VESK_SERVICE_ERR_STATE},
        {"set", VeskVideoUvcSetStmParam(stream, &param), 0},
        {"started", VeskVideoUvcStartStream(stream), 0},
        {"started twice", VeskVideoUvcStartStream(stream), VESK_SERVICE_ERR_STATE},
        {"created", VeskVideoCreateOverlayChannel(5, 0, &layer), 0},
        {"created twice", VeskVideoCreateOverlayChannel(5, 0, &layer), VESK_SERVICE_ERR_BUSY},
        {"enabled unset", VeskVideoEnableOverlay(5, 1), VESK_SERVICE_ERR_STATE},
        {"projection without objects", VeskVideoSetAndroidProjection(1, nullptr), VESK_SERVICE_ERR_STATE},
    });
    EXPECT_EQ(stream, 0U);
    for (uint32_t i = 1; i < VESK_SERVICE_MAX_UVC; ++i)
        EXPECT_EQ(VeskVideoUvcOpen(&number), 0U);
    EXPECT_EQ(number, VESK_SERVICE_MAX_UVC - 1U);
    EXPECT_EQ(VeskVideoUvcOpen(&number), 1U);
    EXPECT_EQ(VeskVideoUvcDeinit(), 0U);
    EXPECT_EQ(VeskVideoUvcStopStream(stream), uint32_t{VESK_SERVICE_ERR_NUMBER});
}

TEST_F(ModelTest, PicturesComeFromWhatIsThere)
{
    uint32_t engine = 0, camera = 0;
    ASSERT_EQ(VeskVideoVoOpen(0, &engine), 0U);
    ASSERT_EQ(VeskVideoViOpen(2, &camera), 0U);
    VeskVideoVoMultiPicParam source{};
    source.picNum = 1;
    source.subPic[0].inputId = camera;
    source.subPic[0].decFlag = 1;
    EXPECT_EQ(VeskVideoVoSetSrc(engine, &source), uint32_t{VESK_SERVICE_ERR_NUMBER}); // no such decoder
    source.subPic[0].decFlag = 0;
    EXPECT_EQ(VeskVideoVoSetSrc(engine, &source), 0U);
    EXPECT_EQ(VeskVideoVoStart(engine), 0U);
    ASSERT_TRUE(Arrives(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY));
    const std::lock_guard guard(g_lock);
    VeskVideoDisplayLink link;
    std::memcpy(&link, g_notified.back().data.data(), sizeof link);
    EXPECT_EQ(link.viPort, 2);
    EXPECT_STREQ(link.portName, "NET-CAMERA");
}

// Two walks through all families at once, and one after another, each under a name of its own.
TEST_F(ServiceTest, TwoToursOfTheDeviceRunAtOnce)
{
    const Child service = StartService();
    for (int round = 0; round < 2; ++round) {
        Child first = Child::Start(VESK_TOUR_PATH, {"first", "0", "0"});
        Child second = Child::Start(VESK_TOUR_PATH, {"second", "2", "1"});
        EXPECT_TRUE(first.AwaitOutput("all as expected"));
        EXPECT_TRUE(second.AwaitOutput("all as expected"));
        EXPECT_EQ(first.Wait(), 0);
        EXPECT_EQ(second.Wait(), 0);
    }
}
