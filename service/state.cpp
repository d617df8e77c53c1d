// The whole state of the virtual service as a JSON document.
#include "service/state.h"

#include "decoder/json.h"
#include "decoder/text.h"
#include "service/scene_document.h"
#include "service/service.h"
#include "steering/fault.h"
#include "vesk_service/control_list.h"

#include <algorithm>

namespace vesk::service {

using decoder::Direction;
using decoder::Object;
using nlohmann::ordered_json;

namespace {

/// A list with an entry for each thing: its number, its owner, whether it is started if it can be, and what
/// @p describe adds.
template <class Thing, class Describe>
ordered_json ListOf(Numbered<Thing>& things, const char* numberName, const Describe& describe)
{
    ordered_json list = ordered_json::array();
    for (const auto& [number, thing] : things.All()) {
        ordered_json entry = Object({{numberName, number}, {"owner", Owner(thing.owner)}});
        if constexpr (std::is_base_of_v<Startable, Thing>)
            entry["started"] = thing.isStarted;
        describe(entry, thing);
        list.push_back(std::move(entry));
    }
    return list;
}

void AddMode(ordered_json& entry, const VeskControlMode& mode)
{
    entry["width"] = mode.width;
    entry["height"] = mode.height;
    entry["fr"] = mode.fr;
}

template <class Port>
ordered_json PortEntry(const Port& port, const char* numberName)
{
    ordered_json entry = Object({{numberName, port.number},
                                 {"name", port.name},
                                 {"plugged", port.CountsAsPlugged()},
                                 {"enabled", port.isEnabled}});
    AddMode(entry, port.Mode());
    return entry;
}

ordered_json CameraEntry(const InputPort& port)
{
    ordered_json entry =
        Object({{"pan", port.camera.pan}, {"tilt", port.camera.tilt}, {"commands", port.camera.commands}});
    if (port.commands.empty())
        return entry;
    entry["lastCommand"] = port.lastCommand;
    for (const auto& [cmdType, command] : port.commands)
        entry["executed"].push_back(Object({{"cmdType", cmdType},
                                            {"count", command.count},
                                            {"length", command.data.length},
                                            {"data", Hex(command.data.first)}}));
    return entry;
}

ordered_json StatisticsEntry(const VeskServiceCodecStatistics& statistics)
{
    return Object({{"starts", statistics.starts},
                   {"stops", statistics.stops},
                   {"changes", statistics.changes},
                   {"frames", statistics.frames},
                   {"keyFrames", statistics.keyFrames}});
}

ordered_json SeedOf(const Service& service)
{
    return service.Numbers() ? ordered_json(*service.Numbers()) : ordered_json();
}

/// The document about a service.
class Document {
public:
    Document(Service& service, const decoder::Decoder& decoder) : service_(service), decoder_(decoder) {}

    ordered_json Describe();

private:
    ordered_json DescribeTime();
    ordered_json DescribeInputs();
    ordered_json DescribeInputEngines();
    ordered_json DescribeOutputs();
    ordered_json DescribeOutputEngines();
    ordered_json DescribeDisplay();
    ordered_json DescribeFilterWindows();
    ordered_json DescribeEncoders();
    ordered_json DescribeDecoders();
    ordered_json DescribeLoops();
    ordered_json DescribeOverlays();
    ordered_json DescribeRemoteMice();
    ordered_json DescribeLocalMice();
    ordered_json DescribeUvcStreams();
    ordered_json DescribeQueues();
    ordered_json DescribeJobs();
    ordered_json DescribeSnapshots();
    ordered_json DescribeClients();
    ordered_json DescribeRequests();
    ordered_json DescribeFaults();
    ordered_json DescribeScenario();
    ordered_json DescribeWatchers();

    /// The fields of a request's payload.
    ordered_json FieldsOf(uint32_t request, BytesView payload);

    /// The same for its record.
    template <uint32_t request, class Record>
    ordered_json FieldsOf(const Record& record)
    {
        using Payload = typename messages::RequestTypes<request>::Payload;
        static_assert(std::is_same_v<Payload, messages::Record<Record>>,
                      "the request carries another record");
        return FieldsOf(request, BytesOf(record));
    }

    /// Adds a queue that an entry uses.
    void PutQueue(ordered_json& entry, const char* name, uint32_t queue);

    /// Adds them as a member of an entry, unless they are all 0.
    template <uint32_t request, class Record>
    void Put(ordered_json& entry, const char* name, const Record& record)
    {
        const BytesView bytes = BytesOf(record);
        if (std::any_of(bytes.begin(), bytes.end(), [](std::byte byte) { return byte != std::byte{0}; }))
            entry[name] = FieldsOf<request>(record);
    }

    Service& service_;
    const decoder::Decoder& decoder_;
};

ordered_json Document::Describe()
{
    return Object({
        {"service", Object({{"procName", service_.Self().procName},
                            {"taskName", service_.Self().taskName},
                            {"process", HostProcessNumber(HostProcessSelf())},
                            {"numbers", SeedOf(service_)}})},
        {"time", DescribeTime()},
        {"inputs", DescribeInputs()},
        {"inputEngines", DescribeInputEngines()},
        {"outputs", DescribeOutputs()},
        {"outputEngines", DescribeOutputEngines()},
        {"display", DescribeDisplay()},
        {"filterWindows", DescribeFilterWindows()},
        {"encoders", DescribeEncoders()},
        {"decoders", DescribeDecoders()},
        {"loops", DescribeLoops()},
        {"overlays", DescribeOverlays()},
        {"remoteMice", DescribeRemoteMice()},
        {"localMice", DescribeLocalMice()},
        {"uvcUsers", service_.uvc.Users()},
        {"uvcStreams", DescribeUvcStreams()},
        {"queues", DescribeQueues()},
        {"queueServers", service_.queues.Servers()},
        {"jobs", DescribeJobs()},
        {"snapshots", DescribeSnapshots()},
        {"clients", DescribeClients()},
        {"requests", DescribeRequests()},
        {"durationBoundsNs", Counters::kBoundsNs},
        {"unlistedRequests", service_.counters.Unlisted()},
        {"faults", DescribeFaults()},
        {"scenario", DescribeScenario()},
        {"watchers", DescribeWatchers()},
    });
}

ordered_json Document::FieldsOf(uint32_t request, BytesView payload)
{
    Bytes data(sizeof(VeskVideoMsgHead));
    data.insert(data.end(), payload.begin(), payload.end());
    return decoder::ToJson(decoder_.Decode({Direction::kRequest, request, data}))
        .value("payload", ordered_json::object());
}

void Document::PutQueue(ordered_json& entry, const char* name, uint32_t queue)
{
    entry[name] = queue;
    if (service_.queues.IsGone(queue))
        entry[std::string(name) + "Gone"] = true;
}

ordered_json Document::DescribeTime()
{
    VeskControlTime time{};
    service_.timeline.Move(0, &time);
    return Object({{"nowMs", time.nowMs}, {"due", time.due}, {"isStep", time.isStep != 0}});
}

ordered_json Document::DescribeInputs()
{
    ordered_json list = ordered_json::array();
    for (const InputPort& port : service_.inputs.All()) {
        ordered_json entry = PortEntry(port, "viPort");
        entry["portType"] = port.type;
        if (!port.virtualSource.empty()) {
            entry["virtualSource"] = port.virtualSource;
            entry["cable"]["plugged"] = port.isPlugged;
            AddMode(entry["cable"], port.mode);
        }
        if (port.HasCamera()) {
            entry["camera"] = CameraEntry(port);
            entry["tracking"] = port.isTracking;
            entry["presets"] = ordered_json::array();
            for (const auto& [presetId, preset] : port.presets)
                entry["presets"].push_back(Object({{"presetId", presetId}, {"isValid", preset.isValid}}));
        }
        Put<VESK_VIDEO_MSG_SET_VI_CUTOUT_PARAM>(entry, "eptz", port.eptz);
        Put<VESK_VIDEO_MSG_SET_VI_PTZF_PARAM>(entry, "ptzf", port.ptzf);
        list.push_back(std::move(entry));
    }
    return list;
}

ordered_json Document::DescribeInputEngines()
{
    return ListOf(service_.inputs.engines, "inEngNo", [this](ordered_json& entry, const InputEngine& engine) {
        entry["viPort"] = engine.port->number;
        if (engine.IsRunning())
            AddMode(entry["picture"], engine.Picture());
        else
            entry["noPicture"] = WordOf(engine.Shows());
        entry["streams"] = engine.streams;
        entry["queHandle"] = engine.queue.Id();
        PutQueue(entry, "faceQueue", engine.faceQueue);
        entry["frozen"] = engine.frozen;
        if (engine.frozen != 0)
            entry["frozenAtMs"] = engine.frozenAtMs;
        entry["frozenLength"] = engine.frozenData.length;
        if (engine.frozenData.length != 0)
            entry["frozenData"] = Hex(engine.frozenData.first);
        entry["eptzMoveSpeed"] = engine.eptzMoveSpeed;
        Put<VESK_VIDEO_MSG_SET_VI_PARAM>(entry, "param", engine.param);
        Put<VESK_VIDEO_MSG_SET_APP_CAPTURE_PARAM>(entry, "appInParam", engine.appInParam);
        Put<VESK_VIDEO_MSG_SET_VIO_CALLBACK>(entry, "vioCallback", engine.vioCallback);
    });
}

ordered_json Document::DescribeOutputs()
{
    ordered_json list = ordered_json::array();
    for (const Display& display : service_.outputs.All()) {
        ordered_json entry = PortEntry(display, "voPort");
        if (!display.defaultImage.empty())
            entry["defaultImage"] = display.defaultImage;
        entry["scene"] = ToJson(SceneOf(service_, display));
        entry["imageParam2"] = display.imageParam2;
        list.push_back(std::move(entry));
    }
    return list;
}

ordered_json Document::DescribeOutputEngines()
{
    return ListOf(
        service_.outputs.engines, "outEngNo", [this](ordered_json& entry, const OutputEngine& engine) {
            entry["voPort"] = engine.port->number;
            PutQueue(entry, "queHandle", engine.queHandle);
            Put<VESK_VIDEO_MSG_SET_VO_PARAM>(entry, "param", engine.param);
            Put<VESK_VIDEO_MSG_SET_SCREEN_OFFSET>(entry, "offset", engine.offset);
            Put<VESK_VIDEO_MSG_SET_VIO_CALLBACK>(entry, "vioCallback", engine.vioCallback);
            ordered_json pictures = ordered_json::array();
            if (engine.source.picNum != 0)
                pictures = FieldsOf(VESK_VIDEO_MSG_SET_VO_SRC, BytesOf(engine.source))["subPic"];
            pictures.erase(pictures.begin() + static_cast<ptrdiff_t>(engine.source.picNum), pictures.end());
            entry["subPic"] = std::move(pictures);
            if (engine.source.reserved != 0)
                entry["reserved"] = engine.source.reserved;
        });
}

ordered_json Document::DescribeDisplay()
{
    ordered_json display = Object({{"srEnabled", service_.outputs.IsSrEnabled()}});
    Put<VESK_VIDEO_MSG_SET_DISPLAY_MODE>(display, "mode", service_.outputs.DisplayInfo());
    return display;
}

ordered_json Document::DescribeFilterWindows()
{
    ordered_json list = ordered_json::array();
    for (const auto& [filterParam, window] : service_.outputs.FilterWindows())
        list.push_back(Object({{"filterParam", filterParam},
                               {"window", FieldsOf(VESK_VIDEO_MSG_SET_FILTER_WINDOW, BytesOf(window))[0]}}));
    return list;
}

ordered_json Document::DescribeEncoders()
{
    return ListOf(service_.codecs.encoders, "encStmNo",
                  [this](ordered_json& entry, const EncoderChannel& encoder) {
                      PutQueue(entry, "queHandle", encoder.queId);
                      entry["keyFrames"] = encoder.keyFrames;
                      entry["statistics"] = StatisticsEntry(service_.codecs.StatisticsOf(encoder));
                      Put<VESK_VIDEO_MSG_SET_ENC_PARAM>(entry, "param", encoder.param);
                      Put<VESK_VIDEO_MSG_SET_ENC_PARAM_EX>(entry, "paramEx", encoder.paramEx);
                      Put<VESK_VIDEO_MSG_SET_ENC_FEC_PARAM>(entry, "fec", encoder.fec);
                  });
}

ordered_json Document::DescribeDecoders()
{
    return ListOf(service_.codecs.decoders, "decStmNo",
                  [this](ordered_json& entry, const DecoderChannel& decoder) {
                      PutQueue(entry, "queHandle", decoder.queId);
                      entry["antiJitter"] = decoder.antiJitter;
                      entry["statistics"] = StatisticsEntry(service_.codecs.StatisticsOf(decoder));
                      Put<VESK_VIDEO_MSG_SET_DEC_PARAM>(entry, "param", decoder.param);
                      Put<VESK_VIDEO_MSG_SET_DEC_PARAMEX>(entry, "paramEx", decoder.paramEx);
                  });
}

ordered_json Document::DescribeLoops()
{
    return ListOf(service_.codecs.loops, "loop", [](ordered_json& entry, const Loop& loop) {
        entry["enabled"] = loop.isOn;
        entry["encNo"] = loop.param.encNo;
        entry["decNo"] = loop.param.decNo;
        entry["mode"] = loop.param.mode;
        if (loop.param.reserved != 0)
            entry["reserved"] = loop.param.reserved;
    });
}

ordered_json Document::DescribeOverlays()
{
    return ListOf(service_.overlays.channels, "overlayChn",
                  [this](ordered_json& entry, const OverlayChannel& channel) {
                      entry["enabled"] = channel.isEnabled;
                      entry["queHandle"] = channel.queue.Id();
                      entry["value"] = channel.value;
                      if (channel.hasParam)
                          entry["param"] = FieldsOf<VESK_VIDEO_MSG_SET_OVERLAY_PARAM>(channel.param);
                  });
}

ordered_json Document::DescribeRemoteMice()
{
    return ListOf(service_.mice.remote, "mouseStmNo", [this](ordered_json& entry, const RemoteMouse& mouse) {
        entry["openParam"] = mouse.openParam;
        entry["decStmNo"] = mouse.decStmNo;
        PutQueue(entry, "queHandle", mouse.queId);
        Put<VESK_VIDEO_MSG_SET_REMOTE_MOUSE_BACKGRAND_AREA>(entry, "area", mouse.area);
    });
}

ordered_json Document::DescribeLocalMice()
{
    return ListOf(service_.mice.local, "localMouseStmNo",
                  [this](ordered_json& entry, const LocalMouse& mouse) {
                      entry["attachId"] = mouse.attachId;
                      entry["independent"] = mouse.isIndependent;
                      entry["shown"] = mouse.isShown;
                      PutQueue(entry, "queHandle", mouse.queId);
                      Put<VESK_VIDEO_MSG_SET_LOCAL_MOUSE_PARAM>(entry, "param", mouse.param);
                  });
}

ordered_json Document::DescribeUvcStreams()
{
    return ListOf(service_.uvc.streams, "uvcStmNo", [this](ordered_json& entry, const UvcStream& stream) {
        entry["keyFrames"] = stream.keyFrames;
        if (stream.hasParam)
            entry["param"] = FieldsOf<VESK_VIDEO_MSG_SET_UVC_PARAM>(stream.param);
        Put<VESK_VIDEO_MSG_SET_UVC_PARAM_EX>(entry, "paramEx", stream.paramEx);
    });
}

ordered_json Document::DescribeQueues()
{
    return ListOf(service_.queues.announced, "queHandle", [](ordered_json&, const Owned&) {});
}

ordered_json Document::DescribeJobs()
{
    const Device::Jobs& jobs = service_.device.Done();
    ordered_json entry = Object({{"snapshots", jobs.snapshots},
                                 {"wallpapers", jobs.wallpapers},
                                 {"javaVm", jobs.javaVm},
                                 {"javaContext", jobs.javaContext},
                                 {"projectionResult", static_cast<int32_t>(jobs.projectionResult)},
                                 {"projectionData", jobs.projectionData}});
    Put<VESK_VIDEO_MSG_SET_WALLPAPER_INFO>(entry, "wallpaper", jobs.wallpaper);
    if (jobs.annotation)
        entry["annotation"] = Object({{"owner", Owner(jobs.annotation->owner)},
                                      {"value1", jobs.annotation->value1},
                                      {"value2", jobs.annotation->value2},
                                      {"status", jobs.annotation->status}});
    if (jobs.verification)
        entry["verification"] =
            Object({{"owner", Owner(jobs.verification->owner)},
                    {"filePath", jobs.verification->filePath},
                    {"param", FieldsOf<VESK_VIDEO_MSG_VERYFY_IMAGE>(jobs.verification->param)}});
    return entry;
}

ordered_json Document::DescribeSnapshots()
{
    ordered_json list = ordered_json::array();
    for (const Device::Snapshot& snapshot : service_.device.Snapshots())
        list.push_back(Object({{"number", snapshot.number},
                               {"owner", Owner(snapshot.owner)},
                               {"timeMs", snapshot.scene.atMs},
                               {"value2", snapshot.value2},
                               {"value3", snapshot.value3},
                               {"param", FieldsOf<VESK_VIDEO_MSG_GET_SNAPSHOT>(snapshot.param)},
                               {"scene", ToJson(snapshot.scene)}}));
    return list;
}

ordered_json Document::DescribeClients()
{
    ordered_json list = ordered_json::array();
    for (const auto& [procName, client] : service_.clients.All()) {
        list.push_back(Object({{"procName", procName},
                               {"taskName", client.taskName},
                               {"process", HostProcessNumber(client.process)},
                               {"notificationsSent", client.sent},
                               {"notificationsDropped", client.dropped},
                               {"notificationsWaiting", client.Waiting()}}));
        if (client.callback)
            list.back()["callback"] = FieldsOf<VESK_VIDEO_MSG_SET_CALLBACK>(*client.callback);
    }
    return list;
}

ordered_json Document::DescribeRequests()
{
    ordered_json list = ordered_json::array();
    for (const auto& [number, row] : service_.counters.Listed()) {
        if (row.used == 0)
            continue;
        ordered_json results = ordered_json::array();
        for (const Counters::Tally& tally : row.Results())
            results.push_back(Object({{"result", tally.result},
                                      {"resultName", decoder::ResultName(tally.result)},
                                      {"count", tally.count}}));
        list.push_back(Object(
            {{"number", number},
             {"name", decoder::ShortName(messages::FindAnyRequest(number)->name)},
             {"results", std::move(results)},
             {"otherResults", row.others},
             {"durations", Object({{"sumNs", row.durations.sumNs}, {"counts", row.durations.counts}})}}));
    }
    return list;
}

ordered_json Document::DescribeFaults()
{
    ordered_json list = ordered_json::array();
    for (const VeskControlFaultState& state : service_.faults.States()) {
        list.push_back(Object({{"fault", state.fault},
                               {"matches", state.matches},
                               {"hits", state.hits},
                               {"rule", steering::FaultText(decoder_, state.rule)}}));
    }
    return list;
}

ordered_json Document::DescribeScenario()
{
    return Object({{"steps", service_.scenario.Steps()}, {"waitingForMatch", service_.scenario.Waiting()}});
}

ordered_json Document::DescribeWatchers()
{
    ordered_json list = ordered_json::array();
    for (const auto& watcher : service_.watchers.All())
        list.push_back(Object({{"procName", watcher.task.procName},
                               {"taskName", watcher.task.taskName},
                               {"process", HostProcessNumber(watcher.task.process)},
                               {"lost", watcher.lost}}));
    return list;
}

} // namespace

ordered_json Owner(const Sender& owner)
{
    return Object({{"procName", owner.procName}, {"process", HostProcessNumber(owner.process)}});
}

std::string BoundedText(ordered_json document, size_t most)
{
    std::string text = decoder::Dump(document);
    while (text.size() > most) {
        size_t longest = 2; // an empty list cannot be cut
        std::string name;
        for (const auto& [key, section] : document.items()) {
            const size_t length = section.is_array() ? decoder::Dump(section).size() : 0;
            if (length > longest) {
                longest = length;
                name = key;
            }
        }
        if (name.empty())
            return {};
        if (!document["cut"].contains(name))
            document["cut"][name] = document[name].size();
        ordered_json& list = document[name];
        list.erase(list.begin() + static_cast<ptrdiff_t>(list.size() / 2), list.end());
        text = decoder::Dump(document);
    }
    return text;
}

Result GiveDocument(ordered_json document, Bytes* answer)
{
    const std::string text =
        BoundedText(std::move(document), VESK_VIDEO_MAX_MESSAGE_SIZE - sizeof(VeskVideoMsgHead));
    if (text.empty())
        return VESK_SERVICE_ERR_ROOM;
    const auto bytes = std::as_bytes(std::span(text));
    answer->assign(bytes.begin(), bytes.end());
    return kOk;
}

State::State(Service& service) : service_(service) {}
State::~State() = default;

Result State::Get(Bytes* document)
{
    if (decoder_ == nullptr)
        decoder_ = std::make_unique<const decoder::Decoder>();
    return GiveDocument(Document(service_, *decoder_).Describe(), document);
}

} // namespace vesk::service
