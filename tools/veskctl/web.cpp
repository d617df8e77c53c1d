// The subcommand "web": the device's page.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/modules.h"

namespace vesk::ctl {

CommandLine WebCommand(Settings& settings)
{
    auto options = std::make_shared<WebOptions>();
    return {
        .name = "web",
        .summary = "Serve a page that shows and steers the virtual device",
        .footer =
            "Its address, which is printed, has the token that opens it; only this machine can reach it.\n"
            "Example:\n"
            "  veskctl web --open                   # until Ctrl-C\n"
            "  veskctl web --port 8080\n"
            "  veskctl with-device veskctl web      # with a device of its own",
        .options = {{.name = "--port",
                     .place = &options->port,
                     .help = "Port of 127.0.0.1; 0 is any that is free",
                     .showsDefault = true,
                     .range = std::pair(uint64_t{0}, uint64_t{UINT16_MAX})},
                    {.name = "--open", .place = &options->isOpened, .help = "Show the page in a browser"}},
        .run = [options, &settings] { return Web().serve(settings, *options); },
    };
}

} // namespace vesk::ctl
