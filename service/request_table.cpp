// The service's request table: every request of the interface, and what serves it.
#include "service/request_table.h"

#include "service/rows.h"
#include "service/scene_document.h"

#include <iterator>

namespace vesk::service {

namespace {

struct InputPorts : Things<&Service::inputs, "viPort", "port", "sourceId"> {};
struct InputEngines : Things<&Inputs::engines, "inEngNo"> {};
struct Displays : Things<&Service::outputs, "voPort", "imageParam1"> {};
struct OutputEngines : Things<&Outputs::engines, "outEngNo"> {};
struct Encoders : Things<&Codecs::encoders, "encStmNo"> {};
struct Decoders : Things<&Codecs::decoders, "decStmNo"> {};
struct Loops : Things<&Codecs::loops, "loop"> {};
struct UvcStreams : Things<&Uvc::streams, "uvcStmNo"> {};
struct RemoteMice : Things<&Mice::remote, "mouseStmNo"> {};
struct LocalMice : Things<&Mice::local, "localMouseStmNo"> {};
struct AnnouncedQueues : Things<&Queues::announced, "queHandle"> {};
struct OverlayChannels : Things<&Overlays::channels, "overlayChn"> {};

struct VideoEngines {
    using Thing = VideoEngine;

    static Thing* Find(Service& service, uint64_t number)
    {
        Thing* const input = InputEngines::Find(service, number);
        return input != nullptr ? input : OutputEngines::Find(service, number);
    }
    static consteval HeaderField Number(uint32_t request) { return FieldOf(request, {"engNo"}); }
};

constexpr Row kRows[] = {
    Served<VESK_VIDEO_MSG_INIT, &Service::Init>(),
    Served<VESK_VIDEO_MSG_EXIT, &Service::Exit>(),
    Served<VESK_VIDEO_MSG_SET_CALLBACK, &Service::SetCallback>(),

    Served<VESK_VIDEO_MSG_GET_VI_COUNT, &Inputs::GetCount>(),
    Served<VESK_VIDEO_MSG_GET_VI_PORT, &Inputs::List>(),
    ServedAt<VESK_VIDEO_MSG_OPEN_VI_PORT, InputPorts, &Inputs::Open>(),
    ServedAt<VESK_VIDEO_MSG_GET_VI_QUE_HANDLE, InputEngines, &Inputs::GetQueue>(),
    Erased<VESK_VIDEO_MSG_CLOSE_VI_PORT, InputEngines>(),
    Stored<VESK_VIDEO_MSG_SET_VI_PARAM, InputEngines, &InputEngine::param>(),
    Read<VESK_VIDEO_MSG_GET_VI_PARAM, InputEngines, &InputEngine::param>(),
    ServedAt<VESK_VIDEO_MSG_SET_VI_CONNECT, InputEngines, &Inputs::Connect>(),
    ServedAt<VESK_VIDEO_MSG_SET_VI_DISCONNECT, InputEngines, &Inputs::Disconnect>(),
    ServedAt<VESK_VIDEO_MSG_VI_START, InputEngines, &Inputs::Start>(),
    ServedAt<VESK_VIDEO_MSG_VI_STOP, InputEngines, &Startable::Stop>(),
    ServedAt<VESK_VIDEO_MSG_VI_MODIFY_INPUT, InputEngines, &Inputs::ModifyInput>(),
    ServedAt<VESK_VIDEO_MSG_ENCODER_FREEZE, InputEngines, &Inputs::Freeze>(),
    ServedAt<VESK_VIDEO_MSG_VI_ENABLE, InputPorts, &Inputs::Enable>(),
    ServedAt<VESK_VIDEO_MSG_VI_DISABLE, InputPorts, &Inputs::Disable>(),
    Attached<VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID, InputEngines, &InputEngine::faceQueue>(),
    ServedAt<VESK_VIDEO_MSG_CAMERA_CONTROL, InputEngines, &Inputs::ControlCamera>(),
    ServedAt<VESK_VIDEO_MSG_SET_PRESET, InputEngines, &Inputs::SetPreset>(),
    Served<VESK_VIDEO_MSG_GET_PRESET_COUNT, &Inputs::GetPresetCount>(),
    Served<VESK_VIDEO_MSG_QUERY_PRESET, &Inputs::QueryPresets>(),
    ServedAt<VESK_VIDEO_MSG_GET_BOUNDARY_STATE, InputEngines, &Inputs::GetBoundary>(),
    ServedAt<VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM, InputPorts, &Inputs::SetEptz>(),
    ServedAt<VESK_VIDEO_MSG_SET_VI_PTZF_PARAM, InputPorts, &Inputs::SetPtzf>(),
    ServedAt<VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM, InputEngines, &Inputs::GetEptz>(),
    ServedAt<VESK_VIDEO_MSG_GET_VI_PTZF_PARAM, InputEngines, &Inputs::GetPtzf>(),
    ServedAt<VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM, InputEngines, &Inputs::Track>(),
    ServedAt<VESK_VIDEO_MSG_GET_VI_PT_STATUS, InputEngines, &Inputs::GetPtStatus>(),
    ServedAt<VESK_VIDEO_MSG_GET_VI_AF_STATUS, InputEngines, &Inputs::GetAfStatus>(),
    Kept<VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED, InputEngines, &InputEngine::eptzMoveSpeed>(),
    ServedAt<VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM, InputPorts, &Inputs::SetVirtualSource>(),
    ServedAt<VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM, InputEngines, &Inputs::SetAppCapture>(),
    Stored<VESK_VIDEO_MSG_SET_VIO_CALLBACK, VideoEngines, &VideoEngine::vioCallback>(),

    Served<VESK_VIDEO_MSG_GET_VO_COUNT, &Outputs::GetCount>(),
    Served<VESK_VIDEO_MSG_GET_VO_PORT, &Outputs::List>(),
    ServedAt<VESK_VIDEO_MSG_OPEN_VO_PORT, Displays, &Outputs::Open>(),
    Stored<VESK_VIDEO_MSG_SET_VO_PARAM, OutputEngines, &OutputEngine::param>(),
    Read<VESK_VIDEO_MSG_GET_VO_PARAM, OutputEngines, &OutputEngine::param>(),
    Attached<VESK_VIDEO_MSG_SET_VO_QUE_HANDLE, OutputEngines, &OutputEngine::queHandle>(),
    Stored<VESK_VIDEO_MSG_SET_SCREEN_OFFSET, OutputEngines, &OutputEngine::offset>(),
    ServedAt<VESK_VIDEO_MSG_VO_START, OutputEngines, &Outputs::Start>(),
    ServedAt<VESK_VIDEO_MSG_VO_STOP, OutputEngines, &Startable::Stop>(),
    Erased<VESK_VIDEO_MSG_VO_CLOSE, OutputEngines>(),
    ServedAt<VESK_VIDEO_MSG_VO_ENABLE, Displays, &Outputs::Enable>(),
    ServedAt<VESK_VIDEO_MSG_VO_DISABLE, Displays, &Outputs::Disable>(),
    ServedAt<VESK_VIDEO_MSG_SET_VO_SRC, OutputEngines, &Outputs::SetSource>(),
    Served<VESK_VIDEO_MSG_SET_DISPLAY_MODE, &Outputs::SetDisplayMode>(),
    ServedAt<VESK_VIDEO_MSG_SET_DEFAULT_IMAGE, Displays, &Outputs::SetDefaultImage>(),
    Served<VESK_VIDEO_MSG_SET_SR_ENABLE, &Outputs::SetSr>(),
    Served<VESK_VIDEO_MSG_SET_FILTER_WINDOW, &Outputs::AddFilterWindows>(),
    Served<VESK_VIDEO_MSG_DELETE_FILTER_WINDOW, &Outputs::DeleteFilterWindows>(),
    ServedAt<VESK_VIDEO_MSG_VO_WINDOW_DESTROY, OutputEngines, &Outputs::DestroyWindow>(),

    Served<VESK_VIDEO_MSG_ENC_CREATE, &Codecs::CreateEncoder>(),
    ServedAt<VESK_VIDEO_MSG_ENC_DELETE, Encoders, &Codecs::DeleteEncoder>(),
    ServedAt<VESK_VIDEO_MSG_SET_ENC_PARAM, Encoders, &Codecs::SetEncoderParam>(),
    Attached<VESK_VIDEO_MSG_SET_ENC_QUE_HANDLE, Encoders, &EncoderChannel::queId>(),
    Read<VESK_VIDEO_MSG_GET_ENC_PARAM, Encoders, &EncoderChannel::param>(),
    ServedAt<VESK_VIDEO_MSG_ENC_START, Encoders, &Codecs::StartEncoder>(),
    ServedAt<VESK_VIDEO_MSG_ENC_STOP, Encoders, &Codecs::StopEncoder>(),
    Stored<VESK_VIDEO_MSG_SET_ENC_FEC_PARAM, Encoders, &EncoderChannel::fec>(),
    ServedAt<VESK_VIDEO_MSG_ENCODER_GET_STATUS, Encoders,
             &Codecs::GetStatus<EncoderChannel, VeskVideoEncStatus>>(),
    Served<VESK_VIDEO_MSG_ENCODER_GET_ALL_STATUS,
           &Codecs::ListStatus<&Codecs::encoders, VeskVideoEncStatusInfo>>(),
    ServedAt<VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS, Encoders,
             &Codecs::GetStatistics<EncoderChannel, VeskVideoEncChrStatistics>>(),
    ServedAt<VESK_VIDEO_MSG_ENC_FORCE_KEYFRAME, Encoders, &Codecs::ForceKeyFrame>(),
    ServedAt<VESK_VIDEO_MSG_ENC_MODIFY_FRAME_RATE, Encoders, &Codecs::ModifyFrameRate>(),
    ServedAt<VESK_VIDEO_MSG_SET_ENC_PARAM_EX, Encoders, &EncoderChannel::SetParamEx>(),
    Read<VESK_VIDEO_MSG_GET_ENC_PARAM_EX, Encoders, &EncoderChannel::paramEx>(),
    Served<VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY, &Codecs::GetEncodeCapability>(),

    Served<VESK_VIDEO_MSG_DEC_CREATE, &Codecs::CreateDecoder>(),
    ServedAt<VESK_VIDEO_MSG_DEC_DELETE, Decoders, &Codecs::DeleteDecoder>(),
    ServedAt<VESK_VIDEO_MSG_SET_DEC_PARAM, Decoders, &Codecs::SetDecoderParam>(),
    ServedAt<VESK_VIDEO_MSG_SET_DEC_PARAMEX, Decoders, &Codecs::SetDecoderParamEx>(),
    Attached<VESK_VIDEO_MSG_SET_DEC_QUE_HANDLE, Decoders, &DecoderChannel::queId>(),
    Read<VESK_VIDEO_MSG_GET_DEC_PARAM, Decoders, &DecoderChannel::param>(),
    ServedAt<VESK_VIDEO_MSG_DEC_START, Decoders, &Codecs::StartDecoder>(),
    ServedAt<VESK_VIDEO_MSG_DEC_STOP, Decoders, &Codecs::StopDecoder>(),
    ServedAt<VESK_VIDEO_MSG_DECODER_GET_STATUS, Decoders,
             &Codecs::GetStatus<DecoderChannel, VeskVideoDecStatus>>(),
    Served<VESK_VIDEO_MSG_DECODER_GET_ALL_STATUS,
           &Codecs::ListStatus<&Codecs::decoders, VeskVideoDecStatusInfo>>(),
    ServedAt<VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS, Decoders,
             &Codecs::GetStatistics<DecoderChannel, VeskVideoDecChrStatistics>>(),
    Kept<VESK_VIDEO_MSG_SET_DEC_MOVE_STATE, Decoders, &DecoderChannel::antiJitter>(),
    Served<VESK_VIDEO_MSG_GET_DECODE_CAPABILITY, &Codecs::GetDecodeCapability>(),

    Served<VESK_VIDEO_MSG_SET_LOOP_MODE, &Codecs::CreateLoop>(),
    ServedAt<VESK_VIDEO_MSG_SET_LOOP_START, Loops, &Codecs::SwitchLoop>(),

    Served<VESK_VIDEO_MSG_INIT_UVC, &Uvc::Init>(),
    Served<VESK_VIDEO_MSG_DEINIT_UVC, &Uvc::Deinit>(),
    Served<VESK_VIDEO_MSG_OPEN_UVC_PORT, &Uvc::Open>(),
    ServedAt<VESK_VIDEO_MSG_SET_UVC_PARAM, UvcStreams, &UvcStream::SetParam>(),
    Stored<VESK_VIDEO_MSG_SET_UVC_PARAM_EX, UvcStreams, &UvcStream::paramEx>(),
    ServedAt<VESK_VIDEO_MSG_START_UVC_STREAM, UvcStreams, &UvcStream::Start>(),
    ServedAt<VESK_VIDEO_MSG_STOP_UVC_STREAM, UvcStreams, &Startable::Stop>(),
    Erased<VESK_VIDEO_MSG_CLOSE_UVC_PORT, UvcStreams>(),
    ServedAt<VESK_VIDEO_MSG_UVC_REQ_I_FRAME, UvcStreams, &UvcStream::ForceKeyFrame>(),

    Served<VESK_VIDEO_MSG_OPEN_MOUSE_PORT, &Mice::OpenRemote>(),
    Attached<VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE, RemoteMice, &RemoteMouse::queId>(),
    ServedAt<VESK_VIDEO_MSG_MOUSE_CONNECT, RemoteMice, &Mice::Connect>(),
    ServedAt<VESK_VIDEO_MSG_MOUSE_START, RemoteMice, &RemoteMouse::Start>(),
    ServedAt<VESK_VIDEO_MSG_MOUSE_STOP, RemoteMice, &Startable::Stop>(),
    Erased<VESK_VIDEO_MSG_CLOSE_MOUSE_PORT, RemoteMice>(),
    ServedAt<VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA, RemoteMice, &RemoteMouse::SetArea>(),
    Created<VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE, LocalMice>(),
    ServedAt<VESK_VIDEO_MSG_START_LOCAL_MOUSE, LocalMice, &LocalMouse::Start>(),
    ServedAt<VESK_VIDEO_MSG_STOP_LOCAL_MOUSE, LocalMice, &Startable::Stop>(),
    Erased<VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE, LocalMice>(),
    Kept<VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT, LocalMice, &LocalMouse::isIndependent>(),
    Stored<VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM, LocalMice, &LocalMouse::param>(),
    Kept<VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE, LocalMice, &LocalMouse::attachId>(),
    Kept<VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE, LocalMice, &LocalMouse::isShown>(),
    Attached<VESK_VIDEO_MSG_SET_LOCAL_MOUSE_QUE_HANDLE, LocalMice, &LocalMouse::queId>(),

    Served<VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM, &Overlays::Create>(),
    ServedAt<VESK_VIDEO_MSG_GET_OVERLAY_QUE_HANDLE, OverlayChannels, &OverlayChannel::GetQueue>(),
    ServedAt<VESK_VIDEO_MSG_SET_OVERLAY_PARAM, OverlayChannels, &Overlays::SetParam>(),
    Erased<VESK_VIDEO_MSG_DESTROY_OVERLAY_PARAM, OverlayChannels>(),
    ServedAt<VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM, OverlayChannels, &OverlayChannel::Enable>(),

    Served<VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT, &Queues::InitClient>(),
    Served<VESK_VIDEO_MSG_CREATE_QUEUE, &Queues::Announce>(),
    ServedAt<VESK_VIDEO_MSG_DESTROY_QUEUE, AnnouncedQueues, &Service::DestroyQueue>(),

    Served<VESK_VIDEO_MSG_GET_CAPABILITY, &Device::GetCapability>(),
    Served<VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS, &Device::SetAndroidObjects>(),
    Served<VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION, &Device::SetAndroidProjection>(),
    Served<VESK_VIDEO_MSG_GET_SNAPSHOT, &Device::TakeSnapshot>(),
    Served<VESK_VIDEO_MSG_SET_WALLPAPER_INFO, &Device::SetWallpaper>(),
    Served<VESK_VIDEO_MSG_SET_ANNOTATION_STATUS, &Device::SetAnnotation>(),
    Served<VESK_VIDEO_MSG_VERYFY_IMAGE, &Device::VerifyImage>(),

    Served<VESK_CONTROL_STATE, &State::Get>(),
    Served<VESK_CONTROL_SCENE, &GetScenes>(),
    Served<VESK_CONTROL_PLUG, &Cables::Plug>(),
    Served<VESK_CONTROL_UNPLUG, &Cables::Unplug>(),
    Served<VESK_CONTROL_MODE, &Cables::SetMode>(),
    Served<VESK_CONTROL_RESET, &Service::Reset>(),
    Served<VESK_CONTROL_NOTIFY, &Service::SendNotification>(),
    Served<VESK_CONTROL_FAULT_ADD, &Faults::Add>(),
    Served<VESK_CONTROL_FAULT_LIST, &Faults::List>(),
    Served<VESK_CONTROL_FAULT_CLEAR, &Faults::Clear>(),
    Served<VESK_CONTROL_TIME, &Timeline::Move>(),
    Served<VESK_CONTROL_SCENARIO, &Scenario::Begin>(),
    Served<VESK_CONTROL_WATCH, &Watchers::Watch>(),
    Served<VESK_CONTROL_TICK, &Service::Tick>(),
};

consteval size_t RowsOf(uint32_t request)
{
    return static_cast<size_t>(std::count_if(std::begin(kRows), std::end(kRows),
                                             [request](const Row& row) { return row.number == request; }));
}

#define VESK_REQUEST(name, ...) static_assert(RowsOf(name) == 1, #name " needs exactly one row");
#include "vesk_video/messages.def"
#define VESK_CONTROL_REQUEST(name, ...) static_assert(RowsOf(name) == 1, #name " needs exactly one row");
#include "vesk_service/control.def"

} // namespace

void Append(Bytes& answer, BytesView bytes)
{
    answer.insert(answer.end(), bytes.begin(), bytes.end());
}

const Row* FindRow(uint32_t number)
{
    const Row* row = std::find_if(std::begin(kRows), std::end(kRows),
                                  [number](const Row& candidate) { return candidate.number == number; });
    return row != std::end(kRows) ? row : nullptr;
}

} // namespace vesk::service
