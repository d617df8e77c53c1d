// The service's dispatch: every request of the interface, and what serves it. What a request and its
// answer carry is read off the serving function's arguments, and held against the list of messages.
#include "service/request_table.h"

#include "service/service.h"

#include <array>
#include <cstring>
#include <iterator>
#include <tuple>

namespace vesk::service {

namespace {

using messages::kRequests;

struct Extent {
    static constexpr auto kNone = messages::Kind::kNone;
    static constexpr auto kRecord = messages::Kind::kRecord;
    static constexpr auto kArray = messages::Kind::kArray;
    static constexpr auto kBytes = messages::Kind::kBytes;
    messages::Kind kind;
    size_t size = 0;
};

template <class Record>
void Append(Bytes& answer, std::span<const Record> records)
{
    const auto bytes = std::as_bytes(records);
    answer.insert(answer.end(), bytes.begin(), bytes.end());
}

/// How an argument of a serving function is made from a request, and what it adds to the answer.
template <class Argument>
struct Carrier;

template <class Record>
struct Carrier<const Record&> {
    static constexpr Extent kPayload{Extent::kRecord, sizeof(Record)};
    static constexpr Extent kAnswer{Extent::kNone};
    Record record;

    explicit Carrier(const Request& request) { std::memcpy(&record, request.payload.data(), sizeof record); }
    const Record& Pass() { return record; }
    void AppendTo(Bytes&) const {}
};

template <class Record>
struct Carrier<std::span<const Record>> {
    static constexpr Extent kPayload{Extent::kArray, sizeof(Record)};
    static constexpr Extent kAnswer{Extent::kNone};
    std::vector<Record> records;

    explicit Carrier(const Request& request) : records(request.payload.size() / sizeof(Record))
    {
        if (!records.empty())
            std::memcpy(records.data(), request.payload.data(), records.size() * sizeof(Record));
    }
    std::span<const Record> Pass() { return records; }
    void AppendTo(Bytes&) const {}
};

template <class Record>
struct Carrier<Record*> {
    static constexpr Extent kPayload{Extent::kNone};
    static constexpr Extent kAnswer{Extent::kRecord, sizeof(Record)};
    Record record{};

    explicit Carrier(const Request&) {}
    Record* Pass() { return &record; }
    void AppendTo(Bytes& answer) const { Append(answer, std::span<const Record>(&record, 1)); }
};

template <class Record>
struct Carrier<std::vector<Record>*> {
    static constexpr Extent kPayload{Extent::kNone};
    static constexpr Extent kAnswer{Extent::kArray, sizeof(Record)};
    std::vector<Record> records;

    explicit Carrier(const Request&) {}
    std::vector<Record>* Pass() { return &records; }
    void AppendTo(Bytes& answer) const { Append(answer, std::span<const Record>(records)); }
};

/// An answer of any length.
template <>
struct Carrier<Bytes*> {
    static constexpr Extent kPayload{Extent::kNone};
    static constexpr Extent kAnswer{Extent::kBytes};
    Bytes bytes;

    explicit Carrier(const Request&) {}
    Bytes* Pass() { return &bytes; }
    void AppendTo(Bytes& answer) const { answer.insert(answer.end(), bytes.begin(), bytes.end()); }
};

/// A record that a table row stores or reads without a function of its own.
template <class Field>
Result Store(const Request& request, Field& field)
{
    std::memcpy(&field, request.payload.data(), sizeof field);
    return kOk;
}

template <class Field>
Result Read(const Field& field, Bytes& answer)
{
    Append(answer, std::span<const Field>(&field, 1));
    return kOk;
}

template <class... Arguments, class Function>
Result CallWith(Function function, const Request& request, Bytes& answer)
{
    std::tuple<Carrier<Arguments>...> carriers{Carrier<Arguments>(request)...};
    return std::apply(
        [&](auto&... carrier) {
            const Result result = function(carrier.Pass()...);
            if (result == kOk)
                (carrier.AppendTo(answer), ...);
            return result;
        },
        carriers);
}

template <class Part, class... Arguments>
Result Call(Part& part, Result (Part::*serve)(const Request&, Arguments...), const Request& request,
            Bytes& answer)
{
    return CallWith<Arguments...>(
        [&](Arguments... arguments) { return (part.*serve)(request, arguments...); }, request, answer);
}

template <class Part, class Thing, class... Arguments>
Result CallAt(Part& part, Thing* thing, Result (Part::*serve)(const Request&, Thing&, Arguments...),
              const Request& request, Bytes& answer)
{
    if (thing == nullptr)
        return VESK_SERVICE_ERR_NUMBER;
    return CallWith<Arguments...>(
        [&](Arguments... arguments) { return (part.*serve)(request, *thing, arguments...); }, request,
        answer);
}

/// What a serving function's arguments say of payload and answer.
struct Shape {
    Extent payload{Extent::kNone};
    Extent answer{Extent::kNone};

    constexpr void Add(const Extent& payloadPart, const Extent& answerPart)
    {
        if (payloadPart.kind != Extent::kNone)
            payload = payloadPart;
        if (answerPart.kind != Extent::kNone)
            answer = answerPart;
    }
};

template <class... Arguments>
constexpr Shape ShapeOfArguments()
{
    Shape shape;
    (shape.Add(Carrier<Arguments>::kPayload, Carrier<Arguments>::kAnswer), ...);
    return shape;
}

template <class Part, class... Arguments>
constexpr Shape ShapeOf(Result (Part::*)(const Request&, Arguments...))
{
    return ShapeOfArguments<Arguments...>();
}

template <class Thing, class Part, class... Arguments>
constexpr Shape ShapeAt(Result (Part::*)(const Request&, Thing&, Arguments...))
{
    return ShapeOfArguments<Arguments...>();
}

struct Row {
    uint16_t number;
    Shape shape;
    ServeFunction serve;
};

// The rows. @p part is a member of Service, @p place what of it is numbered, @p key the header field that
// holds the number.

/// Served by a function of a part.
#define SERVED(request, part, type, function)                                                                \
    {                                                                                                        \
        request, ShapeOf(&type::function), [](Service& service, const Request& in, Bytes& answer) {          \
            return Call(part, &type::function, in, answer);                                                  \
        }                                                                                                    \
    }

/// Served by a function of a part on the thing that the request names.
#define SERVED_AT(request, part, type, place, key, thing, function)                                          \
    {                                                                                                        \
        request, ShapeAt<type::thing>(&type::function),                                                      \
            [](Service& service, const Request& in, Bytes& answer) {                                         \
                return CallAt(part, (place).Find(in.head.key), &type::function, in, answer);                 \
            }                                                                                                \
    }

/// Stores the payload in a field of the thing that the request names.
#define STORED(request, place, key, thing, field)                                                            \
    {                                                                                                        \
        request, {{Extent::kRecord, sizeof(thing::field)}, {Extent::kNone}},                                 \
            [](Service& service, const Request& in, Bytes&) {                                                \
                auto* found = (place).Find(in.head.key);                                                     \
                return found != nullptr ? Store(in, found->field) : Result{VESK_SERVICE_ERR_NUMBER};         \
            }                                                                                                \
    }

/// Answers with a field of the thing that the request names.
#define READ(request, place, key, thing, field)                                                              \
    {                                                                                                        \
        request, {{Extent::kNone}, {Extent::kRecord, sizeof(thing::field)}},                                 \
            [](Service& service, const Request& in, Bytes& answer) {                                         \
                const auto* found = (place).Find(in.head.key);                                               \
                return found != nullptr ? Read(found->field, answer) : Result{VESK_SERVICE_ERR_NUMBER};      \
            }                                                                                                \
    }

/// Keeps a header field in a field of the thing that the request names.
#define KEPT(request, place, key, thing, field, value)                                                       \
    {                                                                                                        \
        request, {}, [](Service& service, const Request& in, Bytes&) {                                       \
            auto* found = (place).Find(in.head.key);                                                         \
            if (found == nullptr)                                                                            \
                return Result{VESK_SERVICE_ERR_NUMBER};                                                      \
            found->field = static_cast<decltype(thing::field)>(in.head.value);                               \
            return kOk;                                                                                      \
        }                                                                                                    \
    }

/// Creates a thing for the client; the answer is its number.
#define CREATED(request, place)                                                                              \
    {                                                                                                        \
        request, {{Extent::kNone}, {Extent::kRecord, sizeof(uint32_t)}},                                     \
            [](Service& service, const Request& in, Bytes& answer) {                                         \
                uint32_t number = 0;                                                                         \
                const Result result = (place).Create(in.sender, &number);                                    \
                return result == kOk ? Read(number, answer) : result;                                        \
            }                                                                                                \
    }

/// Stops the thing that the request names.
#define STOPPED(request, place, key)                                                                         \
    {                                                                                                        \
        request, {}, [](Service& service, const Request& in, Bytes&) {                                       \
            auto* found = (place).Find(in.head.key);                                                         \
            return found != nullptr ? StopIfStarted(found->isStarted) : Result{VESK_SERVICE_ERR_NUMBER};     \
        }                                                                                                    \
    }

/// Takes the thing that the request names away.
#define ERASED(request, place, key)                                                                          \
    {                                                                                                        \
        request, {}, [](Service& service, const Request& in, Bytes&) {                                       \
            if ((place).Find(in.head.key) == nullptr)                                                        \
                return Result{VESK_SERVICE_ERR_NUMBER};                                                      \
            (place).Erase(in.head.key);                                                                      \
            return kOk;                                                                                      \
        }                                                                                                    \
    }

#define INPUT_AT(request, key, function)                                                                     \
    SERVED_AT(request, service.inputs, Inputs, service.inputs.engines, key, Engine, function)
#define OUTPUT_AT(request, function)                                                                         \
    SERVED_AT(request, service.outputs, Outputs, service.outputs.engines, ulParam1, Engine, function)
#define ENCODER_AT(request, key, function)                                                                   \
    SERVED_AT(request, service.codecs, Codecs, service.codecs.encoders, key, Encoder, function)
#define DECODER_AT(request, function)                                                                        \
    SERVED_AT(request, service.codecs, Codecs, service.codecs.decoders, ulParam1, Decoder, function)
#define REMOTE_AT(request, function)                                                                         \
    SERVED_AT(request, service.mice, Mice, service.mice.remote, uwSubMsgID, Remote, function)
#define LOCAL_AT(request, function)                                                                          \
    SERVED_AT(request, service.mice, Mice, service.mice.local, uwSubMsgID, Local, function)
#define UVC_AT(request, function)                                                                            \
    SERVED_AT(request, service.uvc, Uvc, service.uvc.streams, ulParam1, Stream, function)
#define OVERLAY_AT(request, function)                                                                        \
    SERVED_AT(request, service.overlays, Overlays, service.overlays.channels, ulParam1, Channel, function)

constexpr Row kRows[] = {
    SERVED(VESK_VIDEO_MSG_INIT, service, Service, Init),
    SERVED(VESK_VIDEO_MSG_EXIT, service, Service, Exit),
    SERVED(VESK_VIDEO_MSG_SET_CALLBACK, service, Service, SetCallback),

    SERVED(VESK_VIDEO_MSG_GET_VI_COUNT, service.inputs, Inputs, GetCount),
    SERVED(VESK_VIDEO_MSG_GET_VI_PORT, service.inputs, Inputs, GetPorts),
    SERVED(VESK_VIDEO_MSG_OPEN_VI_PORT, service.inputs, Inputs, Open),
    INPUT_AT(VESK_VIDEO_MSG_GET_VI_QUE_HANDLE, ulParam1, GetQueue),
    ERASED(VESK_VIDEO_MSG_CLOSE_VI_PORT, service.inputs.engines, ulParam1),
    STORED(VESK_VIDEO_MSG_SET_VI_PARAM, service.inputs.engines, ulParam1, Inputs::Engine, param),
    READ(VESK_VIDEO_MSG_GET_VI_PARAM, service.inputs.engines, ulParam1, Inputs::Engine, param),
    INPUT_AT(VESK_VIDEO_MSG_SET_VI_CONNECT, ulParam1, Connect),
    INPUT_AT(VESK_VIDEO_MSG_SET_VI_DISCONNECT, ulParam1, Disconnect),
    INPUT_AT(VESK_VIDEO_MSG_VI_START, ulParam1, Start),
    STOPPED(VESK_VIDEO_MSG_VI_STOP, service.inputs.engines, ulParam1),
    INPUT_AT(VESK_VIDEO_MSG_VI_MODIFY_INPUT, ulParam1, ModifyInput),
    INPUT_AT(VESK_VIDEO_MSG_ENCODER_FREEZE, ulParam1, Freeze),
    SERVED(VESK_VIDEO_MSG_VI_ENABLE, service.inputs, Inputs, Enable),
    SERVED(VESK_VIDEO_MSG_VI_DISABLE, service.inputs, Inputs, Disable),
    KEPT(VESK_VIDEO_MSG_SET_CAMERA_QUEUE_ID, service.inputs.engines, uwSubMsgID, Inputs::Engine, faceQueue,
         ulParam1),
    INPUT_AT(VESK_VIDEO_MSG_CAMERA_CONTROL, ulParam1, ControlCamera),
    INPUT_AT(VESK_VIDEO_MSG_SET_PRESET, uwSubMsgID, SetPreset),
    SERVED(VESK_VIDEO_MSG_GET_PRESET_COUNT, service.inputs, Inputs, GetPresetCount),
    SERVED(VESK_VIDEO_MSG_QUERY_PRESET, service.inputs, Inputs, QueryPresets),
    INPUT_AT(VESK_VIDEO_MSG_GET_BOUNDARY_STATE, uwSubMsgID, GetBoundary),
    STORED(VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM, Inputs::ByPort{service.inputs}, uwSubMsgID, Inputs::Port,
           eptz),
    STORED(VESK_VIDEO_MSG_SET_VI_PTZF_PARAM, Inputs::ByPort{service.inputs}, uwSubMsgID, Inputs::Port, ptzf),
    READ(VESK_VIDEO_MSG_GET_VI_CUTOUT_PARAM, Inputs::ByEngine{service.inputs}, uwSubMsgID, Inputs::Port,
         eptz),
    READ(VESK_VIDEO_MSG_GET_VI_PTZF_PARAM, Inputs::ByEngine{service.inputs}, uwSubMsgID, Inputs::Port, ptzf),
    INPUT_AT(VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM, uwSubMsgID, Track),
    INPUT_AT(VESK_VIDEO_MSG_GET_VI_PT_STATUS, uwSubMsgID, GetPtStatus),
    INPUT_AT(VESK_VIDEO_MSG_GET_VI_AF_STATUS, uwSubMsgID, GetAfStatus),
    KEPT(VESK_VIDEO_MSG_VI_SET_EPTZ_MOVE_SPEED, service.inputs.engines, ulParam1, Inputs::Engine,
         eptzMoveSpeed, ulParam2),
    SERVED(VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM, service.inputs, Inputs, SetVirtualSource),
    INPUT_AT(VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM, ulParam1, SetAppCapture),
    STORED(VESK_VIDEO_MSG_SET_VIO_CALLBACK, service.inputs.engines, ulParam1, Inputs::Engine, vioCallback),

    SERVED(VESK_VIDEO_MSG_GET_VO_COUNT, service.outputs, Outputs, GetCount),
    SERVED(VESK_VIDEO_MSG_GET_VO_PORT, service.outputs, Outputs, GetPorts),
    SERVED(VESK_VIDEO_MSG_OPEN_VO_PORT, service.outputs, Outputs, Open),
    STORED(VESK_VIDEO_MSG_SET_VO_PARAM, service.outputs.engines, ulParam1, Outputs::Engine, param),
    READ(VESK_VIDEO_MSG_GET_VO_PARAM, service.outputs.engines, ulParam1, Outputs::Engine, param),
    KEPT(VESK_VIDEO_MSG_SET_VO_QUE_HANDLE, service.outputs.engines, ulParam1, Outputs::Engine, queHandle,
         ulParam2),
    STORED(VESK_VIDEO_MSG_SET_SCREEN_OFFSET, service.outputs.engines, ulParam1, Outputs::Engine, offset),
    OUTPUT_AT(VESK_VIDEO_MSG_VO_START, Start),
    STOPPED(VESK_VIDEO_MSG_VO_STOP, service.outputs.engines, ulParam1),
    OUTPUT_AT(VESK_VIDEO_MSG_VO_CLOSE, Close),
    SERVED(VESK_VIDEO_MSG_VO_ENABLE, service.outputs, Outputs, Enable),
    SERVED(VESK_VIDEO_MSG_VO_DISABLE, service.outputs, Outputs, Disable),
    OUTPUT_AT(VESK_VIDEO_MSG_SET_VO_SRC, SetSource),
    SERVED(VESK_VIDEO_MSG_SET_DISPLAY_MODE, service.outputs, Outputs, SetDisplayMode),
    SERVED(VESK_VIDEO_MSG_SET_DEFAULT_IMAGE, service.outputs, Outputs, SetDefaultImage),
    SERVED(VESK_VIDEO_MSG_SET_SR_ENABLE, service.outputs, Outputs, SetSr),
    SERVED(VESK_VIDEO_MSG_SET_FILTER_WINDOW, service.outputs, Outputs, AddFilterWindows),
    SERVED(VESK_VIDEO_MSG_DELETE_FILTER_WINDOW, service.outputs, Outputs, DeleteFilterWindows),
    SERVED(VESK_VIDEO_MSG_VO_WINDOW_DESTROY, service.outputs, Outputs, DestroyWindow),

    CREATED(VESK_VIDEO_MSG_ENC_CREATE, service.codecs.encoders),
    ERASED(VESK_VIDEO_MSG_ENC_DELETE, service.codecs.encoders, ulParam1),
    ENCODER_AT(VESK_VIDEO_MSG_SET_ENC_PARAM, ulParam1, SetEncoderParam),
    KEPT(VESK_VIDEO_MSG_SET_ENC_QUE_HANDLE, service.codecs.encoders, ulParam1, Codecs::Encoder, queId,
         ulParam2),
    READ(VESK_VIDEO_MSG_GET_ENC_PARAM, service.codecs.encoders, ulParam1, Codecs::Encoder, param),
    ENCODER_AT(VESK_VIDEO_MSG_ENC_START, ulParam1, StartEncoder),
    ENCODER_AT(VESK_VIDEO_MSG_ENC_STOP, ulParam1, StopEncoder),
    STORED(VESK_VIDEO_MSG_SET_ENC_FEC_PARAM, service.codecs.encoders, ulParam1, Codecs::Encoder, fec),
    ENCODER_AT(VESK_VIDEO_MSG_ENCODER_GET_STATUS, ulParam1, GetEncoderStatus),
    SERVED(VESK_VIDEO_MSG_ENCODER_GET_ALL_STATUS, service.codecs, Codecs, GetAllEncoderStatus),
    ENCODER_AT(VESK_VIDEO_MSG_ENCODER_GET_CHR_STATISTICS, ulParam1, GetEncoderStatistics),
    ENCODER_AT(VESK_VIDEO_MSG_ENC_FORCE_KEYFRAME, ulParam1, ForceKeyFrame),
    ENCODER_AT(VESK_VIDEO_MSG_ENC_MODIFY_FRAME_RATE, uwSubMsgID, ModifyFrameRate),
    ENCODER_AT(VESK_VIDEO_MSG_SET_ENC_PARAM_EX, ulParam1, SetEncoderParamEx),
    READ(VESK_VIDEO_MSG_GET_ENC_PARAM_EX, service.codecs.encoders, ulParam1, Codecs::Encoder, paramEx),
    SERVED(VESK_VIDEO_MSG_GET_ENCODE_CAPABILITY, service.codecs, Codecs, GetEncodeCapability),

    CREATED(VESK_VIDEO_MSG_DEC_CREATE, service.codecs.decoders),
    ERASED(VESK_VIDEO_MSG_DEC_DELETE, service.codecs.decoders, ulParam1),
    DECODER_AT(VESK_VIDEO_MSG_SET_DEC_PARAM, SetDecoderParam),
    STORED(VESK_VIDEO_MSG_SET_DEC_PARAMEX, service.codecs.decoders, ulParam1, Codecs::Decoder, paramEx),
    KEPT(VESK_VIDEO_MSG_SET_DEC_QUE_HANDLE, service.codecs.decoders, ulParam1, Codecs::Decoder, queId,
         ulParam2),
    READ(VESK_VIDEO_MSG_GET_DEC_PARAM, service.codecs.decoders, ulParam1, Codecs::Decoder, param),
    DECODER_AT(VESK_VIDEO_MSG_DEC_START, StartDecoder),
    DECODER_AT(VESK_VIDEO_MSG_DEC_STOP, StopDecoder),
    DECODER_AT(VESK_VIDEO_MSG_DECODER_GET_STATUS, GetDecoderStatus),
    SERVED(VESK_VIDEO_MSG_DECODER_GET_ALL_STATUS, service.codecs, Codecs, GetAllDecoderStatus),
    DECODER_AT(VESK_VIDEO_MSG_DECODER_GET_CHR_STATISTICS, GetDecoderStatistics),
    KEPT(VESK_VIDEO_MSG_SET_DEC_MOVE_STATE, service.codecs.decoders, ulParam1, Codecs::Decoder, antiJitter,
         ulParam2),
    SERVED(VESK_VIDEO_MSG_GET_DECODE_CAPABILITY, service.codecs, Codecs, GetDecodeCapability),

    SERVED(VESK_VIDEO_MSG_SET_LOOP_MODE, service.codecs, Codecs, CreateLoop),
    SERVED_AT(VESK_VIDEO_MSG_SET_LOOP_START, service.codecs, Codecs, service.codecs.loops, uwSubMsgID, Loop,
              SwitchLoop),

    SERVED(VESK_VIDEO_MSG_INIT_UVC, service.uvc, Uvc, Init),
    SERVED(VESK_VIDEO_MSG_DEINIT_UVC, service.uvc, Uvc, Deinit),
    SERVED(VESK_VIDEO_MSG_OPEN_UVC_PORT, service.uvc, Uvc, Open),
    UVC_AT(VESK_VIDEO_MSG_SET_UVC_PARAM, SetParam),
    STORED(VESK_VIDEO_MSG_SET_UVC_PARAM_EX, service.uvc.streams, ulParam1, Uvc::Stream, paramEx),
    UVC_AT(VESK_VIDEO_MSG_START_UVC_STREAM, Start),
    STOPPED(VESK_VIDEO_MSG_STOP_UVC_STREAM, service.uvc.streams, ulParam1),
    ERASED(VESK_VIDEO_MSG_CLOSE_UVC_PORT, service.uvc.streams, ulParam1),
    UVC_AT(VESK_VIDEO_MSG_UVC_REQ_I_FRAME, ForceKeyFrame),

    CREATED(VESK_VIDEO_MSG_OPEN_MOUSE_PORT, service.mice.remote),
    KEPT(VESK_VIDEO_MSG_SET_MOUSE_QUE_HANDLE, service.mice.remote, uwSubMsgID, Mice::Remote, queId, ulParam1),
    REMOTE_AT(VESK_VIDEO_MSG_MOUSE_CONNECT, Connect),
    REMOTE_AT(VESK_VIDEO_MSG_MOUSE_START, StartRemote),
    STOPPED(VESK_VIDEO_MSG_MOUSE_STOP, service.mice.remote, uwSubMsgID),
    ERASED(VESK_VIDEO_MSG_CLOSE_MOUSE_PORT, service.mice.remote, uwSubMsgID),
    STORED(VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA, service.mice.remote, ulParam1, Mice::Remote, area),
    CREATED(VESK_VIDEO_MSG_OPEN_LOCAL_MOUSE, service.mice.local),
    LOCAL_AT(VESK_VIDEO_MSG_START_LOCAL_MOUSE, StartLocal),
    STOPPED(VESK_VIDEO_MSG_STOP_LOCAL_MOUSE, service.mice.local, uwSubMsgID),
    ERASED(VESK_VIDEO_MSG_CLOSE_LOCAL_MOUSE, service.mice.local, uwSubMsgID),
    KEPT(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_INDEPENDENT, service.mice.local, ulParam1, Mice::Local, isIndependent,
         ulParam2),
    STORED(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM, service.mice.local, ulParam1, Mice::Local, param),
    KEPT(VESK_VIDEO_MSG_ATTACH_LOCAL_MOUSE, service.mice.local, ulParam1, Mice::Local, attachId, ulParam2),
    KEPT(VESK_VIDEO_MSG_LOCAL_MOUSE_SHOW_ENABLE, service.mice.local, ulParam1, Mice::Local, isShown,
         ulParam2),
    KEPT(VESK_VIDEO_MSG_SET_LOCAL_MOUSE_QUE_HANDLE, service.mice.local, uwSubMsgID, Mice::Local, queId,
         ulParam1),

    SERVED(VESK_VIDEO_MSG_CREATE_OVERLAY_CHANNEL_PARAM, service.overlays, Overlays, Create),
    OVERLAY_AT(VESK_VIDEO_MSG_GET_OVERLAY_QUE_HANDLE, GetQueue),
    OVERLAY_AT(VESK_VIDEO_MSG_SET_OVERLAY_PARAM, SetParam),
    ERASED(VESK_VIDEO_MSG_DESTROY_OVERLAY_PARAM, service.overlays.channels, ulParam1),
    OVERLAY_AT(VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM, Enable),

    SERVED(VESK_VIDEO_MSG_ADVANCE_QUE_CLIENT_INIT, service.queues, Queues, InitClient),
    SERVED(VESK_VIDEO_MSG_CREATE_QUEUE, service.queues, Queues, Announce),
    SERVED(VESK_VIDEO_MSG_DESTROY_QUEUE, service.queues, Queues, Withdraw),

    SERVED(VESK_VIDEO_MSG_GET_CAPABILITY, service.device, Device, GetCapability),
    SERVED(VESK_VIDEO_MSG_INIT_ANDROID_OBJECTS, service.device, Device, SetAndroidObjects),
    SERVED(VESK_VIDEO_MSG_SET_ANDROID_MMEDIA_PROJECTION, service.device, Device, SetAndroidProjection),
    SERVED(VESK_VIDEO_MSG_GET_SNAPSHOT, service.device, Device, TakeSnapshot),
    SERVED(VESK_VIDEO_MSG_SET_WALLPAPER_INFO, service.device, Device, SetWallpaper),
    SERVED(VESK_VIDEO_MSG_SET_ANNOTATION_STATUS, service.device, Device, SetAnnotation),
    SERVED(VESK_VIDEO_MSG_VERYFY_IMAGE, service.device, Device, VerifyImage),
};

/// True when a function can serve what the list says: it takes and gives records of the listed sizes.
/// Texts and bytes it takes from the request itself, and of an array it need not read the entries.
constexpr bool Agrees(const messages::Form& listed, const Extent& served)
{
    switch (listed.kind) {
    case messages::Kind::kRecord:
        return served.kind == Extent::kRecord && served.size == listed.size;
    case messages::Kind::kArray:
        return served.kind == Extent::kNone || (served.kind == Extent::kArray && served.size == listed.size);
    case messages::Kind::kBytes:
        return served.kind == Extent::kNone || served.kind == Extent::kBytes;
    default:
        return served.kind == Extent::kNone;
    }
}

consteval auto Join()
{
    std::array<ServedRequest, std::size(kRequests)> table{};
    for (size_t i = 0; i < table.size(); ++i) {
        table[i] = {kRequests[i], nullptr};
        for (const Row& row : kRows) {
            if (row.number == kRequests[i].number && Agrees(kRequests[i].payload, row.shape.payload) &&
                Agrees(kRequests[i].answer, row.shape.answer))
                table[i].serve = row.serve;
        }
    }
    return table;
}

constexpr auto kServed = Join();

consteval bool EveryRequestIsServed()
{
    for (const ServedRequest& served : kServed) {
        if (served.serve == nullptr)
            return false;
    }
    return std::size(kRows) == std::size(kRequests);
}
static_assert(EveryRequestIsServed(),
              "each listed request has one row that takes and gives what the list says");

} // namespace

const ServedRequest* FindRequest(uint32_t number)
{
    for (const ServedRequest& served : kServed) {
        if (served.listed.number == number)
            return &served;
    }
    return nullptr;
}

} // namespace vesk::service
