// The subcommand "web": the device's page in a browser.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/modules.h"

namespace vesk::ctl {

CommandLine WebCommand(Settings& settings)
{
    auto options = std::make_shared<WebOptions>();
    return {
        .name = "web",
        .summary = "Show and steer the virtual device in a browser of this machine",
        .footer = "Example:\n"
                  "  veskctl web --open                          # until Ctrl-C\n"
                  "  veskctl web --port 8080\n"
                  "  veskctl with-device -- veskctl web --open",
        .options =
            {
                {.name = "--port",
                 .place = &options->port,
                 .help = "TCP port of the page, on this machine alone; by default any that is free",
                 .range = std::pair<uint64_t, uint64_t>(0, 65535)},
                {.name = "--open", .place = &options->isOpened, .help = "Open the page in the browser"},
            },
        .run = [options, &settings] { return Web().serve(settings, *options); },
    };
}

} // namespace vesk::ctl
