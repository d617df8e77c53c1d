// The subcommand "device screenshot": a picture of what a display shows.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/modules.h"

namespace vesk::ctl {

CommandLine DeviceScreenshotCommand(Settings& settings)
{
    auto options = std::make_shared<ScreenshotOptions>();
    return {
        .name = "screenshot",
        .summary = "Draw what a display shows, as PNG or JPEG or in the terminal",
        .footer = "Example:\n"
                  "  veskctl device screenshot                   # the first display, as display-0.png\n"
                  "  veskctl device screenshot 1 --size 1280x --terminal\n"
                  "  veskctl device screenshot 0 --size x720 -o - | display -\n"
                  "  veskctl device scene 0 --json > scene.json\n"
                  "  veskctl device screenshot --scene scene.json --at 5000 -o later.jpg",
        .options =
            {
                {.name = "DISPLAY",
                 .place = &options->display,
                 .help = "Output port of the display; the first one by default"},
                {.name = "-o,--output",
                 .place = &options->file,
                 .help = "File whose name ends with .png, .jpg or .jpeg; - is standard output, as PNG. By "
                         "default display-N.png"},
                {.name = "--size",
                 .place = &options->size,
                 .help = "Size of the picture: WxH, or Wx or xH to keep the display's proportions"},
                {.name = "--at",
                 .place = &options->atMs,
                 .help = "Draw the scene at this time of the device, in milliseconds"},
                {.name = "--scene",
                 .place = &options->scene,
                 .help = "Draw a scene of this file, which 'device scene --json' or 'device state --json' "
                         "has written; - is standard input"},
                {.name = "--snapshot",
                 .place = &options->snapshot,
                 .help = "Draw the scene of this snapshot, which 'device state --json' lists",
                 .excludes = "DISPLAY"},
                {.name = "--live-only",
                 .place = &options->isLiveOnly,
                 .help = "Leave out layers that show no picture, instead of saying why they do not"},
                {.name = "--terminal",
                 .place = &options->isForTerminal,
                 .help = "Show it in the terminal instead of writing a file",
                 .excludes = "--output"},
            },
        .run = [options, &settings] { return Pictures().screenshot(settings, *options); },
    };
}

} // namespace vesk::ctl
