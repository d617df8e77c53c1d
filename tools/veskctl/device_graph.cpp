// The subcommand "device graph": how pictures run through the virtual device, as a graph for Graphviz.
#include "base/text.h"
#include "tools/veskctl/commands.h"
#include "tools/veskctl/exchange.h"
#include "tools/veskctl/output.h"
#include "tools/veskctl/state.h"

#include <nlohmann/json.hpp>

#include <map>
#include <set>

namespace vesk::ctl {

using nlohmann::ordered_json;

namespace {

/// A text as it can be between quotes.
std::string Escaped(const std::string& text)
{
    std::string escaped;
    for (const char c : Printable(text)) {
        if (c == '&')
            escaped += "&amp;";
        else if (c == '"' || c == '\\')
            escaped += {'\\', c};
        else
            escaped += c;
    }
    return escaped;
}

std::string Quoted(const std::string& text)
{
    return '"' + Escaped(text) + '"';
}

/// Nodes and edges in the order in which they are added; nodes of an owner are drawn together.
class Graph {
public:
    /// @param kind  "encoder", which with the number makes the node's name
    /// @param more  Further lines of its label, but for empty ones.
    void Add(const std::string& owner, const std::string& kind, const std::string& number,
             const std::vector<std::string>& more, bool isRunning, const char* shape = "box")
    {
        const std::string name = kind + ' ' + number;
        known_.insert(name);
        nodes_[owner] += Node(name, kind.substr(0, kind.find(" of ")) + ' ' + number, more,
                              isRunning ? "solid" : "dashed", shape);
    }

    /// An edge; an end that was not added is drawn as gone.
    void Connect(const std::string& from, const std::string& to, const std::string& label = "",
                 bool isRunning = true)
    {
        for (const std::string& end : {from, to}) {
            if (known_.insert(end).second)
                nodes_[""] += Node(end, end, {"gone"}, "dotted", "box");
        }
        edges_ += "  " + Quoted(from) + " -> " + Quoted(to) +
                  (isRunning ? " [style=solid" : " [style=dashed") +
                  (label.empty() ? "" : ", label=" + Quoted(label)) + "];\n";
    }

    bool Has(const std::string& name) const { return known_.count(name) != 0; }

    /// Draws nodes in a column, the leftmost ("source") or rightmost ("sink").
    void Align(const char* rank, const std::vector<std::string>& names)
    {
        edges_ += std::string("  { rank=") + rank + ';';
        for (const std::string& name : names)
            edges_ += ' ' + Quoted(name) + ';';
        edges_ += " }\n";
    }

    /// In Graphviz's language.
    std::string Text(const std::string& title) const
    {
        std::string text = "digraph device {\n"
                           "  rankdir=LR; fontname=\"Helvetica\"; fontsize=11; labelloc=t; label=" +
                           Quoted(title) +
                           ";\n"
                           "  node [fontname=\"Helvetica\", fontsize=10];\n"
                           "  edge [fontname=\"Helvetica\", fontsize=9, arrowsize=0.7];\n";
        size_t cluster = 0;
        for (const auto& [owner, nodes] : nodes_) {
            if (owner.empty()) {
                text += nodes;
                continue;
            }
            text += "  subgraph cluster_" + std::to_string(cluster++) + " {\n  label=" + Quoted(owner) +
                    "; color=gray;\n" + nodes + "  }\n";
        }
        return text + edges_ + "}\n";
    }

private:
    static std::string Node(const std::string& name, const std::string& title,
                            const std::vector<std::string>& more, const char* style, const char* shape)
    {
        std::string label = Escaped(title);
        for (const std::string& line : more)
            label += line.empty() ? "" : "\\n" + Escaped(line);
        return "  " + Quoted(name) + " [label=\"" + label + "\", shape=" + shape + ", style=" + style +
               "];\n";
    }

    std::map<std::string, std::string> nodes_; ///< By owner; ports have none.
    std::set<std::string> known_;
    std::string edges_;
};

void AddPorts(Graph& graph, const ordered_json& state, const Section& section, const char* rank)
{
    std::vector<std::string> names;
    for (const ordered_json& port : state.at(section.name)) {
        const std::string picture = PictureText(port, "width", "height");
        graph.Add("", section.kind, port.at(section.number).dump(),
                  {port.at("name").get<std::string>(), picture, port.value("virtualSource", "")},
                  port.at("plugged").get<bool>() && port.at("enabled").get<bool>(), "component");
        names.push_back(section.NameIn(port));
    }
    graph.Align(rank, names);
}

void AddThings(Graph& graph, const ordered_json& state, const Section& section)
{
    for (const ordered_json& thing : state.at(section.name)) {
        std::string picture;
        if (thing.contains("param") && thing["param"].contains("w"))
            picture = PictureText(thing["param"], "w", "h");
        else if (thing.contains("picture"))
            picture = PictureText(thing["picture"], "width", "height");
        graph.Add(OwnerText(thing), section.kind, thing.at(section.number).dump(), {picture},
                  section.IsRunning(thing));
    }
}

void ConnectInputs(Graph& graph, const ordered_json& engines)
{
    for (const ordered_json& engine : engines) {
        const std::string name = kInputEngines.NameIn(engine);
        const bool isRunning = kInputEngines.IsRunning(engine);
        const Section application{"", "", "application of input engine", kInputEngines.number};
        const bool isCaptured = engine.contains("appInParam");
        if (isCaptured)
            graph.Add(OwnerText(engine), application.kind, engine.at(application.number).dump(), {},
                      isRunning, "component");
        graph.Connect((isCaptured ? application : kInputs).NameIn(engine), name, "", isRunning);
        for (const ordered_json& stream : engine.at("streams")) {
            const std::string encoder = kEncoders.kind + (' ' + stream.dump());
            if (graph.Has(encoder)) {
                graph.Connect(name, encoder, "", isRunning);
                continue;
            }
            graph.Add(OwnerText(engine), "stream of " + name, stream.dump(), {}, isRunning, "ellipse");
            graph.Connect(name, "stream of " + name + ' ' + stream.dump(), "", isRunning);
        }
    }
}

/// Connects the sources of what a display shows with the engine that drives it.
void ConnectLayers(Graph& graph, const ordered_json& scene, const ordered_json& engine)
{
    const std::string name = kOutputEngines.NameIn(engine);
    for (const ordered_json& layer : scene.at("layers")) {
        const auto showing = layer.at("showing").get<std::string>();
        const bool isLive = showing == "live";
        std::string shown = LayerText(layer);
        if (layer.contains("subPic")) {
            const std::string picture = "picture of " + name;
            const std::string number = layer["subPic"].dump();
            std::string node = picture;
            node += ' ' + number;
            if (layer.at("source") != "remote pointer") {
                graph.Add(OwnerText(engine), picture, number,
                          {layer.contains("winHandle") ? "window " + layer["winHandle"].dump() : "",
                           showing != "live" ? showing : ""},
                          isLive, "ellipse");
                graph.Connect(node, name, "", isLive);
            }
            graph.Connect(shown, node, "", isLive);
        } else if (layer.at("source") != "filter window") {
            if (layer.at("source") == "wallpaper" || layer.at("source") == "default image") {
                graph.Add("", shown + " of output", scene.at("voPort").dump(),
                          {layer.at("file").get<std::string>()}, isLive);
                shown += " of output " + scene["voPort"].dump();
            }
            graph.Connect(shown, name, "", isLive);
        }
    }
}

void ConnectOutputs(Graph& graph, const ordered_json& state)
{
    for (const ordered_json& engine : state.at(kOutputEngines.name)) {
        for (const ordered_json& output : state.at(kOutputs.name)) {
            if (output.at(kOutputs.number) != engine.at(kOutputs.number))
                continue;
            ConnectLayers(graph, output.at("scene"), engine);
            graph.Connect(kOutputEngines.NameIn(engine), kOutputs.NameIn(output), "",
                          output["scene"].at("showing") == "live");
        }
    }
}

} // namespace

std::string GraphText(const ordered_json& state)
{
    Graph graph;
    AddPorts(graph, state, kInputs, "source");
    AddPorts(graph, state, kOutputs, "sink");
    for (const Section& section : {kInputEngines, kEncoders, kDecoders, kOutputEngines, kOverlays,
                                   kRemoteMice, kLocalMice, kUvcStreams})
        AddThings(graph, state, section);
    ConnectInputs(graph, state.at(kInputEngines.name));
    for (const ordered_json& loop : state.at(kLoops.name))
        graph.Connect(kEncoders.NameIn(loop, "encNo"), kDecoders.NameIn(loop, "decNo"), kLoops.NameIn(loop),
                      kLoops.IsRunning(loop));
    ConnectOutputs(graph, state);
    for (const ordered_json& mouse : state.at(kRemoteMice.name)) {
        if (mouse.at(kDecoders.number) != 0)
            graph.Connect(kDecoders.NameIn(mouse), kRemoteMice.NameIn(mouse), "",
                          kRemoteMice.IsRunning(mouse));
    }
    const ordered_json& service = state.at("service");
    return graph.Text(service.at("procName").get<std::string>() + '/' +
                      service.at("taskName").get<std::string>());
}

CommandLine DeviceGraphCommand(Settings& settings)
{
    auto file = std::make_shared<std::string>();
    return {
        .name = "graph",
        .summary = "Draw how pictures run through the device, in Graphviz's language",
        .footer = "Example:\n"
                  "  veskctl device graph | dot -Tsvg > device.svg\n"
                  "  veskctl device state --json > state.json\n"
                  "  veskctl device graph state.json",
        .options = {{.name = "FILE",
                     .place = file.get(),
                     .help = "Draw this file, which 'device state --json' has written; - is standard input"}},
        .run =
            [file, &settings] {
                const ordered_json state = ReadState(settings, *file);
                ShowState([&] { PutLines(stdout, GraphText(state)); });
                return kDone;
            },
    };
}

} // namespace vesk::ctl
