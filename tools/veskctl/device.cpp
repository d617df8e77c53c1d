// The subcommand "device": the virtual device and what is done with it.
#include "tools/veskctl/commands.h"

namespace vesk::ctl {

namespace {

constexpr const Command* kNested[] = {&kDeviceState, &kDeviceGraph, &kDeviceWatch};

Run Add(CLI::App& app, Settings& settings)
{
    auto chosen = std::make_shared<Run>();
    app.require_subcommand(1);
    const auto choose = [chosen](const Run& run) { *chosen = run; };
    Declare(app, settings, kNested, choose);
    DeclareControl(app, settings, choose);
    return [chosen] { return (*chosen)(); };
}

} // namespace

const Command kDevice{"device", "Show and steer the virtual device: its state, cables, faults, time",
                      "  veskctl device state\n"
                      "  veskctl device watch --match 'VO_*'\n"
                      "  veskctl device unplug input 0\n"
                      "  veskctl device fault add VO_START outEngNo=1 result BUSY --count 2",
                      Add, Words::kNone};

} // namespace vesk::ctl
