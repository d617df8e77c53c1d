// The subcommand "device record".
#include "tools/pictures/commands.h"

namespace vesk::ctl {

int RecordDisplay(Settings&, const RecordOptions&)
{
    return 1;
}

} // namespace vesk::ctl
