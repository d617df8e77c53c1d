// The subcommand "device state": what the virtual service holds.
#include "decoder/json.h"
#include "decoder/text.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/state.h"
#include "tools/veskctl/table.h"

namespace vesk::ctl {

using namespace decoder;
using nlohmann::ordered_json;

namespace {

using Row = std::vector<std::string>;

std::string QueueText(uint32_t queue)
{
    char text[12];
    std::snprintf(text, sizeof text, "0x%x", queue);
    return text;
}

/// Words about a thing, with commas between them.
class Details {
public:
    /// Adds words, unless there are none.
    Details& Add(const std::string& words)
    {
        if (!words.empty())
            text_ += (text_.empty() ? "" : ", ") + words;
        return *this;
    }

    /// Adds words and a number or text, unless it is missing, 0 or empty.
    Details& Add(const std::string& words, const ordered_json& thing, const char* name)
    {
        const ordered_json value = thing.value(name, ordered_json());
        if (value.is_string())
            return value.get<std::string>().empty() ? *this : Add(words + value.get<std::string>());
        return value.is_null() || value == 0 ? *this : Add(words + value.dump());
    }

    Details& AddIf(const ordered_json& thing, const char* name, const char* words)
    {
        return thing.value(name, false) ? Add(words) : *this;
    }

    /// The same for a queue.
    Details& AddQueue(const std::string& words, const ordered_json& thing, const char* name)
    {
        const auto queue = thing.value(name, uint32_t{0});
        const bool isGone = thing.contains(std::string(name) + "Gone");
        return queue == 0 ? *this : Add(words + QueueText(queue) + (isGone ? " (gone)" : ""));
    }

    const std::string& Text() const { return text_; }

private:
    std::string text_;
};

/// Of a list of numbers or, by the name of a member, of things.
std::string Numbers(const ordered_json& list, const char* member = nullptr)
{
    std::string text;
    for (const ordered_json& entry : list)
        text += (text.empty() ? "" : " ") + (member != nullptr ? entry.at(member) : entry).dump();
    return text;
}

std::string Started(const ordered_json& thing)
{
    return thing.at("started").get<bool>() ? "started" : "stopped";
}

// Rows; the number of a thing comes before its row.

Row PortRow(const ordered_json& port, const Details& details)
{
    const std::string picture = PictureText(port, "width", "height");
    return {port.at("name").get<std::string>(), port.at("plugged").get<bool>() ? "plugged" : "unplugged",
            port.at("enabled").get<bool>() ? "" : "disabled", picture.empty() ? "no picture" : picture,
            details.Text()};
}

Row InputRow(const ordered_json& port)
{
    Details details;
    if (port.contains("camera")) {
        const ordered_json& camera = port["camera"];
        details.Add("pan " + camera.at("pan").dump() + " tilt " + camera.at("tilt").dump() + " after " +
                    camera.at("commands").dump() + " commands");
        details.AddIf(port, "tracking", "tracking");
        if (!port.at("presets").empty())
            details.Add("presets " + Numbers(port["presets"], "presetId"));
    }
    details.Add("from ", port, "virtualSource");
    return PortRow(port, details);
}

Row OutputRow(const ordered_json& port)
{
    const ordered_json& scene = port.at("scene");
    Details details;
    if (scene.at("outEngNo") != 0)
        details.Add(scene.at("showing").get<std::string>() + " with " +
                    std::to_string(scene.at("layers").size()) + " layers");
    details.Add("default image ", port, "defaultImage").Add("image parameter ", port, "imageParam2");
    return PortRow(port, details);
}

Row InputEngineRow(const ordered_json& engine)
{
    Details details;
    if (!engine.at("streams").empty())
        details.Add("streams " + Numbers(engine["streams"]));
    details.AddQueue("queue ", engine, "queHandle").AddQueue("face queue ", engine, "faceQueue");
    if (engine.contains("appInParam"))
        details.Add("captured by an application");
    if (engine.at("frozen") != 0)
        details.Add("frozen since " + engine.at("frozenAtMs").dump() + " ms with " +
                    engine.at("frozenLength").dump() + " bytes");
    details.Add("EPTZ speed ", engine, "eptzMoveSpeed");
    std::string picture;
    if (engine.contains("picture"))
        picture = PictureText(engine["picture"], "width", "height");
    else if (kInputEngines.IsRunning(engine))
        picture = "no picture: " + engine.at("noPicture").get<std::string>();
    return {kInputs.NameIn(engine), Started(engine), OwnerText(engine), picture, details.Text()};
}

Row OutputEngineRow(const ordered_json& engine)
{
    Details details;
    for (const ordered_json& picture : engine.at("subPic")) {
        std::string words = SourceText(picture);
        if (picture.at("winHandle") != 0)
            words += " in window " + picture["winHandle"].dump();
        details.Add(words);
    }
    if (engine.contains("offset"))
        details.Add("offset " + engine["offset"].at("xOffset").dump() + ' ' +
                    engine["offset"].at("yOffset").dump() + " pixels");
    details.AddQueue("queue ", engine, "queHandle");
    return {kOutputs.NameIn(engine), Started(engine), OwnerText(engine), details.Text()};
}

Row ChannelRow(const ordered_json& channel)
{
    const ordered_json param = channel.value("param", Object({{"w", 0}, {"h", 0}}));
    const ordered_json& statistics = channel.at("statistics");
    Details details;
    details.Add("bit rate ", param, "br").AddQueue("queue ", channel, "queHandle");
    details.Add("anti-jitter ", channel, "antiJitter");
    details.Add("starts ", statistics, "starts").Add("stops ", statistics, "stops");
    details.Add("changes ", statistics, "changes").Add("frames ", statistics, "frames");
    details.Add("key frames ", statistics, "keyFrames");
    return {Started(channel), OwnerText(channel), PictureText(param, "w", "h"), details.Text()};
}

Row LoopRow(const ordered_json& loop)
{
    return {kLoops.IsRunning(loop) ? "on" : "off", OwnerText(loop),
            kEncoders.NameIn(loop, "encNo") + " to " + kDecoders.NameIn(loop, "decNo") + ", mode " +
                loop.at("mode").dump()};
}

Row OverlayRow(const ordered_json& overlay)
{
    Details details;
    if (overlay.contains("param"))
        details.Add("on " + kOutputs.NameIn(overlay["param"], "display"))
            .Add("picture ", overlay["param"], "picture");
    details.AddQueue("queue ", overlay, "queHandle");
    return {kOverlays.IsRunning(overlay) ? "shown" : "hidden", OwnerText(overlay), details.Text()};
}

Row RemoteMouseRow(const ordered_json& mouse)
{
    return {
        Started(mouse), OwnerText(mouse),
        Details().Add("of decoder ", mouse, kDecoders.number).AddQueue("queue ", mouse, "queHandle").Text()};
}

Row LocalMouseRow(const ordered_json& mouse)
{
    Details details;
    details.Add("attached to ", mouse, "attachId").AddQueue("queue ", mouse, "queHandle");
    details.AddIf(mouse, "independent", "independent").AddIf(mouse, "shown", "shown");
    return {Started(mouse), OwnerText(mouse), details.Text()};
}

Row UvcRow(const ordered_json& stream)
{
    return {Started(stream), OwnerText(stream), Details().Add("key frames ", stream, "keyFrames").Text()};
}

Row QueueRow(const ordered_json& queue)
{
    return {QueueText(queue.at("queHandle").get<uint32_t>()), OwnerText(queue)};
}

Row ProcessRow(const ordered_json& process)
{
    return {"process " + process.dump()};
}

Row SnapshotRow(const ordered_json& snapshot)
{
    const ordered_json& param = snapshot.at("param");
    return {kOutputs.NameIn(param, "voPort"), OwnerText(snapshot),
            "at " + snapshot.at("timeMs").dump() + " ms",
            Details().Add("job ", param, "taskId").Add("to ", param, "path").Text()};
}

Row ClientRow(const ordered_json& client)
{
    return {client.at("procName").get<std::string>() + '/' + client.at("taskName").get<std::string>(),
            "process " + client.at("process").dump(),
            client.at("notificationsSent").dump() + " notifications",
            client.at("notificationsDropped") != 0 ? client["notificationsDropped"].dump() + " dropped" : "",
            client.contains("notificationsWaiting") && client["notificationsWaiting"] != 0
                ? client["notificationsWaiting"].dump() + " waiting"
                : "",
            client.contains("callback") ? "callback record" : ""};
}

Row FaultRow(const ordered_json& fault)
{
    return {fault.at("rule").get<std::string>(),
            "matched " + fault.at("matches").dump() + ", changed " + fault.at("hits").dump()};
}

Row WatcherRow(const ordered_json& watcher)
{
    return {watcher.at("procName").get<std::string>(), "process " + watcher.at("process").dump(),
            watcher.at("lost").dump() + " messages lost"};
}

Row RequestRow(const ordered_json& request)
{
    Details details;
    for (const ordered_json& result : request.at("results"))
        details.Add(ResultText(result.at("result").get<uint32_t>()) + ": " + result.at("count").dump());
    details.Add("others: ", request, "otherResults");
    return {request.at("name").get<std::string>(), details.Text()};
}

/// Of texts and numbers, and of what this program does not know.
Row PlainRow(const ordered_json& value)
{
    return {value.is_string() ? value.get<std::string>() : value.dump(-1, ' ', true)};
}

/// How the entries of a section are shown.
struct ShownSection {
    Section section;
    Row (*row)(const ordered_json& entry);
};
constexpr ShownSection kSections[] = {
    {{"time", "Time"}, PlainRow},
    {kInputs, InputRow},
    {kInputEngines, InputEngineRow},
    {kOutputs, OutputRow},
    {kOutputEngines, OutputEngineRow},
    {{"display", "All displays"}, PlainRow},
    {{"filterWindows", "Filter windows"}, PlainRow},
    {kEncoders, ChannelRow},
    {kDecoders, ChannelRow},
    {kLoops, LoopRow},
    {kOverlays, OverlayRow},
    {kRemoteMice, RemoteMouseRow},
    {kLocalMice, LocalMouseRow},
    {{"uvcUsers", "Users of UVC"}, ProcessRow},
    {kUvcStreams, UvcRow},
    {{"queues", "Announced queues"}, QueueRow},
    {{"queueServers", "Queue servers"}, PlainRow},
    {{"jobs", "Jobs"}, PlainRow},
    {{"snapshots", "Snapshots", "snapshot", "number"}, SnapshotRow},
    {{"clients", "Clients"}, ClientRow},
    {{"requests", "Requests"}, RequestRow},
    {{"faults", "Faults", "fault", "fault"}, FaultRow},
    {{"scenario", "Scenario"}, PlainRow},
    {{"watchers", "Watchers"}, WatcherRow},
    {{"unlistedRequests", "Requests that are not listed"}, PlainRow},
};

bool IsSet(const ordered_json& value)
{
    return value != 0 && value != false && !(value.is_structured() && value.empty());
}

void PrintSection(const std::string& name, const ordered_json& section, const ordered_json& cut)
{
    ShownSection shown{{name.c_str(), name.c_str()}, PlainRow};
    for (const ShownSection& known : kSections) {
        if (name == known.section.name)
            shown = known;
    }
    const std::string number = shown.section.number;
    Table table;
    bool isEmpty = true;
    for (const auto& [key, entry] : section.items()) {
        if (section.is_object() && !IsSet(entry))
            continue;
        isEmpty = false;
        if (section.is_object()) {
            table.Add({key, PlainRow(entry)[0]});
            continue;
        }
        Row row = shown.row(entry);
        if (!number.empty())
            row.insert(row.begin(), entry.at(number).dump());
        table.Add(std::move(row));
    }
    if (isEmpty)
        return;
    std::string title = shown.section.title;
    if (cut.contains(name))
        title += " (the first " + std::to_string(section.size()) + " of " + cut[name].dump() + ')';
    PrintLine("");
    PrintLine(title);
    table.Print("  ");
}

void PrintState(const ordered_json& state)
{
    const ordered_json& service = state.at("service");
    const ordered_json seed = service.value("numbers", ordered_json());
    PrintLine("Service " + service.at("procName").get<std::string>() + '/' +
              service.at("taskName").get<std::string>() + ", process " + service.at("process").dump() +
              (seed.is_null() ? "" : ", numbers from seed " + seed.dump()));
    const ordered_json cut = state.value("cut", ordered_json::object());
    for (const auto& [name, section] : state.items()) {
        if (name != "service" && name != "cut" && name != "durationBoundsNs" && IsSet(section))
            PrintSection(name, section, cut);
    }
}

int RunState(Settings& settings, const std::string& file)
{
    const ordered_json state = ReadState(settings, file);
    if (settings.json)
        PrintLine(Dump(state));
    else
        ShowState([&] { PrintState(state); });
    return kDone;
}

} // namespace

CommandLine DeviceStateCommand(Settings& settings)
{
    auto file = std::make_shared<std::string>();
    return {
        .name = "state",
        .summary = "Show ports, engines, channels, clients and counters",
        .footer = "Example:\n"
                  "  veskctl device state\n"
                  "  veskctl device state --json > state.json\n"
                  "  veskctl device state state.json",
        .options = {{.name = "FILE",
                     .place = file.get(),
                     .help = "Show this file, which 'device state --json' has written; - is standard input"}},
        .run = [file, &settings] { return RunState(settings, *file); },
    };
}

} // namespace vesk::ctl
