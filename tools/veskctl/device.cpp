// The subcommand "device": the virtual device and what is done with it.
#include "tools/veskctl/commands.h"
namespace vesk::ctl {

namespace {

constexpr const Command* kNested[] = {&kDeviceState, &kDeviceGraph, &kDeviceWatch};

Run Add(CLI::App& app, Settings& settings)
{
    auto chosen = std::make_shared<Run>();
    app.require_subcommand(1);
    app.fallthrough();
    for (const Command* command : kNested) {
        CLI::App* nested = app.add_subcommand(command->name, command->summary);
        nested->footer(std::string("Example:\n") + command->example);
        nested->callback([chosen, toRun = command->add(*nested, settings)] { *chosen = toRun; });
    }
    return [chosen] { return (*chosen)(); };
}

} // namespace

const Command kDevice{"device", "Show the virtual device",
                      "  veskctl device state\n"
                      "  veskctl device graph | dot -Tsvg > device.svg\n"
                      "  veskctl device watch --match 'VO_*'",
                      Add, Words::kNone};

} // namespace vesk::ctl
