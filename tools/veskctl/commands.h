// The subcommands; each is defined in the source of its name.
#pragma once

#include "tools/veskctl/command.h"

namespace vesk::ctl {

extern const Command kList;
extern const Command kDescribe;
extern const Command kCall;
extern const Command kRun;
extern const Command kMonitor;
extern const Command kWait;
extern const Command kTrace;
extern const Command kDecode;
extern const Command kReplay;
extern const Command kDevice;
extern const Command kServe;      ///< Only with the host platform, which lets a program be the service.
extern const Command kWithDevice; ///< Likewise.
extern const Command kComplete;

// Subcommands of "device".
extern const Command kDeviceState;
extern const Command kDeviceGraph;
extern const Command kDeviceWatch;

/// Declares the subcommands of "device" that send one control message each; see control/commands.h.
void DeclareControl(CLI::App& app, Settings& settings, const std::function<void(Run)>& chosen);

} // namespace vesk::ctl
