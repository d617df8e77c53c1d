// The subcommand "device record": a video of what a display shows.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/modules.h"

namespace vesk::ctl {

CommandLine DeviceRecordCommand(Settings& settings)
{
    auto options = std::make_shared<RecordOptions>();
    return {
        .name = "record",
        .summary = "Record a video of what a display shows",
        .footer =
            "Example:\n"
            "  veskctl device record 0 -o display.mp4              # until Ctrl-C\n"
            "  veskctl device record 0 -o display.mp4 --for 10 --size 1280x --rate 25\n"
            "  veskctl device record 0 -o display.mp4 --for 10 --step   # with vesk-video-service --step",
        .options =
            {
                {.name = "DISPLAY",
                 .place = &options->display,
                 .help = "Output port of the display",
                 .isRequired = true},
                {.name = "-o,--output",
                 .place = &options->file,
                 .help = "File whose name ends with .mp4, .mkv or .webm",
                 .isRequired = true},
                {.name = "--for",
                 .place = &options->seconds,
                 .help = "Seconds to record; until SIGINT or SIGTERM by default",
                 .range = std::pair(0.001, 86400.0)},
                {.name = "--size",
                 .place = &options->size,
                 .help = "Size of the video: WxH, or Wx or xH to keep the display's proportions"},
                {.name = "--rate",
                 .place = &options->fr,
                 .help = "Pictures a second; by default the display's, but at most 30",
                 .range = std::pair<uint64_t, uint64_t>(1, 240)},
                {.name = "--step",
                 .place = &options->isStepped,
                 .help = "Move the device's time on from picture to picture, without waiting; of a service "
                         "that was started with --step. Needs --for"},
            },
        .run = [options, &settings] { return Pictures().record(settings, *options); },
    };
}

} // namespace vesk::ctl
