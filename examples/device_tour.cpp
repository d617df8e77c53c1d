// A tour of all requests against the virtual service: it makes each at least once, reads back what it sets,
// waits for the notifications of what it does, and closes everything again. One request can only be refused
// there: VeskVideoVerifyImage, whose path travels as an address. Exits with status 0 if all was as expected.
//
//     vesk-device-tour [PROCESS-NAME [INPUT [OUTPUT]]]
//
// Two instances can run at the same time if their names and ports differ.
#include "steps.h"

#include "vesk_service/virtual_service.h"

#include <string>
#include <vector>

using namespace steps;

namespace {

uint32_t OnNotification(uint32_t notifyId, void*, uint32_t)
{
    g_seen.Add(notifyId);
    return 0;
}

void Heading(const char* text)
{
    std::printf("\n%s\n", text);
}

void Notified(uint32_t notifyId, const char* what)
{
    g_seen.Await(notifyId);
    std::printf("  <- %u: %s\n", notifyId, what);
}

template <class Described, class Info>
Described As(const Info& info)
{
    static_assert(sizeof(Described) == sizeof(Info));
    Described described;
    std::memcpy(&described, &info, sizeof described);
    return described;
}

void ListPorts()
{
    Heading("Inputs and outputs");
    uint32_t count = 0;
    Step("VeskVideoGetViCount", VeskVideoGetViCount(&count));
    std::vector<VeskVideoViPortInfo> inputs(count);
    Step("VeskVideoGetViPort", VeskVideoGetViPort(inputs.data(), count));
    for (const VeskVideoViPortInfo& info : inputs) {
        const auto port = As<VeskServiceViPort>(info);
        std::printf("  input %u: %s, %s\n", port.port, port.name,
                    port.plugged != 0 ? "plugged" : "unplugged");
    }
    Step("VeskVideoGetVoCount", VeskVideoGetVoCount(&count));
    std::vector<VeskVideoVoPortInfo> outputs(count);
    Step("VeskVideoGetVoPort", VeskVideoGetVoPort(outputs.data(), count));
    for (const VeskVideoVoPortInfo& info : outputs) {
        const auto port = As<VeskServiceVoPort>(info);
        std::printf("  output %u: %s, %u x %u\n", port.port, port.name, port.width, port.height);
    }
    VeskVideoCapability capability;
    Step("VeskVideoGetCapability inputs", VeskVideoGetCapability(0, &capability));
    Expect(As<VeskServiceCapability>(capability).value == inputs.size(), "as many inputs as were listed");
    VeskVideoEncodeCapability encode;
    Step("VeskVideoGetEncodeCapability", VeskVideoGetEncodeCapability(&encode));
    VeskVideoDecodeCapability decode;
    Step("VeskVideoGetDecodeCapability", VeskVideoGetDecodeCapability(&decode));
    std::printf("  %u encoder channels, %u decoder channels\n", encode.maxChannel, decode.maxChannel);
}

uint32_t OpenCamera(uint32_t port)
{
    Heading("A camera: opened, framed, moved, preset stored");
    uint32_t engine = 0, queue = 0;
    Step("VeskVideoViDisable", VeskVideoViDisable(port));
    Refused("VeskVideoViOpen disabled", VeskVideoViOpen(port, &engine));
    Step("VeskVideoViEnable", VeskVideoViEnable(port));
    Step("VeskVideoViOpen", VeskVideoViOpen(port, &engine));
    const VeskVideoViPortParam wanted{1, 2, 3, 4, {}, -5, 6, -7, 8, -9, 10};
    VeskVideoViPortParam param{};
    Step("VeskVideoViSetParam", VeskVideoViSetParam(engine, &wanted));
    Step("VeskVideoViGetParam", VeskVideoViGetParam(engine, &param));
    Expect(Same(wanted, param), "input parameters are read back as they were set");
    Step("VeskVideoViConnect", VeskVideoViConnect(engine, 1));
    Step("VeskVideoViModifyInput", VeskVideoViModifyInput(engine, 2));
    Step("VeskVideoViStart", VeskVideoViStart(engine));
    Step("VeskVideoViGetQueHandle", VeskVideoViGetQueHandle(engine, &queue));
    Step("VeskVideoSetViFaceQueHandle", VeskVideoSetViFaceQueHandle(engine, queue));
    Step("VeskVideoViFreeze", VeskVideoViFreeze(engine, 1, "frozen", 6));

    Step("VeskVideoCamControl right", VeskVideoCamControl(engine, VESK_SERVICE_CAM_RIGHT, nullptr, 0));
    Notified(VESK_VIDEO_ON_CAMERA_CTRL_RESULT_NOTIFY, "the camera has moved");
    VeskServiceCameraState state{};
    Step("VeskVideoCamControl query",
         VeskVideoCamControl(engine, VESK_VIDEO_CAM_CTRL_QUERY, &state, sizeof state));
    Expect(state.pan == 1 && state.tilt == 0, "the camera stands one step to the right");
    Step("VeskVideoCamControl left", VeskVideoCamControl(engine, VESK_SERVICE_CAM_LEFT, nullptr, 0));
    VeskVideoBoundaryState boundary;
    Step("VeskVideoCamGetBoundaryState", VeskVideoCamGetBoundaryState(engine, &boundary));

    const VeskVideoPresetInfo preset{1, {}, 7};
    VeskVideoPresetInfo presets[2]{};
    uint32_t count = 0;
    Step("VeskVideoCamSetPreset", VeskVideoCamSetPreset(engine, &preset));
    Step("VeskVideoCamGetPresetCount", VeskVideoCamGetPresetCount(&count));
    Step("VeskVideoCamQueryPreset", VeskVideoCamQueryPreset(engine, presets, 2));
    Expect(count >= 1 && Same(preset, presets[0]) && presets[1].isValid == 0,
           "the preset is listed, and no other");

    VeskVideoEptzParams eptz{}, eptzRead{};
    eptz.serviceData[196] = 77;
    Step("VeskVideoSetViPortEptzParam", VeskVideoSetViPortEptzParam(port, &eptz));
    Step("VeskVideoGetViPortEptzParam", VeskVideoGetViPortEptzParam(engine, &eptzRead));
    VeskVideoPtzfParams ptzf{}, ptzfRead{};
    ptzf.serviceData[81] = 78;
    Step("VeskVideoSetViPortPtzfParam", VeskVideoSetViPortPtzfParam(port, &ptzf));
    Step("VeskVideoGetViPortPtzfParam", VeskVideoGetViPortPtzfParam(engine, &ptzfRead));
    Expect(Same(eptz, eptzRead) && Same(ptzf, ptzfRead), "framing is read back as it was set");
    Step("VeskVideoViSetEptzMoveSpeed", VeskVideoViSetEptzMoveSpeed(engine, -3));
    Step("VeskVideoExecutViPortTrackingParam", VeskVideoExecutViPortTrackingParam(engine));
    uint8_t tracks = 0, focused = 0;
    Step("VeskVideoGetViPortPtStatus", VeskVideoGetViPortPtStatus(engine, &tracks));
    Step("VeskVideoGetViPortAFStatus", VeskVideoGetViPortAFStatus(engine, &focused));
    Expect(tracks == 1 && focused == 1, "the camera tracks and is focused");

    VeskVideoAppInParam app{};
    app.taskHandle = 5;
    Step("VeskVideoSetAppCaptureParam", VeskVideoSetAppCaptureParam(engine, &app));
    // Any file that the service can read will do; the picture of one that names no size has the port's mode.
    Step("VeskVideoSetVirtualViSrc", VeskVideoSetVirtualViSrc(port, "/proc/version"));
    Step("VeskVideoSetVirtualViSrc, none", VeskVideoSetVirtualViSrc(port, ""));
    VeskVideoVioCallbackParam vio{{9}};
    Step("VeskVideoSetVioCallback", VeskVideoSetVioCallback(engine, &vio));
    std::vector<VeskVideoViPortInfo> inputs(port + 1);
    Step("VeskVideoGetViPort", VeskVideoGetViPort(inputs.data(), port + 1));
    const auto described = As<VeskServiceViPort>(inputs[port]);
    Expect(described.inEngNo == engine && described.started == 1 && described.streams == 1 &&
               described.frozenLength == 6 && described.faceQueue == queue && described.eptzMoveSpeed == -3 &&
               described.appTaskHandle[0] == 5 && described.vioCallback == 9,
           "the input's description says all that was set");
    return engine;
}

void LoopCodecs(uint32_t queue, uint32_t& encoder, uint32_t& decoder)
{
    Heading("Encoder and decoder channels, looped");
    VeskVideoEncParam enc{};
    enc.w = 1920, enc.h = 1080, enc.fr = 30, enc.br = 4000;
    VeskVideoEncParam encRead{};
    Step("VeskVideoEncoderCreate", VeskVideoEncoderCreate(&encoder));
    Step("VeskVideoEncoderSetParam", VeskVideoEncoderSetParam(encoder, &enc));
    Step("VeskVideoEncoderGetParam", VeskVideoEncoderGetParam(encoder, &encRead));
    VeskVideoEncParamEx encEx{}, encExRead{};
    encEx.exParam0 = 64;
    Step("VeskVideoEncoderSetParamEx", VeskVideoEncoderSetParamEx(encoder, &encEx));
    Step("VeskVideoEncoderGetParamEx", VeskVideoEncoderGetParamEx(encoder, &encExRead));
    Expect(Same(enc, encRead) && Same(encEx, encExRead), "encoder parameters are read back as they were set");
    const VeskVideoEncFecParam fec{0.1F, 2};
    Step("VeskVideoEncoderSetFecParam", VeskVideoEncoderSetFecParam(encoder, &fec));
    Step("VeskVideoEncoderSetQueHandle", VeskVideoEncoderSetQueHandle(encoder, queue));

    VeskVideoDecParam dec{};
    dec.w = 1920, dec.h = 1080;
    VeskVideoDecParam decRead{};
    const VeskVideoDecParamEx decEx{{1, 2}};
    Step("VeskVideoDecoderCreate", VeskVideoDecoderCreate(&decoder));
    Step("VeskVideoDecoderSetParam", VeskVideoDecoderSetParam(decoder, &dec));
    Step("VeskVideoDecoderGetParam", VeskVideoDecoderGetParam(decoder, &decRead));
    Expect(Same(dec, decRead), "decoder parameters are read back as they were set");
    Step("VeskVideoDecoderSetParamEx", VeskVideoDecoderSetParamEx(decoder, &decEx));
    Step("VeskVideoDecoderSetQueHandle", VeskVideoDecoderSetQueHandle(decoder, queue));
    Step("VeskVideoDecoderSetAntiJitter", VeskVideoDecoderSetAntiJitter(decoder, 1));

    uint32_t loop = 0;
    Step("VeskVideoSetStreamLoop", VeskVideoSetStreamLoop(encoder, decoder, 1, &loop));
    Step("VeskVideoSetStreamLoopEnable", VeskVideoSetStreamLoopEnable(loop, 1));
    Notified(VESK_VIDEO_ON_LOCAL_LOOP_STATE_NOTIFY, "the loop is on");
    Step("VeskVideoEncoderStart", VeskVideoEncoderStart(encoder));
    Step("VeskVideoDecoderStart", VeskVideoDecoderStart(decoder));
    Notified(VESK_VIDEO_ON_DECODE_STATUS_NOTIFY, "the decoder runs");
    Notified(VESK_VIDEO_ON_IFREAME_REQUEST, "it asks its encoder for a key frame");
    Step("VeskVideoEncoderForceKeyFrame", VeskVideoEncoderForceKeyFrame(encoder));
    Step("VeskVideoEncoderModifyFrameRate", VeskVideoEncoderModifyFrameRate(encoder, 25));

    VeskVideoEncStatus encStatus;
    VeskVideoDecStatus decStatus;
    Step("VeskVideoEncoderGetStatus", VeskVideoEncoderGetStatus(encoder, &encStatus));
    Step("VeskVideoDecoderGetStatus", VeskVideoDecoderGetStatus(decoder, &decStatus));
    const auto encoding = As<VeskServiceCodecStatus>(encStatus);
    Expect(encoding.started == 1 && encoding.frameRate == 25 && encoding.queId == queue &&
               encoding.keyFrames == 1 && As<VeskServiceCodecStatus>(decStatus).queId == queue &&
               As<VeskServiceCodecStatus>(decStatus).state == 1,
           "the status of both channels says all that was set");
    VeskVideoEncStatusInfo encInfos[VESK_SERVICE_MAX_ENCODERS]{};
    VeskVideoDecStatusInfo decInfos[VESK_SERVICE_MAX_ENCODERS]{};
    Step("VeskVideoEncoderGetStatusInfos",
         VeskVideoEncoderGetStatusInfos(VESK_SERVICE_MAX_ENCODERS, encInfos, sizeof encInfos));
    Step("VeskVideoDecoderGetStatusInfos",
         VeskVideoDecoderGetStatusInfos(VESK_SERVICE_MAX_ENCODERS, decInfos, sizeof decInfos));
    VeskVideoEncChrStatistics encStatistics;
    VeskVideoDecChrStatistics decStatistics;
    Step("VeskVideoEncoderGetChrStatistics", VeskVideoEncoderGetChrStatistics(encoder, &encStatistics));
    Step("VeskVideoDecoderGetChrStatistics", VeskVideoDecoderGetChrStatistics(decoder, &decStatistics));
    Expect(encStatistics.serviceData[0] == 1 && decStatistics.serviceData[0] == 1, "each was started once");
}

void ComposePicture(uint32_t port, uint32_t queue, uint32_t input, uint32_t decoder)
{
    Heading("A picture composed on a display");
    uint32_t engine = 0;
    Step("VeskVideoVoDisable", VeskVideoVoDisable(port));
    Refused("VeskVideoVoOpen disabled", VeskVideoVoOpen(port, &engine));
    Step("VeskVideoVoEnable", VeskVideoVoEnable(port));
    Step("VeskVideoVoOpen", VeskVideoVoOpen(port, &engine));
    const VeskVideoVoPortParam wanted{1920, 1080, 60, -1, 2, -3, 4, -5, 1, {}};
    VeskVideoVoPortParam param{};
    Step("VeskVideoVoSetParam", VeskVideoVoSetParam(engine, &wanted));
    Step("VeskVideoVoGetParam", VeskVideoVoGetParam(engine, &param));
    Expect(Same(wanted, param), "output parameters are read back as they were set");
    Step("VeskVideoVoSetOffset", VeskVideoVoSetOffset(engine, 16, -9));
    Step("VeskVideoVoSetQueHandle", VeskVideoVoSetQueHandle(engine, queue));
    VeskVideoVoMultiPicParam source{};
    source.picNum = 2;
    source.subPic[0].inputId = input;
    source.subPic[1].decFlag = 1;
    source.subPic[1].inputId = decoder;
    source.subPic[1].winHandle = 99;
    Step("VeskVideoVoSetSrc", VeskVideoVoSetSrc(engine, &source));
    VeskVideoDisplayInfo mode{};
    mode.displayMode = VESK_SERVICE_DISPLAY_EACH;
    mode.fps = 60;
    Step("VeskVideoVoSetDisplayMode", VeskVideoVoSetDisplayMode(&mode));
    Step("VeskVideoVoSetDefaultImage", VeskVideoVoSetDefaultImage(port, 0, "/media/default.png"));
    Step("VeskVideoVoSetByomSrEnable", VeskVideoVoSetByomSrEnable(1));
    const VeskVideoFilterWindow windows[] = {{{1, 0}}, {{2, 0}}};
    Step("VeskVideoAddFilterWindows", VeskVideoAddFilterWindows(port, 2, windows));
    Step("VeskVideoDeleteFilterWindows", VeskVideoDeleteFilterWindows(port, 2, windows));
    Step("VeskVideoVoStart", VeskVideoVoStart(engine));
    Notified(VESK_VIDEO_ON_DISPLAY_FIRST_FRAME_NOTIFY, "the display shows its first frame");
    // The number of a window travels as a pointer.
    void* const window = reinterpret_cast<void*>(uintptr_t{99}); // NOLINT(performance-no-int-to-ptr)
    Step("VeskVideoVoNotifyWindowDestroyed", VeskVideoVoNotifyWindowDestroyed(engine, window));
    std::vector<VeskVideoVoPortInfo> outputs(port + 1);
    Step("VeskVideoGetVoPort", VeskVideoGetVoPort(outputs.data(), port + 1));
    const auto described = As<VeskServiceVoPort>(outputs[port]);
    Expect(described.outEngNo == engine && described.xOffset == 16 && described.yOffset == -9 &&
               described.queHandle == queue && described.pictures == 1 && described.displayFps == 60 &&
               described.srEnabled == 1 && std::string(described.defaultImage) == "/media/default.png",
           "the output's description says all that was set");
    Step("VeskVideoVoStop", VeskVideoVoStop(engine));
    Step("VeskVideoVoClose", VeskVideoVoClose(engine));
    Notified(VESK_VIDEO_ON_DISPLAY_DESTROY_LINK_NOTIFY, "the link was taken down");
}

void MovePointers(uint32_t queue, uint32_t decoder)
{
    Heading("Mouse streams");
    uint32_t remote = 0, local = 0;
    Step("VeskVideoRemoteMouseOpen", VeskVideoRemoteMouseOpen(1, &remote));
    Step("VeskVideoRemoteMouseSetQueHandle", VeskVideoRemoteMouseSetQueHandle(remote, queue));
    Refused("VeskVideoRemoteMouseStart unconnected", VeskVideoRemoteMouseStart(remote));
    Step("VeskVideoRemoteMouseConnect", VeskVideoRemoteMouseConnect(remote, decoder));
    const VeskVideoMouseArea area{{0, 0, 640, 480}};
    Step("VeskVideoRemoteMouseSetBackgroundArea", VeskVideoRemoteMouseSetBackgroundArea(remote, &area));
    Step("VeskVideoRemoteMouseStart", VeskVideoRemoteMouseStart(remote));
    Step("VeskVideoRemoteMouseStop", VeskVideoRemoteMouseStop(remote));
    Step("VeskVideoRemoteMouseClose", VeskVideoRemoteMouseClose(remote));

    Step("VeskVideoLocalMouseOpen", VeskVideoLocalMouseOpen(&local));
    Step("VeskVideoLocalMouseSetQueHandle", VeskVideoLocalMouseSetQueHandle(local, queue));
    const VeskVideoLocalMouseParam param{{1, 2}};
    Step("VeskVideoLocalMouseSetParam", VeskVideoLocalMouseSetParam(local, &param));
    Step("VeskVideoLocalMouseSetIndependent", VeskVideoLocalMouseSetIndependent(local, 1));
    Step("VeskVideoLocalMouseAttach", VeskVideoLocalMouseAttach(local, 3));
    Step("VeskVideoLocalMouseShowEnable", VeskVideoLocalMouseShowEnable(local, 1));
    Step("VeskVideoLocalMouseStart", VeskVideoLocalMouseStart(local));
    Step("VeskVideoLocalMouseStop", VeskVideoLocalMouseStop(local));
    Step("VeskVideoLocalMouseClose", VeskVideoLocalMouseClose(local));
}

void ShowOverlay(uint32_t queue, uint32_t channel)
{
    Heading("An overlay, a UVC stream, queues and media jobs");
    uint32_t layer = 0, handle = 0, uvc = 0;
    Step("VeskVideoCreateOverlayChannel", VeskVideoCreateOverlayChannel(channel, 1, &layer));
    Step("VeskVideoGetOverlayQueHandle", VeskVideoGetOverlayQueHandle(channel, &handle));
    const VeskVideoOverlayParam overlay{};
    Step("VeskVideoSetOverlayParam", VeskVideoSetOverlayParam(channel, &overlay));
    Step("VeskVideoEnableOverlay", VeskVideoEnableOverlay(channel, 1));
    Step("VeskVideoDestroyOverlayChannel", VeskVideoDestroyOverlayChannel(channel));

    const VeskVideoUvcParam uvcParam{};
    const VeskVideoUvcParamEx uvcParamEx{};
    Step("VeskVideoUvcInit", VeskVideoUvcInit());
    Step("VeskVideoUvcOpen", VeskVideoUvcOpen(&uvc));
    Step("VeskVideoUvcSetStmParam", VeskVideoUvcSetStmParam(uvc, &uvcParam));
    Step("VeskVideoUvcSetStmParamEx", VeskVideoUvcSetStmParamEx(uvc, &uvcParamEx));
    Step("VeskVideoUvcStartStream", VeskVideoUvcStartStream(uvc));
    Step("VeskVideoUvcForceKeyFrame", VeskVideoUvcForceKeyFrame(uvc));
    Step("VeskVideoUvcStopStream", VeskVideoUvcStopStream(uvc));
    Step("VeskVideoUvcClose", VeskVideoUvcClose(uvc));

    Step("VeskVideoBuffDestroyQueue", VeskVideoBuffDestroyQueue(queue));
    Step("VeskVideoAdvancedQueueClientInit", VeskVideoAdvancedQueueClientInit("audio"));

    VeskVideoSnapshotParam snapshot{};
    snapshot.taskId = 5;
    Step("VeskVideoGetSnapshot", VeskVideoGetSnapshot(&snapshot, 1, 2));
    const VeskVideoWallpaperParam wallpaper{};
    Step("VeskVideoSetDynamicWallpapersStm", VeskVideoSetDynamicWallpapersStm(&wallpaper));
    Notified(VESK_VIDEO_ON_WALLPAPER_DEC_OK_NOTIFY, "the wallpaper is decoded");
    Step("VeskVideoSetAnnotationStatus", VeskVideoSetAnnotationStatus(1, 2, 1));
    Notified(VESK_VIDEO_ON_DATA_AUX_ANNOTATION_CAP_READY_NOTIFY, "annotation is ready");
    const VeskVideoVerifyImageReq verify{};
    Refused("VeskVideoVerifyImage, by address", VeskVideoVerifyImage("/media/image.bin", &verify));
    int object = 0;
    Step("VeskVideoSetAndroidContext", VeskVideoSetAndroidContext(&object, &object));
    Step("VeskVideoSetAndroidProjection", VeskVideoSetAndroidProjection(-1, &object));
}

} // namespace

int main(int argc, char** argv)
{
    g_processName = argc > 1 ? argv[1] : "device_tour";
    const auto number = [&](int index) {
        return argc > index ? static_cast<uint32_t>(std::strtoul(argv[index], nullptr, 10)) : 0;
    };
    const uint32_t input = number(2);
    const uint32_t output = number(3);
    Step("VeskVideoInit", VeskVideoInit());
    VeskVideoCallbackInfo callback{};
    callback.notifyCallback = OnNotification;
    Step("VeskVideoSetCallback", VeskVideoSetCallback(&callback));
    const VeskVideoCallbackInfo forService{}; // without a callback, the record goes to the service
    Step("VeskVideoSetCallback for the service", VeskVideoSetCallback(&forService));
    Notified(VESK_VIDEO_ON_VI_PORT_PIXEL_INFO_NOTIFY, "inputs are announced");

    ListPorts();
    const uint32_t camera = OpenCamera(input);
    uint32_t queue = 0, encoder = 0, decoder = 0;
    Step("VeskVideoBuffCreateQueue", VeskVideoBuffCreateQueue(&queue));
    Step("VeskVideoActivateQueue", VeskVideoActivateQueue(queue, 1));
    LoopCodecs(queue, encoder, decoder);
    ComposePicture(output, queue, camera, decoder);
    MovePointers(queue, decoder);
    ShowOverlay(queue, 100 + input);

    Heading("All closed");
    Step("VeskVideoEncoderStop", VeskVideoEncoderStop(encoder));
    Step("VeskVideoEncoderDelete", VeskVideoEncoderDelete(encoder));
    Step("VeskVideoDecoderStop", VeskVideoDecoderStop(decoder));
    Notified(VESK_VIDEO_ON_DECODE_STATUS_NOTIFY, "the decoder has stopped");
    Step("VeskVideoDecoderDelete", VeskVideoDecoderDelete(decoder));
    Step("VeskVideoViStop", VeskVideoViStop(camera));
    Step("VeskVideoViDisconnect", VeskVideoViDisconnect(camera, 2));
    Step("VeskVideoViClose", VeskVideoViClose(camera));
    Refused("VeskVideoViStart closed", VeskVideoViStart(camera));
    Step("VeskVideoUvcDeinit", VeskVideoUvcDeinit());
    Step("VeskVideoExit", VeskVideoExit());
    std::printf("\nall as expected\n");
}
