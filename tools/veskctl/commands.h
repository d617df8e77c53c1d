// The subcommands; each is described in the source of its name. Settings outlive the descriptions.
#pragma once

#include "base/command_line.h"
#include "tools/veskctl/failure.h"
#include "tools/veskctl/settings.h"

namespace vesk::ctl {

/// The whole program.
CommandLine DescribeTool(Settings& settings);

/// The program that Wireshark runs; only with the host platform, which tells what services there are.
CommandLine DescribeExtcap(Settings& settings);

CommandLine ListCommand(Settings& settings);
CommandLine DescribeCommand(Settings& settings);
CommandLine CheckCommand(Settings& settings);
CommandLine CallCommand(Settings& settings);
CommandLine RunCommand(Settings& settings);
CommandLine MonitorCommand(Settings& settings);
CommandLine WaitCommand(Settings& settings);
CommandLine WaitServiceCommand(Settings& settings);
CommandLine TraceCommand(Settings& settings);
CommandLine DecodeCommand(Settings& settings);
CommandLine ReplayCommand(Settings& settings);
CommandLine DeviceCommand(Settings& settings);
CommandLine
ServeCommand(Settings& settings); ///< Only with the host platform, which lets a program be the service.
CommandLine WithDeviceCommand(Settings& settings); ///< Likewise.
CommandLine WebCommand(Settings& settings);
CommandLine CompletionCommand(Settings& settings);
CommandLine CompleteCommand(Settings& settings);

// Subcommands of "device".
CommandLine DeviceSceneCommand(Settings& settings);
CommandLine DeviceStateCommand(Settings& settings);
CommandLine DeviceScreenshotCommand(Settings& settings);
CommandLine DeviceRecordCommand(Settings& settings);
CommandLine DeviceCompareCommand(Settings& settings);
CommandLine DeviceGraphCommand(Settings& settings);
CommandLine DeviceTopCommand(Settings& settings);
CommandLine DeviceWatchCommand(Settings& settings);

/// Those of "device" that send one control message each; see steering/commands.h.
std::vector<CommandLine> DeviceControlCommands(Settings& settings);

} // namespace vesk::ctl
