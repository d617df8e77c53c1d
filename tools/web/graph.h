// How pictures run through the device, drawn.
#pragma once

#include "tools/veskctl/program.h"
#include "tools/web/device.h"

namespace vesk::web {

/// For one thread at a time.
class Graph {
public:
    /// @param signals  Outlive the graph.
    Graph(Device& device, const ctl::AwaitedSignals& signals) : device_(device), signals_(signals) {}

    /// In Graphviz's language, as "device graph" prints it. @throw Failure, Error
    static std::string Text(Device& device);

    /// As SVG. @throw Failure also if Graphviz is not installed, or does not draw it in time
    Body Drawing();

private:
    std::string Draw(const std::string& text) const;

    Device& device_;
    const ctl::AwaitedSignals& signals_;
    std::string text_; ///< Of which there is a drawing.
    Body drawing_;
};

} // namespace vesk::web
