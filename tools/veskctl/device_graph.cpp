// The subcommand "device graph": how pictures run through the virtual device, as a graph for Graphviz.
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

/// A text between quotes. A line feed in it begins another line of the label.
std::string Quoted(const std::string& text)
{
    std::string quoted = "\"";
    for (const char c : text) {
        if (c == '\n')
            quoted += "\\n";
        else if (c == '&')
            quoted += "&amp;";
        else if (c == '"' || c == '\\')
            quoted += {'\\', c};
        else
            quoted += c;
    }
    return quoted + '"';
}

/// Nodes and edges in the order in which they are added; nodes of an owner are drawn together.
class Graph {
public:
    /// @param kind  "encoder", which with the number makes the node's name
    void Add(const std::string& owner, const std::string& kind, const std::string& number,
             const std::string& more, bool isRunning, const char* shape = "box")
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
                nodes_[""] += Node(end, end, "gone", "dotted", "box");
        }
        edges_ += "  " + Quoted(from) + " -> " + Quoted(to) +
                  (isRunning ? " [style=solid" : " [style=dashed") +
                  (label.empty() ? "" : ", label=" + Quoted(label)) + "];\n";
    }

    /// Draws nodes in a column, the leftmost ("source") or rightmost ("sink").
    void Align(const char* rank, const std::vector<std::string>& names)
    {
        edges_ += std::string("  { rank=") + rank + ';';
        for (const std::string& name : names)
            edges_ += ' ' + Quoted(name) + ';';
        edges_ += " }\n";
    }

    void Print(const std::string& title) const
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
        PrintLine(text + edges_ + '}');
    }

private:
    static std::string Node(const std::string& name, const std::string& title, const std::string& more,
                            const char* style, const char* shape)
    {
        return "  " + Quoted(name) + " [label=" + Quoted(more.empty() ? title : title + '\n' + more) +
               ", shape=" + shape + ", style=" + style + "];\n";
    }

    std::map<std::string, std::string> nodes_; ///< By owner; ports have none.
    std::set<std::string> known_;
    std::string edges_;
};

void AddPorts(Graph& graph, const ordered_json& ports, const std::string& kind, const char* number,
              const char* rank)
{
    std::vector<std::string> names;
    for (const ordered_json& port : ports) {
        const std::string picture = PictureText(port, "width", "height");
        graph.Add("", kind, port.at(number).dump(),
                  Printable(port.at("name").get<std::string>()) + (picture.empty() ? "" : '\n' + picture),
                  port.at("plugged").get<bool>() && port.at("enabled").get<bool>(), "component");
        names.push_back(kind + ' ' + port.at(number).dump());
    }
    graph.Align(rank, names);
}

/// Things that are only there, each with its state in the member @p running.
void AddThings(Graph& graph, const ordered_json& things, const std::string& kind, const char* number,
               const char* running)
{
    for (const ordered_json& thing : things) {
        std::string picture;
        if (thing.contains("param") && thing["param"].contains("w"))
            picture = PictureText(thing["param"], "w", "h");
        graph.Add(OwnerText(thing), kind, thing.at(number).dump(), picture, thing.at(running).get<bool>());
    }
}

void ConnectInputs(Graph& graph, const ordered_json& engines)
{
    for (const ordered_json& engine : engines) {
        const std::string name = "input engine " + engine.at("inEngNo").dump();
        const bool isRunning = engine.at("started").get<bool>();
        graph.Connect("input " + engine.at("viPort").dump(), name, "", isRunning);
        for (const ordered_json& stream : engine.at("streams")) {
            graph.Add(OwnerText(engine), "stream of " + name, stream.dump(), "", isRunning, "ellipse");
            graph.Connect(name, "stream of " + name + ' ' + stream.dump(), "", isRunning);
        }
    }
}

void ConnectOutputs(Graph& graph, const ordered_json& engines)
{
    for (const ordered_json& engine : engines) {
        const std::string name = "output engine " + engine.at("outEngNo").dump();
        const bool isRunning = engine.at("started").get<bool>();
        size_t number = 0;
        for (const ordered_json& picture : engine.at("subPic")) {
            const std::string shown = std::to_string(number++);
            const ordered_json& window = picture.at("winHandle");
            graph.Add(OwnerText(engine), "picture of " + name, shown,
                      window != 0 ? "window " + window.dump() : "", isRunning, "ellipse");
            graph.Connect((picture.at("decFlag") != 0 ? "decoder " : "input engine ") +
                              picture.at("inputId").dump(),
                          "picture of " + name + ' ' + shown, "", isRunning);
            graph.Connect("picture of " + name + ' ' + shown, name, "", isRunning);
        }
        graph.Connect(name, "output " + engine.at("voPort").dump(), "", isRunning);
    }
}

void PrintGraph(const ordered_json& state)
{
    Graph graph;
    AddPorts(graph, state.at("inputs"), "input", "viPort", "source");
    AddPorts(graph, state.at("outputs"), "output", "voPort", "sink");
    AddThings(graph, state.at("inputEngines"), "input engine", "inEngNo", "started");
    AddThings(graph, state.at("encoders"), "encoder", "encStmNo", "started");
    AddThings(graph, state.at("decoders"), "decoder", "decStmNo", "started");
    AddThings(graph, state.at("outputEngines"), "output engine", "outEngNo", "started");
    AddThings(graph, state.at("overlays"), "overlay", "overlayChn", "enabled");
    AddThings(graph, state.at("remoteMice"), "remote mouse", "mouseStmNo", "started");
    AddThings(graph, state.at("localMice"), "local mouse", "localMouseStmNo", "started");
    AddThings(graph, state.at("uvcStreams"), "UVC stream", "uvcStmNo", "started");
    ConnectInputs(graph, state.at("inputEngines"));
    for (const ordered_json& loop : state.at("loops"))
        graph.Connect("encoder " + loop.at("encNo").dump(), "decoder " + loop.at("decNo").dump(),
                      "loop " + loop.at("loop").dump(), loop.at("enabled").get<bool>());
    ConnectOutputs(graph, state.at("outputEngines"));
    for (const ordered_json& mouse : state.at("remoteMice")) {
        if (mouse.at("decStmNo") != 0)
            graph.Connect("decoder " + mouse["decStmNo"].dump(),
                          "remote mouse " + mouse.at("mouseStmNo").dump(), "",
                          mouse.at("started").get<bool>());
    }
    const ordered_json& service = state.at("service");
    graph.Print(Printable(service.at("procName").get<std::string>()) + '/' +
                Printable(service.at("taskName").get<std::string>()));
}

} // namespace

CommandLine DeviceGraphCommand(Settings& settings)
{
    auto file = std::make_shared<std::string>();
    return {
        .name = "graph",
        .summary = "Draw how pictures run through the device, in Graphviz's language",
        .footer = "Example:\n"
                  "  veskctl device graph | dot -Tsvg > device.svg\n"
                  "  veskctl device graph state.json",
        .options = {{.name = "FILE",
                     .place = file.get(),
                     .help =
                         "Draw this state, which 'device state --json' has written; - is standard input"}},
        .run =
            [file, &settings] {
                const ordered_json state = ReadState(settings, *file);
                ShowState([&] { PrintGraph(state); });
                return kDone;
            },
    };
}

} // namespace vesk::ctl
