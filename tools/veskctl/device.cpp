// The subcommand "device": the virtual device and what is done with it.
#include "tools/veskctl/commands.h"

namespace vesk::ctl {

CommandLine DeviceCommand(Settings& settings)
{
    CommandLine line{.name = "device",
                     .summary =
                         "Show and steer the virtual device: its state, displays, cables, faults, time",
                     .footer = "Example:\n"
                               "  veskctl device state\n"
                               "  veskctl device scene 0\n"
                               "  veskctl device screenshot 0\n"
                               "  veskctl device watch --match 'VO_*'\n"
                               "  veskctl device unplug input 0\n"
                               "  veskctl device fault add VO_START outEngNo=2001 result BUSY --count 2",
                     .commands = {DeviceStateCommand(settings), DeviceSceneCommand(settings),
                                  DeviceScreenshotCommand(settings), DeviceRecordCommand(settings),
                                  DeviceCompareCommand(settings), DeviceGraphCommand(settings),
                                  DeviceTopCommand(settings), DeviceWatchCommand(settings)}};
    for (CommandLine& command : DeviceControlCommands(settings))
        line.commands.push_back(std::move(command));
    return line;
}

} // namespace vesk::ctl
