// The subcommand "device compare": how alike two pictures are.
#include "tools/veskctl/commands.h"
#include "tools/veskctl/modules.h"

namespace vesk::ctl {

CommandLine DeviceCompareCommand(Settings& settings)
{
    auto options = std::make_shared<CompareOptions>();
    return {
        .name = "compare",
        .summary = "Compare two pictures of displays",
        .footer = "Example:\n"
                  "  veskctl device compare expected.png display-0.png\n"
                  "  veskctl device compare expected.png display-0.png --tolerance 1 -o marked.png",
        .options =
            {
                {.name = "EXPECTED",
                 .place = &options->expected,
                 .help = "Picture; - is standard input",
                 .isRequired = true},
                {.name = "ACTUAL",
                 .place = &options->actual,
                 .help = "Picture of the same size",
                 .isRequired = true},
                {.name = "--tolerance",
                 .place = &options->tolerance,
                 .help = "How far they may differ, per cent: 100 x (1 - SSIM). With 0, no pixel may differ",
                 .showsDefault = true,
                 .range = std::pair(0.0, 100.0)},
                {.name = "-o,--output",
                 .place = &options->marked,
                 .help = "Write a picture in which what differs is marked, if anything does; - is standard "
                         "output"},
            },
        .run = [options, &settings] { return Pictures().compare(settings, *options); },
    };
}

} // namespace vesk::ctl
