// What a service hands out numbers for, and what each request needs so that it succeeds.
#include "tools/veskctl/check/things.h"

#include "decoder/names.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace vesk::ctl::check {

namespace {

constexpr Thing kThings[] = {
    {"inEngNo", "input engine", "OPEN_VI_PORT viPort=$viPort", "CLOSE_VI_PORT inEngNo=$inEngNo", "",
     "VI_START inEngNo=$inEngNo", "VI_STOP inEngNo=$inEngNo", true},
    {"outEngNo", "output engine", "OPEN_VO_PORT voPort=$voPort", "VO_CLOSE outEngNo=$outEngNo", "",
     "VO_START outEngNo=$outEngNo", "VO_STOP outEngNo=$outEngNo", true},
    {"encStmNo", "encoder", "ENC_CREATE", "ENC_DELETE encStmNo=$encStmNo",
     "SET_ENC_PARAM encStmNo=$encStmNo w=1280 h=720 fr=30 br=2000", "ENC_START encStmNo=$encStmNo",
     "ENC_STOP encStmNo=$encStmNo"},
    {"decStmNo", "decoder", "DEC_CREATE", "DEC_DELETE decStmNo=$decStmNo",
     "SET_DEC_PARAM decStmNo=$decStmNo w=1280 h=720", "DEC_START decStmNo=$decStmNo",
     "DEC_STOP decStmNo=$decStmNo"},
    {"loop", "loop", "SET_LOOP_MODE encNo=$encStmNo decNo=$decStmNo", "", "", "", ""},
    {"overlayChn", "overlay", "CREATE_OVERLAY_CHANNEL_PARAM value=1 overlayChn=$newOverlay",
     "DESTROY_OVERLAY_PARAM overlayChn=$overlayChn", "", "", "", true},
    {"mouseStmNo", "remote mouse stream", "OPEN_MOUSE_PORT openParam=1",
     "CLOSE_MOUSE_PORT mouseStmNo=$mouseStmNo", "MOUSE_CONNECT mouseStmNo=$mouseStmNo decStmNo=$decStmNo",
     "MOUSE_START mouseStmNo=$mouseStmNo", "MOUSE_STOP mouseStmNo=$mouseStmNo"},
    {"localMouseStmNo", "local mouse stream", "OPEN_LOCAL_MOUSE",
     "CLOSE_LOCAL_MOUSE localMouseStmNo=$localMouseStmNo", "",
     "START_LOCAL_MOUSE localMouseStmNo=$localMouseStmNo",
     "STOP_LOCAL_MOUSE localMouseStmNo=$localMouseStmNo"},
    {"uvcStmNo", "UVC stream", "INIT_UVC; OPEN_UVC_PORT", "CLOSE_UVC_PORT uvcStmNo=$uvcStmNo",
     "SET_UVC_PARAM uvcStmNo=$uvcStmNo", "START_UVC_STREAM uvcStmNo=$uvcStmNo",
     "STOP_UVC_STREAM uvcStmNo=$uvcStmNo"},
    {"queHandle", "queue", "CREATE_QUEUE queHandle=$newQueue", "DESTROY_QUEUE queHandle=$queHandle", "", "",
     ""},
};

struct Row {
    std::string_view request;
    struct {
        std::string_view needs;
        std::string_view fields;
        bool mayBeRefused = false;
        bool isOfCamera = false;
        std::string_view started{}; ///< Number of a thing that must be started before it.
    } example;
};

// Requests that need more than the things whose numbers they carry, or other values than 1 in the header and
// 0 in the payload.
constexpr Row kExamples[] = {
    {"ADVANCE_QUE_CLIENT_INIT", {"", "text=queues"}},
    {"CAMERA_CONTROL", {.needs = "", .fields = "cmdType=16", .isOfCamera = true}},
    {"CREATE_OVERLAY_CHANNEL_PARAM", {"", "overlayChn=2"}},
    {"DELETE_FILTER_WINDOW",
     {"SET_FILTER_WINDOW [0].width=64 [0].height=64 filterParam=$voPort",
      "[0].width=64 [0].height=64 filterParam=$voPort"}},
    {"ENABLE_OVERLAY_PARAM", {"SET_OVERLAY_PARAM overlayChn=$overlayChn", ""}},
    {"ENC_FORCE_KEYFRAME", {.needs = "", .fields = "", .started = "encStmNo"}},
    {"ENC_MODIFY_FRAME_RATE",
     {"SET_ENC_PARAM encStmNo=$encStmNo w=1280 h=720 fr=30 br=2000", "frameRate=25"}},
    {"EXECUT_VI_TRACKING_PARAM", {.needs = "", .fields = "", .isOfCamera = true, .started = "inEngNo"}},
    {"GET_CAPABILITY", {"", "capabilityType=0"}},
    {"GET_SNAPSHOT", {"", "path=/tmp/veskctl-check.jpg voPort=$voPort"}},
    {"GET_VI_QUE_HANDLE", // it need not be there at once
     {.needs = "", .fields = "", .mayBeRefused = true, .started = "inEngNo"}},
    {"INIT_ANDROID_OBJECTS", {"", "", true}},
    {"OPEN_UVC_PORT", {"INIT_UVC", ""}},
    {"QUERY_PRESET", {"", "presetSelector=$inEngNo presetCount=1"}},
    {"SET_ANDROID_MMEDIA_PROJECTION", {"", "", true}},
    {"SET_APP_CAPTURE_PARAM", {"", "taskHandle=1"}},
    {"SET_DEC_PARAM", {"", "w=1280 h=720"}},
    {"SET_DEFAULT_IMAGE", {"", "imageParam1=$voPort imageParam2=0 text="}},
    {"SET_ENC_PARAM", {"", "w=1280 h=720 fr=30 br=2000"}},
    {"SET_ENC_PARAM_EX", {"", "exParam0=64"}},
    {"SET_FILTER_WINDOW", {"", "[0].width=64 [0].height=64 filterParam=$voPort"}},
    {"SET_LOOP_MODE", {"", "encNo=$encStmNo decNo=$decStmNo"}},
    {"SET_PRESET", {.needs = "", .fields = "isValid=1 presetId=$newPreset", .isOfCamera = true}},
    {"SET_SR_ENABLE", {"", "enable=0"}},
    {"SET_VI_CUTOUT_PARAM", {"GET_VI_CUTOUT_PARAM inEngNo=$inEngNo", ""}}, // what is to be put back
    {"SET_VI_PTZF_PARAM", {"GET_VI_PTZF_PARAM inEngNo=$inEngNo", ""}},
    {"SET_VIRTUAL_VI_PARAM", {"", "text="}},
    {"SET_VI_DISCONNECT", {"SET_VI_CONNECT inEngNo=$inEngNo stmNo=1", ""}},
    {"UVC_REQ_I_FRAME", {.needs = "", .fields = "", .started = "uvcStmNo"}},
    {"VERYFY_IMAGE", {"", "filePath=0", true}}, // an address that only the device can read
    {"VI_MODIFY_INPUT", {"SET_VI_CONNECT inEngNo=$inEngNo stmNo=2", ""}},
    {"VO_WINDOW_DESTROY",
     {"SET_VO_SRC outEngNo=$outEngNo picNum=1 subPic[0].inputId=$inEngNo subPic[0].winHandle=1", ""}},
};

} // namespace

std::span<const Thing> Things()
{
    return kThings;
}

const Thing* FindThing(std::string_view number)
{
    const auto* found = std::find_if(std::begin(kThings), std::end(kThings),
                                     [&](const Thing& thing) { return thing.number == number; });
    return found == std::end(kThings) ? nullptr : found;
}

bool IsPort(std::string_view name)
{
    return name == "viPort" || name == "voPort" || name == "port" || name == "sourceId";
}

bool IsNoticed(uint32_t request, BytesView data)
{
    constexpr uint32_t kNoticed[] = {
        VESK_VIDEO_MSG_VI_START,
        VESK_VIDEO_MSG_VI_DISABLE,
        VESK_VIDEO_MSG_ENCODER_FREEZE,
        VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM,
        VESK_VIDEO_MSG_SET_VI_PTZF_PARAM,
        VESK_VIDEO_MSG_EXECUT_VI_TRACKING_PARAM,
        VESK_VIDEO_MSG_SET_VIRTUAL_VI_PARAM,
        VESK_VIDEO_MSG_VO_START,
        VESK_VIDEO_MSG_VO_DISABLE,
        VESK_VIDEO_MSG_SET_VO_SRC,
        VESK_VIDEO_MSG_SET_SR_ENABLE,
        VESK_VIDEO_MSG_SET_FILTER_WINDOW,
        VESK_VIDEO_MSG_SET_DEFAULT_IMAGE,
        VESK_VIDEO_MSG_SET_DISPLAY_MODE,
        VESK_VIDEO_MSG_ENABLE_OVERLAY_PARAM,
        VESK_VIDEO_MSG_SET_ANNOTATION_STATUS,
        VESK_VIDEO_MSG_SET_WALLPAPER_INFO,
        VESK_VIDEO_MSG_MOUSE_START,
        VESK_VIDEO_MSG_START_LOCAL_MOUSE,
        VESK_VIDEO_MSG_START_UVC_STREAM,
    };
    const bool isCommand =
        request == VESK_VIDEO_MSG_CAMERA_CONTROL && HeadOf(data).ulParam2 != VESK_VIDEO_CAM_CTRL_QUERY;
    return isCommand || std::find(std::begin(kNoticed), std::end(kNoticed), request) != std::end(kNoticed);
}

Example ExampleOf(const messages::Request& request)
{
    const std::string_view name = decoder::ShortName(request.name);
    Example example;
    std::string_view started;
    for (const auto& [requestName, row] : kExamples) {
        if (requestName == name) {
            example = {std::string(row.needs), row.fields, row.mayBeRefused, row.isOfCamera};
            started = row.started;
        }
    }
    for (const Thing& thing : kThings) {
        const auto isThis = [&](std::string_view line) { return line.substr(0, line.find(' ')) == name; };
        if (isThis(thing.start))
            example.needs = thing.configure;
        else if (isThis(thing.stop) || thing.number == started)
            example.needs = std::string(thing.configure) + ';' + std::string(thing.start);
    }
    return example;
}

VeskVideoMsgHead HeadOf(BytesView request)
{
    VeskVideoMsgHead head{};
    std::copy_n(request.begin(), std::min(request.size(), sizeof head), reinterpret_cast<std::byte*>(&head));
    return head;
}

void SetHeader(Bytes& request, messages::HeaderField field, uint64_t value)
{
    VeskVideoMsgHead head = HeadOf(request);
    if (field == messages::HeaderField::kSubMsgID)
        head.uwSubMsgID = static_cast<uint16_t>(value);
    else if (field == messages::HeaderField::kParam1)
        head.ulParam1 = value;
    else
        head.ulParam2 = static_cast<uint32_t>(value);
    std::memcpy(request.data(), &head, sizeof head);
}

Bytes ForEntries(const messages::Request& request, Bytes data, uint64_t count)
{
    SetHeader(data, request.answer.count, count);
    if (request.payload.kind == messages::Kind::kArray)
        data.resize(sizeof(VeskVideoMsgHead) + count * request.payload.size);
    return data;
}

std::vector<std::string> LinesOf(std::string_view lines)
{
    std::vector<std::string> all;
    while (!lines.empty()) {
        const size_t end = std::min(lines.find(';'), lines.size());
        if (const size_t begin = lines.find_first_not_of(' '); begin < end)
            all.emplace_back(lines.substr(begin, end - begin));
        lines.remove_prefix(std::min(end + 1, lines.size()));
    }
    return all;
}

} // namespace vesk::ctl::check
