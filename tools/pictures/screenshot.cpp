// The subcommand "device screenshot".
#include "tools/pictures/commands.h"

namespace vesk::ctl {

int TakeScreenshot(Settings&, const ScreenshotOptions&)
{
    return 1;
}

} // namespace vesk::ctl
