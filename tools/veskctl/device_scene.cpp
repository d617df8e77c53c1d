// The subcommand "device scene": what the displays of the virtual device show.
#include "decoder/json.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/state.h"
#include "tools/veskctl/table.h"
#include "vesk_service/control.h"

namespace vesk::ctl {

using decoder::Dump;
using nlohmann::ordered_json;

namespace {

std::string SizeText(const ordered_json& size)
{
    return size.at("width").dump() + 'x' + size.at("height").dump();
}

/// "1920x1080 at 0,0"
std::string RectText(const ordered_json& rect)
{
    return SizeText(rect) + " at " + rect.at("x").dump() + ',' + rect.at("y").dump();
}

/// Where its picture comes from.
std::string ContentText(const ordered_json& layer)
{
    std::string text;
    for (const char* member : {"name", "application", "file"}) {
        if (layer.contains(member))
            text += (text.empty() ? "" : ", ") + layer[member].get<std::string>();
    }
    if (!layer.contains("loop"))
        return text;
    const ordered_json& loop = layer["loop"];
    return "from " + kEncoders.NameIn(loop) + (loop.contains("inEngNo") ? " of " + LayerText(loop) : "");
}

/// Which part of the source is seen, and how.
std::string PartText(const ordered_json& layer)
{
    std::string text;
    const auto add = [&text](const std::string& words) { text += (text.empty() ? "" : ", ") + words; };
    if (layer.contains("part")) {
        const bool isWhole = SizeText(layer["part"]) == SizeText(layer);
        add((isWhole ? "all" : RectText(layer["part"])) + " of " + SizeText(layer));
    }
    if (layer.at("source") == "filter window")
        return text;
    if (const auto mode = layer.at("showMode").get<std::string>(); mode != "stretch")
        add(mode);
    if (const auto mirror = layer.at("mirror").get<std::string>(); mirror != "none")
        add("mirrored " + (mirror == "both" ? "both ways" : mirror));
    if (layer.at("opacity") != 100)
        add("opacity " + layer["opacity"].dump() + " %");
    if (layer.contains("frozenAtMs"))
        add("of " + layer["frozenAtMs"].dump() + " ms");
    return text;
}

void PrintScene(const ordered_json& scene)
{
    const auto showing = scene.at("showing").get<std::string>();
    std::string line = "Display " + scene.at("voPort").dump() + ' ' + scene.at("name").get<std::string>() +
                       ", " + PictureText(scene, "width", "height") + ": " + showing;
    if (scene.at("outEngNo") != 0)
        line += ", " + kOutputEngines.NameIn(scene);
    PrintLine(line);
    Table table;
    for (const ordered_json& layer : scene.at("layers"))
        table.Add({LayerText(layer), ContentText(layer), layer.at("showing").get<std::string>(),
                   RectText(layer.at("rect")), PartText(layer)});
    table.Print("  ");
}

int RunScene(Settings& settings, uint64_t display)
{
    const ordered_json document =
        GetDocument(settings, "VESK_CONTROL_SCENE", {{"port", std::to_string(display)}});
    if (settings.json) {
        PrintLine(Dump(document));
        return kDone;
    }
    ShowState([&] {
        for (const ordered_json& scene : document.at("scenes"))
            PrintScene(scene);
        if (document.contains("cut"))
            PrintLine("... and more: there are " + document["cut"].at("scenes").dump() + " displays");
    });
    return kDone;
}

} // namespace

CommandLine DeviceSceneCommand(Settings& settings)
{
    auto display = std::make_shared<uint64_t>(VESK_CONTROL_EVERY_PORT);
    return {
        .name = "scene",
        .summary = "Show what the displays show: their layers from back to front",
        .footer = "Example:\n"
                  "  veskctl device scene\n"
                  "  veskctl device scene 0 --json",
        .options = {{.name = "DISPLAY", .place = display.get(), .help = "Show this output port alone"}},
        .run = [display, &settings] { return RunScene(settings, *display); },
    };
}

} // namespace vesk::ctl
